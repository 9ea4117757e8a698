#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace gwconf::test {

struct LogLine {
  int priority = 0;
  std::string text;

  bool operator==(const LogLine&) const = default;
};

std::ostream& operator<<(std::ostream& out, const LogLine& line);

/// What this process tells the system log, which never gets it.
struct SystemLog {
  int times_opened = 0;
  std::string identity;
  int options = 0;
  int facility = 0;
  std::vector<LogLine> lines;
  std::function<void()> on_open;
};

/// The log in use; assign a fresh one to start anew.
[[nodiscard]] SystemLog& system_log();

}  // namespace gwconf::test
