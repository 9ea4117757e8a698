#pragma once

#include <string>
#include <vector>

#include "tools/base/session.h"

namespace gwconf::tool {

/// The names of the bits that are set, lowest first; "bit2" for one without a name.
[[nodiscard]] std::vector<std::string> attribute_names(unsigned word);

/// Prints the attribute bits of an object or parameter as NAME=0|1, or changes those that are given
/// so, by name or number. All are read before the first is sent.
[[nodiscard]] Exit attributes(const Session& session, const std::string& path,
                              const std::vector<std::string>& changes);

}  // namespace gwconf::tool
