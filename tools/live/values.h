#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/base/session.h"

namespace gwconf::tool {

/// What is assigned to a parameter.
struct Assignment {
  std::string path;
  std::string value;
};

/// What speaks against an assignment: type, limits, access or a disabled object. The rules are
/// those of `model`, which is the parameter itself or its template. `code` is GWCONF_OK, or why
/// they could not be had.
[[nodiscard]] std::optional<std::string> objection_to(const Client& client,
                                                      const std::string& model,
                                                      const std::string& value, int& code);

/// Prints the value of each parameter: alone for one path, as PATH=VALUE for several, for an object
/// path (all parameters below) and for "*" (every instance). Goes on behind a path that is refused.
[[nodiscard]] Exit get(const Session& session, const std::vector<std::string>& paths);

/// Sets parameters, given as PATH=VALUE each or as one path and one value. Unless `force`, all are
/// checked first against type, limits, access and disabled objects, which the daemon does not do;
/// with any finding nothing is written.
[[nodiscard]] Exit set(const Session& session, const std::vector<std::string>& arguments,
                       bool force);

}  // namespace gwconf::tool
