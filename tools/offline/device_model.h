#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/offline/profile_statements.h"

namespace gwconf::tool {

struct ModelParameter {
  std::string name;
  std::string type;
  std::string enumeration;
  bool writable = false;
  std::string default_value;
};

/// An object or a table of a device, in model form: its rows are alike.
struct ModelObject {
  std::string path;  ///< below the root: "LANDevice.{i}.Hosts."
  bool writable = false;
  std::vector<ModelParameter> parameters;
  std::vector<ModelObject*> children;
  std::vector<std::string> counters;  ///< of a table: the names of its counters

  [[nodiscard]] bool is_table() const { return path.ends_with(kAnyRow); }
  /// The parameter of that name; null when there is none.
  [[nodiscard]] ModelParameter* find(std::string_view name);
};

using ModelObjects = std::map<std::string, std::unique_ptr<ModelObject>, std::less<>>;

/// The objects that a device has, by their paths; the root is at the empty path. They are in the
/// order of the facts, and what the profile adds comes last in its object, in the profile's order.
/// Throws Failure (kRefused) for a line of the profile that cannot be followed.
[[nodiscard]] ModelObjects build_device(const Facts& facts, const ProfileStatements& statements,
                                        const std::string& profile_file);

}  // namespace gwconf::tool
