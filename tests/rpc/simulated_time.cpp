#include "tests/rpc/simulated_time.h"

#include <algorithm>
#include <poll.h>
#include <time.h>
#include <utility>

namespace {

gwconf::test::SimulatedTime* simulated = nullptr;

}  // namespace

// These stand in for the C library's, by the linker.
extern "C" {

int __real_clock_gettime(clockid_t clock, timespec* now);
int __real_poll(pollfd* waits, nfds_t count, int timeout);
int __real_nanosleep(const timespec* pause, timespec* rest);

int __wrap_clock_gettime(clockid_t clock, timespec* now) {
  if (!simulated || clock != CLOCK_MONOTONIC) return __real_clock_gettime(clock, now);
  // Somewhere inside of a second.
  const std::int64_t milliseconds = 1'000'700 + simulated->passed();
  now->tv_sec = static_cast<time_t>(milliseconds / 1000);
  now->tv_nsec = static_cast<long>(milliseconds % 1000 * 1'000'000);
  return 0;
}

int __wrap_poll(pollfd* waits, nfds_t count, int timeout) {
  if (!simulated || timeout < 0) return __real_poll(waits, count, timeout);
  for (int waited = 0;; ++waited) {
    const int ready = __real_poll(waits, count, 0);
    if (ready != 0 || waited == timeout) return ready;
    simulated->advance(1);
  }
}

int __wrap_nanosleep(const timespec* pause, timespec* rest) {
  if (!simulated) return __real_nanosleep(pause, rest);
  simulated->advance(pause->tv_sec * 1000 + pause->tv_nsec / 1'000'000);
  return 0;
}

}  // extern "C"

namespace gwconf::test {

SimulatedTime::SimulatedTime() {
  simulated = this;
}

SimulatedTime::~SimulatedTime() {
  simulated = nullptr;
}

void SimulatedTime::every(std::int64_t interval, std::function<void()> action) {
  interval_ = interval;
  next_ = passed_ + interval;
  action_ = std::move(action);
}

void SimulatedTime::advance(std::int64_t milliseconds) {
  const std::int64_t end = passed_ + milliseconds;
  while (action_ && next_ <= end) {
    passed_ = std::exchange(next_, next_ + interval_);
    action_();
  }
  passed_ = end;
}

}  // namespace gwconf::test
