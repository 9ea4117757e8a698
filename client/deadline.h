#pragma once

#include <cstdint>
#include <time.h>

namespace gwconf::client {

/// The end of a request's time, on a clock that nobody sets.
class Deadline {
 public:
  explicit Deadline(int milliseconds) noexcept : end_{now() + milliseconds} {}

  /// Milliseconds left; 0 when the time is over.
  [[nodiscard]] int remaining() const noexcept {
    const std::int64_t left = end_ - now();
    return left > 0 ? static_cast<int>(left) : 0;
  }

 private:
  [[nodiscard]] static std::int64_t now() noexcept {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<std::int64_t>(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
  }

  std::int64_t end_;
};

}  // namespace gwconf::client
