#pragma once

#include <string>
#include <vector>

namespace gwconf::tool {

/// The names of the bits that are set, lowest first; "bit2" for one without a name.
[[nodiscard]] std::vector<std::string> attribute_names(unsigned word);

}  // namespace gwconf::tool
