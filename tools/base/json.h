#pragma once

#include <nlohmann/json.hpp>

namespace gwconf::tool {

/// JSON that keeps its keys in the order of writing.
using Json = nlohmann::ordered_json;

/// A code of the daemon's or the library's as {"code": ..., "meaning": ...}.
[[nodiscard]] Json json_of(int code);

}  // namespace gwconf::tool
