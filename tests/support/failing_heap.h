#pragma once

#include <cstddef>
#include <functional>

namespace gwconf::test {

/// Makes allocations of the daemon's heap fail. Afterwards, and by default, everything succeeds.
class FailingHeap {
 public:
  enum class Kind { kOnce, kFromThenOn };

  /// The `nth` allocation from now on fails (1 is the next), once or with all that follow.
  FailingHeap(std::size_t nth, Kind kind);
  ~FailingHeap();
  FailingHeap(const FailingHeap&) = delete;
  FailingHeap& operator=(const FailingHeap&) = delete;

  /// Whether an allocation was made to fail by now.
  [[nodiscard]] bool fired() const;
};

/// Blocks taken and not yet given back.
[[nodiscard]] std::size_t live_blocks();

/// Runs `attempt` again and again with the 1st, 2nd, ... allocation failing, once and persistently,
/// until none fails. `prepare` runs before and `check` after each failing run, with the heap sound
/// again; blocks that were taken since `prepare` began and are still held after `check` are a leak.
/// Returns how many runs had a failing allocation.
std::size_t sweep_allocations(const std::function<void()>& prepare,
                              const std::function<void()>& attempt,
                              const std::function<void()>& check);

}  // namespace gwconf::test
