#pragma once

#include <string>
#include <vector>

#include "tools/session.h"

namespace gwconf::tool {

/// Prints the value of each parameter: alone for one path, as PATH=VALUE for several. Goes on
/// behind a parameter that is refused.
[[nodiscard]] Exit get(const Session& session, const std::vector<std::string>& paths);

/// Sets parameters, given as PATH=VALUE each or as one path and one value. Unless `force`, all are
/// checked first against type, limits, access and disabled objects, which the daemon does not do;
/// with any finding nothing is written.
[[nodiscard]] Exit set(const Session& session, const std::vector<std::string>& arguments,
                       bool force);

}  // namespace gwconf::tool
