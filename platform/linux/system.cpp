#include <charconv>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string_view>
#include <sys/sysinfo.h>

#include "core/paths.h"
#include "platform/line_reader.h"
#include "platform/services.h"
#include "platform/text.h"

namespace gwconf {
namespace {

/// The processors' time since the machine started, in ticks.
struct ProcessorTime {
  std::uint64_t total = 0;
  std::uint64_t idle = 0;
};

bool read_processor_time(ProcessorTime& time) {
  char path[512];
  std::snprintf(path, sizeof path, "%s/stat", paths().proc);
  LineReader<256> file{path};
  if (!file.next()) return false;
  std::string_view rest = file.line();
  if (next_word(rest) != "cpu") return false;
  // user, nice, system, idle, waiting for input, two kinds of interrupts, taken by the host. The
  // guests' times behind them are part of the user's.
  constexpr int kIdle = 3;
  constexpr int kWaiting = 4;
  constexpr int kCounted = 8;
  for (int column = 0; column < kCounted; ++column) {
    const std::string_view word = next_word(rest);
    std::uint64_t ticks = 0;
    if (std::from_chars(word.data(), word.data() + word.size(), ticks).ec != std::errc{})
      return column > kIdle;  // old kernels tell less
    time.total += ticks;
    if (column == kIdle || column == kWaiting) time.idle += ticks;
  }
  return true;
}

/// The load over the time since the last measurement.
class ProcessorLoad {
 public:
  /// In percent; -1.0 when the kernel does not tell.
  double measure() {
    ProcessorTime now;
    if (!read_processor_time(now)) return -1.0;
    // A total that went backwards is that of another count: it is measured from its start.
    if (now.total < last_.total) last_ = {};
    const std::uint64_t elapsed = now.total - last_.total;
    // The kernel's time of waiting alone may run backwards.
    const std::uint64_t idle = now.idle > last_.idle ? now.idle - last_.idle : 0;
    if (elapsed > 0)  // within the same tick the load is what it was
      percent_ = idle < elapsed
                     ? 100.0 * static_cast<double>(elapsed - idle) / static_cast<double>(elapsed)
                     : 0.0;
    last_ = now;
    return percent_;
  }

 private:
  ProcessorTime last_;
  double percent_ = 0.0;
};

constinit ProcessorLoad load_meter;

}  // namespace
}  // namespace gwconf

long get_uptime() {
  struct sysinfo system = {};
  return sysinfo(&system) == 0 ? static_cast<long>(system.uptime) : 0;
}

void getTimeofDay(char* text) {
  *text = '\0';
  const std::time_t now = std::time(nullptr);
  std::tm local = {};
  tzset();
  if (!localtime_r(&now, &local)) return;
  const long minutes = local.tm_gmtoff / 60;
  const long distance = minutes < 0 ? -minutes : minutes;
  std::snprintf(text, kServiceTextRoom, "%04d-%02d-%02dT%02d:%02d:%02d%c%02ld:%02ld",
                local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min,
                local.tm_sec, minutes < 0 ? '-' : '+', distance / 60, distance % 60);
}

double sal_get_cpu_utilization(int) {
  return gwconf::load_meter.measure();
}
