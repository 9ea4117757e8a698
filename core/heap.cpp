#include "core/heap.h"

#include <cstdlib>

namespace gwconf {

void* heap_allocate(std::size_t bytes) noexcept {
  return std::malloc(bytes == 0 ? 1 : bytes);
}

void heap_release(void* memory) noexcept {
  std::free(memory);
}

}  // namespace gwconf
