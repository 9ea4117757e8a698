#pragma once

#include <optional>
#include <string>

#include "gwconf/client.hpp"

namespace gwconf::tool {

/// What speaks against an assignment: type, limits, access or a disabled object; nothing for a good
/// one. The rules are those of `model`, which is the parameter itself or its template. The code is
/// that of a request that failed.
Result<std::optional<std::string>> objection_to(const Client& client, const std::string& model,
                                                const std::string& value);

}  // namespace gwconf::tool
