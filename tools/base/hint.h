#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "gwconf/client.hpp"

namespace gwconf::tool {

/// Those of `names` that somebody may have meant by `name`, whatever their case and last dot: at
/// most `most_changes` characters (else a third of the name's) are other, missing, too many or
/// swapped. The nearest comes first; at most three.
[[nodiscard]] std::vector<std::string> near_names(const std::string& name,
                                                  const std::vector<std::string>& names,
                                                  std::optional<std::size_t> most_changes = {});

/// Existing paths that somebody may have meant by one that names nothing: the nearest names at the
/// segment that fails, else the same name elsewhere below. The nearest comes first; at most three.
[[nodiscard]] std::vector<std::string> near_paths(const Client& client, const std::string& path);

}  // namespace gwconf::tool
