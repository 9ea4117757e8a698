// The command line of gwctl: which verb, with which arguments. What verbs do is told in their
// files.
#include "tools/cli/command_line.h"

#include <algorithm>
#include <climits>
#include <fcntl.h>
#include <functional>
#include <iostream>
#include <optional>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "tools/apply/batch.h"
#include "tools/apply/guardian.h"
#include "tools/base/hint.h"
#include "tools/cli/shell.h"
#include "tools/live/attributes.h"
#include "tools/live/browse.h"
#include "tools/live/configuration.h"
#include "tools/live/instances.h"
#include "tools/live/raw.h"
#include "tools/live/values.h"
#include "tools/live/watch.h"
#include "tools/offline/offline.h"

namespace gwconf::tool {
namespace {

/// What the command line says.
struct CommandLine {
  std::string socket_path;
  int timeout_seconds = GWCONF_TIMEOUT_DEFAULT / 1000;
  bool json = false;

  std::string path;
  std::string target;
  std::vector<std::string> arguments;
  std::optional<unsigned> number;
  unsigned from = 1;
  unsigned count = 0;
  int command = 0;
  bool is_virtual = false;
  bool force = false;
  bool yes = false;
  TreeView view;
  BatchOptions batch;

  Verb verb;

  [[nodiscard]] Kind kind() const { return is_virtual ? Kind::kVirtual : Kind::kReal; }
};

/// Goes before a word that the parser would not take as it stands: [A,B] for a list of two, ++ for
/// the end of a verb.
constexpr char kAsItStands = '\1';

[[nodiscard]] std::string marked(const std::string& word) {
  const bool is_special = word.starts_with('[') || word == "++" || word.starts_with(kAsItStands);
  return is_special ? kAsItStands + word : word;
}

[[nodiscard]] std::string unmarked(const std::string& word) {
  return word.starts_with(kAsItStands) ? word.substr(1) : word;
}

void unmark_arguments(CLI::App& app) {
  for (CLI::Option* option : app.get_options())
    option->transform(unmarked);
  for (CLI::App* sub : app.get_subcommands([](CLI::App*) { return true; }))
    unmark_arguments(*sub);
}

/// Throws CLI::ParseError.
void parse(CLI::App& app, const std::vector<std::string>& words) {
  std::vector<std::string> latest_first(words.size());
  std::transform(words.rbegin(), words.rend(), latest_first.begin(), marked);
  app.parse(std::move(latest_first));
}

/// What is wrong with a command line, which names a verb that there is not, or none, or uses one
/// wrongly.
[[nodiscard]] std::string objection_of(const CLI::App& app, const CLI::Error& error) {
  const CLI::App* inner = &app;
  while (!inner->get_subcommands().empty())
    inner = inner->get_subcommands().front();
  std::vector<std::string> verbs;
  for (const CLI::App* sub : inner->get_subcommands([](const CLI::App*) { return true; }))
    verbs.push_back(sub->get_name());
  std::string text = error.what();
  if (!verbs.empty() && error.get_name() == "RequiredError") {
    text = "no verb";
    for (const std::string& word : app.remaining(true)) {
      if (word.starts_with('-')) continue;
      text = unmarked(word);
      text += " is no verb" + question_of(near_names(text, verbs));
      break;
    }
  }
  std::erase(text, kAsItStands);
  return harmless(text, "\n");
}

/// Puts verbs into an application and their arguments into a command line.
class Wiring {
 public:
  Wiring(CLI::App& app, CommandLine& line) : app_{app}, line_{line} {}

  void add_all() {
    add_browsing();
    add_values();
    add_instances();
    add_configurations();
    add_others();
  }

 private:
  CLI::App* add(const char* name, const char* description, const char* example, Verb verb) {
    CLI::App* sub = app_.add_subcommand(name, description);
    sub->footer(std::string{"Example:\n  gwctl "} + example);
    sub->callback([&line = line_, verb = std::move(verb)] { line.verb = verb; });
    return sub;
  }

  void add_browsing() {
    CommandLine& line = line_;
    CLI::App* sub = add("get", "Print the value of parameters",
                        "get InternetGatewayDevice.Time. "
                        "'InternetGatewayDevice.LANDevice.*.LANWLANConfigurationNumberOfEntries'",
                        [&line](const Session& s) { return get(s, line.arguments); });
    sub->add_option("PATH", line.arguments,
                    "Parameters, objects (all below), or \"*\" in the place of an instance number")
        ->required();

    sub = add("ls", "List what an object holds", "ls InternetGatewayDevice.Time.",
              [&line](const Session& s) { return list(s, line.path); });
    sub->add_option("PATH", line.path, "Object (else the root)");

    sub = add("tree", "Print an object with all below it",
              "tree InternetGatewayDevice.LANDevice.1. --depth 2 --values",
              [&line](const Session& s) { return tree(s, line.path, line.view); });
    sub->add_option("PATH", line.path, "Object (else the root)");
    sub->add_option("--depth", line.view.depth, "Levels below the object")
        ->check(CLI::Range(0, INT_MAX));
    sub->add_flag("--values", line.view.values, "With values");
    sub->add_flag("--user-set", line.view.user_set, "Only what was set since the defaults");

    sub = add("find", "Find paths and values that hold a text, in any case; 4 when none does",
              "find ntp", [&line](const Session& s) { return find(s, line.target); });
    sub->add_option("PATTERN", line.target, "Part of a path or value")->required();

    sub = add("describe", "Tell type, limits, attributes, value and getter of a path",
              "describe InternetGatewayDevice.Time.NTPServer1",
              [&line](const Session& s) { return describe(s, line.path); });
    sub->add_option("PATH", line.path, "Parameter, or object with its last dot")->required();
  }

