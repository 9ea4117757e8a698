#pragma once

#include "tools/session.h"

namespace gwconf::tool {

/// Writes what the user has set to flash.
[[nodiscard]] Exit commit(const Session& session);

}  // namespace gwconf::tool
