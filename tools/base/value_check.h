#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace gwconf::tool {

/// What the daemon tells of a parameter's values.
struct ValueRules {
  int type = 0;             ///< enum gwconf_type
  int minimum = 0;          ///< of numbers
  int maximum = 0;          ///< of numbers, or bytes of a text
  std::string enumeration;  ///< allowed values, separated by commas
};

/// Whether limits belong to values of the type.
[[nodiscard]] bool has_limits(int type);

/// What is wrong with `value`, such as "longer than 64 bytes"; nothing for a good value.
[[nodiscard]] std::optional<std::string> objection(const ValueRules& rules, std::string_view value);

}  // namespace gwconf::tool
