#pragma once

#include <functional>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "tools/base/session.h"

namespace gwconf::tool {

/// What a verb of the command line does. Returns how it ended, or throws Failure.
using Verb = std::function<Exit(const Session&)>;

/// What the help says of a verb.
struct VerbHelp {
  const char* name;
  const char* purpose;
  const char* example;  ///< behind "gwctl"
};

/// Where the verbs register themselves: their help, their options and their code.
class Registry {
 public:
  /// Verbs become subcommands of `app`. The one that a command line asks for goes to `chosen`; both
  /// must outlive the parsing.
  Registry(CLI::App& app, Verb* chosen) : app_{app}, chosen_{chosen} {}

  template <typename Options>
  struct Registered {
    CLI::App& parser;  ///< takes the options
    Options& options;  ///< lives as long as the parser, and as long as the verb
  };

  template <typename Options>
  [[nodiscard]] Registered<Options> add(const VerbHelp& help,
                                        Exit (*run)(const Session&, const Options&)) const {
    const auto options = std::make_shared<Options>();
    CLI::App& parser = add_parser(help, [options, run](const Session& session) {  //
      return run(session, *options);
    });
    return {parser, *options};
  }

  /// A verb without options.
  void add(const VerbHelp& help, Exit (*run)(const Session&)) const { add_parser(help, run); }

 private:
  CLI::App& add_parser(const VerbHelp& help, Verb verb) const {
    CLI::App* const parser = app_.add_subcommand(help.name, help.purpose);
    parser->footer(std::string{"Example:\n  gwctl "} + help.example);
    parser->callback([chosen = chosen_, verb = std::move(verb)] { *chosen = verb; });
    return *parser;
  }

  CLI::App& app_;
  Verb* chosen_;
};

}  // namespace gwconf::tool
