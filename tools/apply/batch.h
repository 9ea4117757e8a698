#pragma once

#include <string>

#include "tools/base/session.h"

namespace gwconf::tool {

struct BatchOptions {
  bool is_dry = false;      ///< check only
  int confirm_seconds = 0;  ///< undo after them unless confirmed; 0 for never
};

/// Sends the changes of a batch file ("-" for standard input). All are checked first; when one
/// fails, or this process ends, those before it are taken back in reverse.
[[nodiscard]] Exit apply(const Session& session, const std::string& file,
                         const BatchOptions& options);

}  // namespace gwconf::tool
