#include "tests/support/failing_heap.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "core/heap.h"

namespace gwconf {
namespace {

std::size_t countdown = 0;  // 0: nothing fails
bool keeps_failing = false;
bool has_fired = false;
std::size_t blocks = 0;

bool fails_now() {
  if (countdown == 0) return false;
  if (countdown > 1) {
    --countdown;
    return false;
  }
  if (!keeps_failing) countdown = 0;
  has_fired = true;
  return true;
}

}  // namespace

void* heap_allocate(std::size_t bytes) noexcept {
  if (fails_now()) return nullptr;
  ++blocks;
  return std::malloc(bytes == 0 ? 1 : bytes);
}

void heap_release(void* memory) noexcept {
  if (memory) --blocks;
  std::free(memory);
}

namespace test {

FailingHeap::FailingHeap(std::size_t nth, Kind kind) {
  countdown = nth;
  keeps_failing = kind == Kind::kFromThenOn;
  has_fired = false;
}

FailingHeap::~FailingHeap() {
  countdown = 0;
}

bool FailingHeap::fired() const {
  return has_fired;
}

std::size_t live_blocks() {
  return blocks;
}

std::size_t sweep_allocations(const std::function<void()>& prepare,
                              const std::function<void()>& attempt,
                              const std::function<void()>& check) {
  std::size_t failing_runs = 0;
  for (const auto kind : {FailingHeap::Kind::kOnce, FailingHeap::Kind::kFromThenOn}) {
    for (std::size_t nth = 1;; ++nth) {
      SCOPED_TRACE(::testing::Message()
                   << "allocation " << nth << " fails"
                   << (kind == FailingHeap::Kind::kOnce ? "" : " with all that follow"));
      const std::size_t before = live_blocks();
      prepare();
      bool fired = false;
      {
        const FailingHeap heap{nth, kind};
        attempt();
        fired = heap.fired();
      }
      if (fired) {
        ++failing_runs;
        check();
        EXPECT_EQ(live_blocks(), before) << "leaked blocks";
      }
      if (!fired || ::testing::Test::HasFatalFailure()) break;
    }
  }
  return failing_runs;
}

}  // namespace test
}  // namespace gwconf
