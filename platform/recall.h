#pragma once

#include <array>
#include <cstdint>

namespace gwconf {

/// A source that is refreshed at most every `period` seconds.
struct RecallRow {
  void (*refresh)();
  std::int32_t period;
  std::int32_t remaining;
};

/// Seconds since the machine started; 0 when the kernel does not tell.
[[nodiscard]] std::uint32_t system_uptime();

/// When each row of a table is due. Nothing runs by itself: time passes only from scan to scan.
class RecallSchedule {
 public:
  using Uptime = std::uint32_t (*)();

  /// `rows`, which outlive the schedule, end with a row without function.
  constexpr RecallSchedule(RecallRow* rows, Uptime uptime) : rows_{rows}, uptime_{uptime} {}

  /// Runs what is due, at most once a second. The first scan only starts the clock.
  void scan();

 private:
  RecallRow* rows_;
  Uptime uptime_;
  std::uint32_t last_scan_ = 0;  ///< 0: not started
};

/// What the daemon refreshes on its requests.
extern std::array<RecallRow, 2> platform_fn_recall_tab;

/// Scans the daemon's table. The request server calls it for every connection, before it reads.
void scan_recall_func_table();

}  // namespace gwconf
