#pragma once

namespace gwconf {

/// The value stored in the tree for the parameter at `path`, still the tree's; none when there is
/// no such parameter or it has no value.
[[nodiscard]] const char* stored_value(const char* path);

}  // namespace gwconf
