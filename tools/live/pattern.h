#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/base/exported_tree.h"

namespace gwconf::tool {

/// Whether `path` stands for more than one plain parameter path: an object path, or one in which
/// "*" stands for every instance.
[[nodiscard]] bool is_pattern(std::string_view path);

/// Whether `path` is what the pattern names, or lies below it.
[[nodiscard]] bool matches(std::string_view pattern, std::string_view path);

/// A parameter that a pattern stands for.
struct Match {
  std::string path;
  ExportedParameter parameter;
};

/// All parameters below an object path, or those of a path in which "*" stands for every instance.
/// An empty table is no failure; GWCONF_NOT_FOUND when nothing could ever match.
Result<std::vector<Match>> expand(const Client& client, const std::string& pattern);

}  // namespace gwconf::tool
