#pragma once

#include <cstdint>
#include <functional>

namespace gwconf::test {

/// While it lives, the time that the service sees passes in its waits only, and at once: a wait
/// ends with what the peer does meanwhile, or with its time-out. One at a time.
class SimulatedTime {
 public:
  SimulatedTime();
  ~SimulatedTime();
  SimulatedTime(const SimulatedTime&) = delete;
  SimulatedTime& operator=(const SimulatedTime&) = delete;

  /// Has the peer do something every so many milliseconds, from now on.
  void every(std::int64_t interval, std::function<void()> action);

  void advance(std::int64_t milliseconds);

  /// Milliseconds that have passed.
  [[nodiscard]] std::int64_t passed() const { return passed_; }

 private:
  std::int64_t passed_ = 0;
  std::int64_t interval_ = 0;
  std::int64_t next_ = 0;
  std::function<void()> action_;
};

}  // namespace gwconf::test
