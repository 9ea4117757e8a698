#pragma once

#include <string>
#include <vector>

#include "tools/base/session.h"
#include "tools/offline/loaded_tree.h"

namespace gwconf::tool {

/// One respect in which two configurations differ.
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
/// they are stored and reported as clients read them. What only one tree has is reported with
/// everything inside it.
void compare(const LoadedTree& one, const LoadedTree& other, const CompareOptions& options,
             std::vector<Difference>* differences);

/// Prints differences: kFindings when there are any.
[[nodiscard]] Exit report(const Session& session, const std::vector<Difference>& differences);

}  // namespace gwconf::tool
