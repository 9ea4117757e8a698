#pragma once

#include <string>
#include <vector>

#include "tools/base/session.h"

namespace gwconf::tool {

/// Prints every change of a value as it happens, of the given paths (objects, parameters, "*" for
/// any instance) or of all, until Ctrl-C or the end of the daemon. Takes the place of the daemon's
/// one listener, which it cannot give back. Nothing tells when another takes it over in turn.
[[nodiscard]] Exit watch(const Session& session, const std::vector<std::string>& paths);

}  // namespace gwconf::tool
