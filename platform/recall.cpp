#include "platform/recall.h"

#include <sys/sysinfo.h>

#include "platform/ethernet_statistics.h"

namespace gwconf {

std::uint32_t system_uptime() {
  struct sysinfo system = {};
  return sysinfo(&system) == 0 ? static_cast<std::uint32_t>(system.uptime) : 0;
}

void RecallSchedule::scan() {
  const std::uint32_t now = uptime_();
  if (last_scan_ == 0) {
    last_scan_ = now;
    for (RecallRow* row = rows_; row->refresh; ++row)
      row->remaining = row->period;
    return;
  }
  if (now <= last_scan_) return;
  const std::int64_t elapsed = now - last_scan_;
  last_scan_ = now;
  for (RecallRow* row = rows_; row->refresh; ++row) {
    if (elapsed >= row->remaining) {
      row->refresh();
      row->remaining = row->period;
    } else {
      row->remaining -= static_cast<std::int32_t>(elapsed);
    }
  }
}

std::array<RecallRow, 2> platform_fn_recall_tab{{
    {refresh_ethernet_statistics, 5, 0},
    {nullptr, 0, 0},
}};

void scan_recall_func_table() {
  static constinit RecallSchedule schedule{platform_fn_recall_tab.data(), system_uptime};
  schedule.scan();
}

}  // namespace gwconf
