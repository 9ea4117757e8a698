#pragma once

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

namespace gwconf {

/// Whether the file or device open as `fd` begins with these bytes. False also when it cannot be
/// read; `errno` tells why then, and is 0 when it merely holds something else.
///
/// The medium is asked, not the memory in front of it: where a flush failed, the kernel may keep
/// what it could not write as if it had been written, and no later flush would write it.
[[nodiscard]] inline bool begins_with(int fd, const char* bytes, std::size_t length) {
  posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
  char chunk[4096];
  for (std::size_t at = 0; at < length;) {
    const ssize_t got =
        pread(fd, chunk, std::min(sizeof chunk, length - at), static_cast<off_t>(at));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    const auto count = static_cast<std::size_t>(got);
    if (count == 0 || std::memcmp(chunk, bytes + at, count) != 0) {
      errno = 0;
      return false;
    }
    at += count;
  }
  return true;
}

}  // namespace gwconf
