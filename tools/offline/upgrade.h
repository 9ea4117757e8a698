#pragma once

#include <string>

#include "tools/base/session.h"

namespace gwconf::tool {

/// Tells what the first start of a firmware with `new_defaults` makes of the settings in `settings`
/// (a block or its text): the daemon's own start-up runs over them and is compared with what went
/// in. With `old_defaults` (empty for none) also what becomes of what the user never set.
/// kFindings when a setting would be lost: dropped, no longer valid, or hidden behind a
/// measurement. Throws Failure (kWrongUse, kRefused) for a file that cannot be read or loaded.
[[nodiscard]] Exit upgrade(const Session& session, const std::string& settings,
                           const std::string& new_defaults, const std::string& old_defaults);

}  // namespace gwconf::tool
