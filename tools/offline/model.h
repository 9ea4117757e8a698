#pragma once

#include <string>

#include "tools/base/session.h"

namespace gwconf::tool {

/// Renders a device profile over the standard's facts to the factory defaults that the daemon
/// loads, into `output` or, when that is empty, to standard output. The same input gives the same
/// bytes. An empty `facts` means the usual file.
[[nodiscard]] Exit model(const Session& session, const std::string& profile,
                         const std::string& facts, const std::string& output);

}  // namespace gwconf::tool
