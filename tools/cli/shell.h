#pragma once

#include "tools/base/session.h"

namespace gwconf::tool {

/// Reads verbs line by line and runs them: with editing, history and completion on a terminal. From
/// anywhere else it goes on behind a failure, and ends with the worst of all ends.
[[nodiscard]] Exit shell(const Session& session);

}  // namespace gwconf::tool