  void add_values() {
    CommandLine& line = line_;
    CLI::App* sub = add("set", "Set parameters, after a check of type, limits and access",
                        "set InternetGatewayDevice.Time.NTPServer1=ntp.example.net",
                        [&line](const Session& s) { return set(s, line.arguments, line.force); });
    sub->add_option("PATH=VALUE", line.arguments, "Assignments, or one path and one value")
        ->required();
    sub->add_flag("--force", line.force, "Do not check before");

    sub = add("attr", "Print or change the attribute bits of a path",
              "attr InternetGatewayDevice.Time.NTPServer1 notify-active=1",
              [&line](const Session& s) { return attributes(s, line.path, line.arguments); });
    sub->add_option("PATH", line.path, "Parameter, or object with its last dot")->required();
    sub->add_option("BIT=0|1", line.arguments,
                    "Bits by number or name: writable, disabled, user-set, user-set-below, "
                    "notify-off, notify-passive, notify-active");

    sub = add("watch", "Print changes of values as they happen, until Ctrl-C",
              "watch InternetGatewayDevice.Time. "
              "'InternetGatewayDevice.LANDevice.*.LANHostConfigManagement.'",
              [&line](const Session& s) { return watch(s, line.arguments); });
    sub->add_option("PATH", line.arguments, "Only these (objects: all below)");
  }

  void add_instances() {
    CommandLine& line = line_;
    const auto number_range = CLI::Range(1U, unsigned{GWCONF_INSTANCE_MAX});
    CLI::App* sub =
        add("add", "Add an instance and print its number",
            "add InternetGatewayDevice.Layer3Forwarding.Forwarding.", [&line](const Session& s) {
              return gwconf::tool::add(s, line.path, line.number, line.kind());
            });
    sub->add_option("TABLE", line.path, "Table")->required();
    sub->add_option("NUMBER", line.number, "Number (else the one behind the greatest)")
        ->check(number_range);
    sub->add_flag("--virtual", line.is_virtual, "A virtual instance: never saved");

    sub = add("insert", "Add an instance in the place of another, which moves up",
              "insert InternetGatewayDevice.Layer3Forwarding.Forwarding. 1",
              [&line](const Session& s) {
                return insert(s, line.path, line.number.value_or(0), line.kind());
              });
    sub->add_option("TABLE", line.path, "Table")->required();
    sub->add_option("NUMBER", line.number, "Number")->required()->check(number_range);
    sub->add_flag("--virtual", line.is_virtual, "A virtual instance: never saved");

    sub = add("del", "Delete an instance, or an object with all below it",
              "del InternetGatewayDevice.Layer3Forwarding.Forwarding.3.",
              [&line](const Session& s) { return remove(s, line.path); });
    sub->add_option("PATH", line.path, "Instance or object")->required();

    sub = add("renumber", "Close the gaps between instance numbers",
              "renumber InternetGatewayDevice.Layer3Forwarding.Forwarding. --from 2",
              [&line](const Session& s) { return renumber(s, line.path, line.from, line.count); });
    sub->add_option("TABLE", line.path, "Table")->required();
    sub->add_option("--from", line.from,
                    "Begin at this instance, which has to exist, or the one before it")
        ->check(number_range);
    sub->add_option("--count", line.count, "At most so many instances (0: all)");

    sub = add("move", "Move an instance to another table",
              "move InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2. "
              "InternetGatewayDevice.WANDevice.2.WANConnectionDevice.",
              [&line](const Session& s) { return move(s, line.path, line.target); });
    sub->add_option("PATH", line.path, "Instance or object")->required();
    sub->add_option("NEW-PARENT", line.target, "Table that it comes to")->required();
  }

