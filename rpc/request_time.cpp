#include "rpc/request_time.h"

#include <algorithm>
#include <limits>
#include <time.h>

#include "protocol/limits.h"

namespace gwconf {
namespace {

std::int64_t request_end = std::numeric_limits<std::int64_t>::max();

}  // namespace

std::int64_t milliseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

void start_request_time() {
  request_end = milliseconds() + kRequestSeconds * 1000;
}

int next_wait() {
  constexpr std::int64_t kLongest = kReadSeconds * 1000;
  return static_cast<int>(std::clamp<std::int64_t>(request_end - milliseconds(), 0, kLongest));
}

}  // namespace gwconf
