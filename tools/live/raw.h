#pragma once

#include <string>
#include <vector>

#include "tools/base/session.h"

namespace gwconf::tool {

/// Sends any command number with any arguments and prints each answer, which
/// ends with one line break whether it brings it or not.
[[nodiscard]] Exit raw(const Session& session, int command,
                       const std::vector<std::string>& arguments);

}  // namespace gwconf::tool
