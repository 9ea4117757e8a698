#pragma once

namespace gwconf::tool {

/// How a verb ended. The numbers are the process's exit statuses.
enum class Exit {
  kDone = 0,
  kRefused = 1,      ///< by the daemon
  kWrongUse = 2,     ///< of the command line
  kUnreachable = 3,  ///< no answer of the daemon's
  kFindings = 4,     ///< a check of the tool's own found something
};

}  // namespace gwconf::tool
