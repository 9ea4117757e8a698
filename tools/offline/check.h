#pragma once

#include <string>
#include <vector>

#include "tools/base/session.h"

namespace gwconf::tool {

struct CheckOptions {
  std::vector<std::string> files;
  bool standard = false;
  std::string facts;  ///< of the standard; empty for the usual file
};

/// Checks factory defaults against the rules. Errors and warnings are findings (kFindings); notes
/// alone are not.
[[nodiscard]] Exit check(const Session& session, const CheckOptions& options);

/// Lists the rules.
[[nodiscard]] Exit list_rules(const Session& session);

}  // namespace gwconf::tool
