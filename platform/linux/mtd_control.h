#pragma once

// What flash needs beyond reading and writing: the kernel's user-space interface to raw flash.
// Tests link another version, over a plain file that behaves like flash.

#include <cstddef>
#include <cstdint>
#include <sys/stat.h>
#include <sys/types.h>

namespace gwconf {

/// All in bytes.
struct MtdGeometry {
  std::uint32_t size = 0;
  std::uint32_t erase_size = 0;  ///< what is erased at once
  std::uint32_t page_size = 0;   ///< what is programmed at once: 1 on NOR flash
};

/// Whether a file is the character device of a flash partition.
[[nodiscard]] bool is_mtd(const struct stat& file);

/// The geometry of the partition open as `fd`; none when the kernel does not tell it.
[[nodiscard]] bool mtd_geometry(int fd, MtdGeometry* out);

/// Erases the `length` bytes from `offset` on, whole erase blocks: all their bits are then set.
/// False when the kernel cannot, as with a bad or a locked block.
[[nodiscard]] bool mtd_erase(int fd, std::uint32_t offset, std::uint32_t length);

/// pwrite for flash, where programming only clears bits.
[[nodiscard]] ssize_t mtd_program(int fd, const void* bytes, std::size_t length, off_t offset);

}  // namespace gwconf
