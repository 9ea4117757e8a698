#pragma once

#include <functional>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "tools/offline/offline.h"

namespace gwconf::tool {

/// Adds verbs to the command line, or to a verb that has verbs of its own.
class VerbList {
 public:
  /// `app` must outlive the list. When one of the verbs is asked for, `choose` receives what it
  /// does.
  VerbList(CLI::App& app, std::function<void(Verb)> choose);

  /// Adds a verb. The parser fills the object that is returned in `options`, and `run` receives it.
  /// A Failure that `run` throws is reported under the verb's name.
  template <typename Options>
  CLI::App* add(const char* name, const char* description, const char* example,
                Exit (*run)(const Session&, const Options&), std::shared_ptr<Options>* options) {
    *options = std::make_shared<Options>();
    return add_verb(name, description, example, [run, parsed = *options](const Session& session) {
      return run(session, *parsed);
    });
  }

  /// Adds a verb that only leads to verbs of its own, and returns the list of those.
  VerbList add_group(const char* name, const char* description, const char* example);

 private:
  CLI::App* add_verb(const char* name, const char* description, const char* example, Verb run);
  CLI::App* add_help(const char* name, const char* description, const char* example);

  CLI::App& app_;
  std::function<void(Verb)> choose_;
};

}  // namespace gwconf::tool
