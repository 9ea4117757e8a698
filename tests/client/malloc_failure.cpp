#include "tests/client/malloc_failure.h"

#include <cerrno>

namespace {

thread_local std::size_t left = 0;
thread_local bool fired = false;

bool fails() {
  if (left == 0 || --left > 0) return false;
  fired = true;
  errno = ENOMEM;
  return true;
}

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
extern "C" {
void* __real_malloc(std::size_t bytes);
void* __real_calloc(std::size_t count, std::size_t bytes);
void* __real_realloc(void* block, std::size_t bytes);

void* __wrap_malloc(std::size_t bytes) {
  return fails() ? nullptr : __real_malloc(bytes);
}
void* __wrap_calloc(std::size_t count, std::size_t bytes) {
  return fails() ? nullptr : __real_calloc(count, bytes);
}
void* __wrap_realloc(void* block, std::size_t bytes) {
  return fails() ? nullptr : __real_realloc(block, bytes);
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace gwconf::test {

void fail_malloc(std::size_t nth) {
  left = nth;
  fired = false;
}

bool malloc_failed() {
  left = 0;
  return fired;
}

}  // namespace gwconf::test
