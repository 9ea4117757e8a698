#include "tools/cli/command_line.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <iostream>
#include <unistd.h>

#include "tools/apply/verbs.h"
#include "tools/cli/parser.h"
#include "tools/cli/shell.h"
#include "tools/live/verbs.h"
#include "tools/offline/offline.h"

namespace gwconf::tool {
namespace {

/// All verbs but those that work on files, which follow them, in the order of the help.
constexpr std::array<void (*)(Registry&), 14> kVerbs = {
    add_get,   add_ls,      add_tree,  add_find,           add_describe,
    add_set,   add_attr,    add_watch, add_instance_verbs, add_configuration_verbs,
    add_apply, add_confirm, add_raw,   add_shell};

/// A parser for all verbs. What it was last asked for is in `verb` and `json`.
struct CommandLine {
  CommandLine(const std::string& description, const std::string& name) : app{description, name} {}
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  /// To be called when the application has all options of its own.
  void add_verbs() {
    app.require_subcommand(1);
    app.fallthrough();
    app.add_flag("--json", json, "Print JSON");
    Registry registry{app, &verb};
    for (const auto add : kVerbs)
      add(registry);
    add_offline_verbs(app, [this](Verb chosen) { verb = std::move(chosen); });
    set_up_parser(app);
  }

  CLI::App app;
  bool json = false;
  Verb verb;
};

[[nodiscard]] Exit end_of(const CLI::App& app, const CLI::ParseError& error) {
  return app.exit(error) == 0 ? Exit::kDone : Exit::kWrongUse;
}

/// The exit status. What could not be printed is no success.
[[nodiscard]] int status_of(Exit exit) {
  if (!std::cout.flush()) {
    std::cerr << "gwctl: standard output: cannot be written\n";
    exit = worse(exit, Exit::kWrongUse);
  }
  return static_cast<int>(exit);
}

/// Runs a verb. Every failure that ends one comes here.
[[nodiscard]] Exit run(const Verb& verb, const Session& session) {
  try {
    return verb(session);
  } catch (const Failure& failure) {
    return session.output.failure(failure);
  }
}

/// Puts something useless in the place of standard descriptors that are closed: what is opened
/// later must not land there and be taken for input or output. Using them fails as before.
void occupy_standard_descriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(descriptor, F_GETFD) < 0)
      static_cast<void>(open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY));
}

}  // namespace

int run(int argc, char** argv) {
  occupy_standard_descriptors();
  CommandLine line{"Talks to the gateway's configuration manager.", "gwctl"};
  std::string socket_path;
  int timeout_seconds = GWCONF_TIMEOUT_DEFAULT / 1000;
  line.app.set_version_flag("--version", "gwctl " GWCONF_VERSION);
  line.app.footer(
      "Exit status: 0 done, 1 refused by the daemon, 2 wrong use, 3 daemon not reachable, "
      "4 findings.");
  const CLI::Option* socket = line.app.add_option(
      "--socket", socket_path, "The daemon's socket (else GWCONF_SOCKET, else the system's)");
  line.app.add_option("--timeout", timeout_seconds, "Seconds that a request may take")
      ->check(CLI::Range(1, 86400));
  line.add_verbs();

  try {
    parse(line.app, {argv + std::min(argc, 1), argv + argc});
  } catch (const CLI::ParseError& error) {
    return status_of(end_of(line.app, error));
  }

  Client client{socket->count() > 0 ? socket_path.c_str() : nullptr};
  if (client.code() != GWCONF_OK) {
    std::cerr << "gwctl: --socket: " << client.code() << " (" << gwconf_strerror(client.code())
              << ")\n";
    return static_cast<int>(Exit::kWrongUse);
  }
  if (client.set_timeout(timeout_seconds * 1000) != GWCONF_OK)
    return static_cast<int>(Exit::kWrongUse);
  const Session session{client, Output{line.json, client.socket_path()}, timeout_seconds * 1000};
  return status_of(run(line.verb, session));
}

Exit run_line(const Session& shell, const std::vector<std::string>& words) {
  CommandLine line{"Verbs; \"help VERB\" tells more of one, \"exit\" leaves.", ""};
  line.add_verbs();
  try {
    parse(line.app, words);
  } catch (const CLI::ParseError& error) {
    return end_of(line.app, error);
  }
  const Output output{shell.output.json() || line.json, shell.output.socket_path()};
  return run(line.verb, Session{shell.client, output, shell.timeout});
}

std::vector<VerbNames> verb_names() {
  CommandLine line{"", ""};
  line.add_verbs();
  std::vector<VerbNames> verbs;
  for (const CLI::App* sub : line.app.get_subcommands([](const CLI::App*) { return true; })) {
    VerbNames verb{sub->get_name(), {"--json"}};
    for (const CLI::Option* option : sub->get_options())
      for (const std::string& name : option->get_lnames())
        verb.options.push_back("--" + name);
    verbs.push_back(std::move(verb));
  }
  return verbs;
}

}  // namespace gwconf::tool
