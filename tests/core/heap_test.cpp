#include "core/heap.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "tests/support/failing_heap.h"

namespace gwconf {
namespace {

using test::FailingHeap;
using test::live_blocks;

TEST(HeapZeroed, GivesZeroedBytesThatFreeThemselves) {
  const std::size_t before = live_blocks();
  {
    const HeapBytes bytes = heap_zeroed(32769);
    ASSERT_TRUE(bytes);
    EXPECT_TRUE(std::all_of(bytes.get(), bytes.get() + 32769, [](char c) { return c == 0; }));
    EXPECT_EQ(live_blocks(), before + 1);
  }
  EXPECT_EQ(live_blocks(), before);
}

TEST(HeapZeroed, IsNoneWithoutMemory) {
  const FailingHeap heap{1, FailingHeap::Kind::kOnce};
  EXPECT_FALSE(heap_zeroed(16));
}

TEST(Heap, TakesARequestForNoBytes) {
  void* block = heap_allocate(0);
  EXPECT_NE(block, nullptr);
  heap_release(block);
  heap_release(nullptr);
}

}  // namespace
}  // namespace gwconf
