#pragma once

#include <cstddef>

namespace gwconf::test {

/// Makes the C heap fail for this executable's own objects: the `nth` allocation of this thread
/// from now on (1 is the next), once. The linker sends their malloc, calloc and realloc here.
void fail_malloc(std::size_t nth);

/// Ends that. Whether an allocation was made to fail.
bool malloc_failed();

}  // namespace gwconf::test
