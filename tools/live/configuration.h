#pragma once

#include <string>

#include "tools/base/session.h"

namespace gwconf::tool {

/// Writes what the user has set to flash.
[[nodiscard]] Exit commit(const Session& session);

/// Prints an object with all below it, or a parameter, as XML, or writes it to a file.
[[nodiscard]] Exit export_xml(const Session& session, const std::string& path,
                              const std::string& file);

/// Saves the configuration to a file, or rebuilds it from one. The daemon opens it: the path is
/// made absolute here.
[[nodiscard]] Exit save(const Session& session, const std::string& file);
[[nodiscard]] Exit restore(const Session& session, const std::string& file);

/// Back to the factory defaults, after a question unless `yes`.
[[nodiscard]] Exit reset(const Session& session, bool yes);

}  // namespace gwconf::tool
