#pragma once

#include <string>
#include <string_view>

namespace gwconf::tool {

/// The object path for one that may lack its last dot.
[[nodiscard]] std::string as_object(const std::string& path);

/// A path without its last segment, and that segment (with its dot). Empty parts for none.
struct SplitPath {
  std::string parent;
  std::string segment;
};
[[nodiscard]] SplitPath split(const std::string& path);

/// The number of an instance segment such as "3."; 0 for any other.
[[nodiscard]] unsigned instance_number(std::string_view segment);

}  // namespace gwconf::tool
