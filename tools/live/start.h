#pragma once

#include <string>

#include "tools/base/exported_tree.h"
#include "tools/base/session.h"

namespace gwconf::tool {

/// The object that a verb begins at: the one with the path, or the root for an empty one. Throws
/// Failure when it cannot be had.
[[nodiscard]] ExportedTree start_at(const Session& session, const std::string& verb,
                                    const std::string& path);

}  // namespace gwconf::tool
