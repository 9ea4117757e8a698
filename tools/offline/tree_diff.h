#pragma once

#include <string>
#include <vector>

#include "tools/base/session.h"
#include "tools/offline/loaded_tree.h"

namespace gwconf::tool {

/// What one configuration has otherwise than another.
struct Difference {
  enum class Kind { kAdded, kRemoved, kChanged };

  Kind kind = Kind::kChanged;
  std::string path;       ///< of an object (with its dot) or a parameter
  std::string attribute;  ///< what of it differs; empty for the value, or for the whole
  std::string before;
  std::string after;
};

struct CompareOptions {
  bool without_templates = false;
  bool values_only = false;  ///< not types, access, notification, enumerations and getters
};

/// Appends the differences of two trees, objects in the order of the first. Values are compared as
/// they are stored and told as clients read them. What only one tree has is told with all inside.
void compare(const LoadedTree& one, const LoadedTree& other, const CompareOptions& options,
             std::vector<Difference>& differences);

/// Prints differences: kFindings when there are any.
[[nodiscard]] Exit report(const Session& session, const std::vector<Difference>& differences);

/// Compares any two of a live daemon, an XML file and a settings block. Throws Failure as
/// load_source() does.
[[nodiscard]] Exit diff(const Session& session, const std::string& one, const std::string& other,
                        bool values_only);

}  // namespace gwconf::tool
