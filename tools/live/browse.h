#pragma once

#include <climits>
#include <string>

#include "tools/base/session.h"

namespace gwconf::tool {

/// Prints what an object holds (the root without a path): child objects and parameters by name.
[[nodiscard]] Exit list(const Session& session, const std::string& path);

struct TreeView {
  int depth = INT_MAX;  ///< levels below the object
  bool values = false;
  bool user_set = false;  ///< only what was set since the defaults, and what is around it
};
/// Prints an object (the root without a path) and what is below it, indented.
[[nodiscard]] Exit tree(const Session& session, const std::string& path, const TreeView& view);

/// Prints the paths whose last name, path or value holds the text, whatever its case. Findings when
/// there is none.
[[nodiscard]] Exit find(const Session& session, const std::string& text);

/// Prints all that the daemon tells of an object or a parameter.
[[nodiscard]] Exit describe(const Session& session, const std::string& path);

}  // namespace gwconf::tool
