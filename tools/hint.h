#pragma once

#include <string>
#include <vector>

#include "gwconf/client.hpp"

namespace gwconf::tool {

/// Existing paths that somebody may have meant by one that names nothing: the nearest names at the
/// segment that fails, else the same name elsewhere below. The nearest comes first; at most three.
[[nodiscard]] std::vector<std::string> near_paths(const Client& client, const std::string& path);

}  // namespace gwconf::tool
