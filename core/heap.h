#pragma once

#include <cstddef>
#include <cstring>
#include <memory>

namespace gwconf {

/// The one seam through which the daemon takes memory. Tests link another version that can fail.
/// Returns uninitialised memory, or none when there is no more; a request for no bytes takes one.
[[nodiscard]] void* heap_allocate(std::size_t bytes) noexcept;

/// Gives back what heap_allocate, or a platform service that hands over its text, returned. None is
/// allowed.
void heap_release(void* memory) noexcept;

struct HeapRelease {
  void operator()(void* memory) const noexcept { heap_release(memory); }
};

/// A block of bytes that frees itself; none when it could not be had.
using HeapBytes = std::unique_ptr<char[], HeapRelease>;

/// A zeroed block, or none.
[[nodiscard]] inline HeapBytes heap_zeroed(std::size_t bytes) noexcept {
  HeapBytes block{static_cast<char*>(heap_allocate(bytes))};
  if (block) std::memset(block.get(), 0, bytes);
  return block;
}

}  // namespace gwconf
