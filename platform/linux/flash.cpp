#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/heap.h"
#include "core/paths.h"
#include "platform/linux/mtd_control.h"
#include "platform/medium.h"
#include "platform/services.h"

namespace gwconf {
namespace {

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_{fd} {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (fd_ >= 0) close(fd_);
  }
  [[nodiscard]] int get() const { return fd_; }

 private:
  int fd_;
};

/// A path that is missing becomes a plain file only on a machine without raw flash. On a device
/// with flash it would lie in memory, and the settings would be gone with the next start.
int open_partition(const char* path) {
  constexpr int kFlags = O_RDWR | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  const int fd = open(path, kFlags);
  if (fd >= 0 || errno != ENOENT) return fd;
  if (access(paths().proc_mtd, F_OK) == 0 || errno != ENOENT) return -1;
  return open(path, kFlags | O_CREAT | O_EXCL, 0600);
}

using Program = ssize_t (*)(int fd, const void* bytes, std::size_t length, off_t offset);

bool write_all(Program program, int fd, const char* bytes, std::size_t length, off_t offset) {
  while (length > 0) {
    const ssize_t written = program(fd, bytes, length, offset);
    if (written < 0 && errno == EINTR) continue;
    if (written == 0) errno = EIO;
    if (written <= 0) return false;
    bytes += written;
    length -= static_cast<std::size_t>(written);
    offset += written;
  }
  return true;
}

bool flush(int fd) {
  int result;
  do
    result = fsync(fd);
  while (result < 0 && errno == EINTR);
  return result == 0;
}

/// Takes the room that a plain file still lacks. On a full medium the first pages could be written
/// and the rest not, in one partition and then in the other. A file system that cannot tell
/// beforehand leaves it to the write.
bool take_room(int fd, std::uint32_t length) {
  int result;
  do
    result = fallocate(fd, 0, 0, static_cast<off_t>(length));
  while (result < 0 && errno == EINTR);
  return result == 0 || (errno != ENOSPC && errno != EDQUOT && errno != EFBIG);
}

/// Erases no more blocks than `length` bytes need, and nothing before all that can be checked or
/// allocated was: a write that cannot succeed must not cost the old content.
bool write_flash(int fd, const char* bytes, std::uint32_t length) {
  MtdGeometry flash;
  if (!mtd_geometry(fd, &flash)) return false;
  errno = EINVAL;
  if (flash.erase_size == 0 || flash.page_size == 0) return false;
  const auto rounded_up = [length](std::uint32_t unit) {
    return (std::uint64_t{length} + unit - 1) / unit * unit;
  };
  errno = ENOSPC;
  if (std::max(rounded_up(flash.erase_size), rounded_up(flash.page_size)) > flash.size)
    return false;

  // Flash takes whole pages: the last one is filled up with the bits of erased flash.
  const std::uint32_t rest = length % flash.page_size;
  const std::uint32_t whole = length - rest;
  HeapBytes last_page;
  if (rest > 0) {
    last_page.reset(static_cast<char*>(heap_allocate(flash.page_size)));
    if (!last_page) return false;
    std::memset(last_page.get(), 0xFF, flash.page_size);
    std::memcpy(last_page.get(), bytes + whole, rest);
  }

  for (std::uint32_t offset = 0; offset < length; offset += flash.erase_size)
    if (!mtd_erase(fd, offset, flash.erase_size)) return false;
  if (!write_all(mtd_program, fd, bytes, whole, 0)) return false;
  return !last_page ||
         write_all(mtd_program, fd, last_page.get(), flash.page_size, static_cast<off_t>(whole));
}

bool write_partition(const char* path, const char* bytes, std::uint32_t length) {
  const Descriptor partition{open_partition(path)};
  struct stat kind;
  if (partition.get() < 0 || fstat(partition.get(), &kind) != 0) return false;
  // Settings that did not change wear nothing.
  const bool unchanged = begins_with(partition.get(), bytes, length);
  if (is_mtd(kind)) return unchanged || write_flash(partition.get(), bytes, length);
  if (!unchanged) {
    if (S_ISREG(kind.st_mode) && !take_room(partition.get(), length)) return false;
    // What has no offsets, such as a FIFO, refuses the first write.
    if (!write_all(pwrite, partition.get(), bytes, length, 0)) return false;
  }
  // Also what was there before may not be on the medium yet.
  const bool has_medium = S_ISREG(kind.st_mode) || S_ISBLK(kind.st_mode);
  return !has_medium || flush(partition.get());
}

}  // namespace
}  // namespace gwconf

extern "C" int flash_write(const char* path, const void* buffer, std::int32_t length) {
  if (length < 0) return -1;
  const auto* bytes = static_cast<const char*>(buffer);
  return gwconf::write_partition(path, bytes, static_cast<std::uint32_t>(length)) ? 0 : -1;
}
