#pragma once

#include <string>
#include <vector>

#include "tools/base/session.h"

namespace gwconf::tool {

/// Runs gwctl with the arguments of its process. Returns the exit status.
[[nodiscard]] int run(int argc, char** argv);

/// Runs the verb that a line of the shell names, with the shell's connection.
[[nodiscard]] Exit run_line(const Session& shell, const std::vector<std::string>& words);

/// A verb and its options, such as "--json", for completion.
struct VerbNames {
  std::string name;
  std::vector<std::string> options;
};
[[nodiscard]] std::vector<VerbNames> verb_names();

}  // namespace gwconf::tool
