// The command line of gwctl: which verb, with which arguments. What verbs do is told in their
// files.

#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/configuration.h"
#include "tools/raw.h"
#include "tools/session.h"
#include "tools/values.h"

namespace gwconf::tool {
namespace {

/// What the command line says.
struct CommandLine {
  std::string socket_path;
  int timeout_seconds = GWCONF_TIMEOUT_DEFAULT / 1000;
  bool json = false;

  std::vector<std::string> arguments;
  int command = 0;
  bool force = false;

  std::function<Exit(const Session&)> verb;
};

void add_verbs(CLI::App& app, CommandLine& line) {
  const auto add = [&](const char* name, const char* description, auto verb) {
    CLI::App* sub = app.add_subcommand(name, description);
    sub->callback([&line, verb] { line.verb = verb; });
    return sub;
  };

  CLI::App* sub = add("get", "Print the value of parameters",
                      [&line](const Session& s) { return get(s, line.arguments); });
  sub->add_option("PATH", line.arguments, "Parameter paths")->required();

  sub = add("set", "Set parameters, after a check of type, limits and access",
            [&line](const Session& s) { return set(s, line.arguments, line.force); });
  sub->add_option("PATH=VALUE", line.arguments, "Assignments, or one path and one value")
      ->required();
  sub->add_flag("--force", line.force, "Do not check before");

  add("commit", "Write what the user has set to flash", commit);

  sub = add("raw", "Send a request by its number and print the answers",
            [&line](const Session& s) { return raw(s, line.command, line.arguments); });
  sub->add_option("NUMBER", line.command, "Command number")->required();
  sub->add_option("ARGUMENT", line.arguments, "Argument texts");
}

int run(int argc, char** argv) {
  CommandLine line;
  CLI::App app{"Talks to the gateway's configuration manager.", "gwctl"};
  app.set_version_flag("--version", "gwctl " GWCONF_VERSION);
  app.require_subcommand(1);
  app.fallthrough();
  app.add_option("--socket", line.socket_path,
                 "The daemon's socket (else GWCONF_SOCKET, else the system's)");
  app.add_option("--timeout", line.timeout_seconds, "Seconds that a request may take")
      ->check(CLI::Range(1, 86400));
  app.add_flag("--json", line.json, "Print JSON");
  app.failure_message([](const CLI::App*, const CLI::Error& error) {
    return std::string{"gwctl: "} + error.what() + "\nRun with --help for more information.\n";
  });
  add_verbs(app, line);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : static_cast<int>(Exit::kWrongUse);
  }

  Client client{line.socket_path.empty() ? nullptr : line.socket_path.c_str()};
  if (client.code() != GWCONF_OK) {
    std::cerr << "gwctl: --socket: " << client.code() << " (" << gwconf_strerror(client.code())
              << ")\n";
    return static_cast<int>(Exit::kWrongUse);
  }
  if (client.set_timeout(line.timeout_seconds * 1000) != GWCONF_OK)
    return static_cast<int>(Exit::kWrongUse);
  const std::string socket_path = client.socket_path();
  const Session session{std::move(client), Output{line.json, socket_path}};
  return static_cast<int>(line.verb(session));
}

}  // namespace
}  // namespace gwconf::tool

int main(int argc, char** argv) {
  return gwconf::tool::run(argc, argv);
}