  void add_configurations() {
    CommandLine& line = line_;
    add("commit", "Write what the user has set to flash", "commit", commit);

    CLI::App* sub =
        add("export", "Print an object with all below it, or a parameter, as XML",
            "export InternetGatewayDevice.Time. -o time.xml",
            [&line](const Session& s) { return export_xml(s, line.path, line.target); });
    sub->add_option("PATH", line.path, "Parameter, or object with its last dot")->required();
    sub->add_option("-o,--output", line.target, "File to write");

    sub = add("save", "Save what the user has set to a file, which the daemon writes",
              "save settings.xml", [&line](const Session& s) { return save(s, line.target); });
    sub->add_option("FILE", line.target, "File")->required();

    sub =
        add("restore", "Lay a saved file over the factory defaults; last with a commit",
            "restore settings.xml", [&line](const Session& s) { return restore(s, line.target); });
    sub->add_option("FILE", line.target, "File, which the daemon reads")->required();

    sub = add("reset", "Back to the factory defaults, in memory and in flash", "reset --yes",
              [&line](const Session& s) { return reset(s, line.yes); });
    sub->add_flag("--yes", line.yes, "Do not ask");

    sub = add("apply", "Send a batch of changes, all or none",
              "apply wan.batch --confirm 60\n\n"
              "Lines are `set PATH=VALUE`, `add TABLE [NUMBER]`, `del INSTANCE`, and # comments.\n"
              "All are checked before the first is sent, and undone in reverse order when one\n"
              "fails or gwctl is killed. Undoing restores stored values, attribute bits and\n"
              "virtual instances. Of a deleted instance it cannot bring back what was disabled\n"
              "inside, nor limits, types or getters that differ from the table's template. It\n"
              "sets values as any client does: listeners hear of it.",
              [&line](const Session& s) { return apply(s, line.target, line.batch); });
    sub->add_option("FILE", line.target, "Batch file, - for standard input")->required();
    sub->add_flag("--dry-run", line.batch.is_dry, "Check only");
    sub->add_option("--confirm", line.batch.confirm_seconds,
                    "Undo after so many seconds unless `gwctl confirm` comes first")
        ->check(CLI::Range(1, 86400));

    add("confirm", "Keep what `apply --confirm` changed", "confirm", confirm);
  }

  void add_others() {
    CommandLine& line = line_;
    CLI::App* sub = add("raw", "Send a request by its number and print the answers",
                        "raw 2 InternetGatewayDevice.DeviceSummary",
                        [&line](const Session& s) { return raw(s, line.command, line.arguments); });
    sub->add_option("NUMBER", line.command, "Command number")->required();
    sub->add_option("ARGUMENT", line.arguments, "Argument texts");

    add("shell", "Read verbs from the terminal, with completion and history, or from a pipe",
        "shell", shell);
  }

  CLI::App& app_;
  CommandLine& line_;
};

void set_up(CLI::App& app, CommandLine& line) {
  app.require_subcommand(1);
  app.fallthrough();
  app.add_flag("--json", line.json, "Print JSON");
  app.failure_message([](const CLI::App* whole, const CLI::Error& error) {
    return "gwctl: " + objection_of(*whole, error) + "\nRun with --help for more information.\n";
  });
  Wiring{app, line}.add_all();
  add_offline_verbs(app, [&line](Verb verb) { line.verb = std::move(verb); });
  unmark_arguments(app);
}

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
  CommandLine line;
  CLI::App app{"Talks to the gateway's configuration manager.", "gwctl"};
  app.set_version_flag("--version", "gwctl " GWCONF_VERSION);
  app.footer(
      "Exit status: 0 done, 1 refused by the daemon, 2 wrong use, 3 daemon not reachable, "
      "4 findings.");
  const CLI::Option* socket = app.add_option(
      "--socket", line.socket_path, "The daemon's socket (else GWCONF_SOCKET, else the system's)");
  app.add_option("--timeout", line.timeout_seconds, "Seconds that a request may take")
      ->check(CLI::Range(1, 86400));
  set_up(app, line);

  try {
    parse(app, {argv + std::min(argc, 1), argv + argc});
  } catch (const CLI::ParseError& error) {
    return status_of(end_of(app, error));
  }

  Client client{socket->count() > 0 ? line.socket_path.c_str() : nullptr};
  if (client.code() != GWCONF_OK) {
    std::cerr << "gwctl: --socket: " << client.code() << " (" << gwconf_strerror(client.code())
              << ")\n";
    return static_cast<int>(Exit::kWrongUse);
  }
  if (client.set_timeout(line.timeout_seconds * 1000) != GWCONF_OK)
    return static_cast<int>(Exit::kWrongUse);
  const Session session{client, Output{line.json, client.socket_path()},
                        line.timeout_seconds * 1000};
  return status_of(line.verb(session));
}

Exit run_line(const Session& shell, const std::vector<std::string>& words) {
  CommandLine line;
  CLI::App app{"Verbs; \"help VERB\" tells more of one, \"exit\" leaves.", ""};
  set_up(app, line);
  try {
    parse(app, words);
  } catch (const CLI::ParseError& error) {
    return end_of(app, error);
  }
  return line.verb(Session{shell.client,
                           Output{shell.output.json() || line.json, shell.output.socket_path()},
                           shell.timeout});
}

std::vector<VerbNames> verb_names() {
  CommandLine line;
  CLI::App app;
  set_up(app, line);
  std::vector<VerbNames> verbs;
  for (const CLI::App* sub : app.get_subcommands([](const CLI::App*) { return true; })) {
    VerbNames verb{sub->get_name(), {"--json"}};
    for (const CLI::Option* option : sub->get_options())
      for (const std::string& name : option->get_lnames())
        verb.options.push_back("--" + name);
    verbs.push_back(std::move(verb));
  }
  return verbs;
}

}  // namespace gwconf::tool
