#include "tests/platform_linux/fake_mtd.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace gwconf {
namespace test {

FakeMtd& mtd() {
  static FakeMtd the_flash;
  return the_flash;
}

}  // namespace test

namespace {

using test::mtd;

/// One more step, unless the power is gone.
bool step() {
  if (mtd().steps == 0) return false;
  if (mtd().steps != test::FakeMtd::kForever) --mtd().steps;
  return true;
}

void note(const char* what, std::uint64_t offset, std::size_t length) {
  mtd().calls.push_back(std::string{what} + " " + std::to_string(offset) + "+" +
                        std::to_string(length));
}

/// A partition is open for writing only; its cells are read through a descriptor of our own.
char cell(int fd, off_t at) {
  const std::string path = "/proc/self/fd/" + std::to_string(fd);
  const int reader = open(path.c_str(), O_RDONLY);
  char value = '\xFF';
  if (pread(reader, &value, 1, at) < 0) value = '\0';
  close(reader);
  return value;
}

}  // namespace

bool is_mtd(const struct stat& file) {
  return std::any_of(mtd().partitions.begin(), mtd().partitions.end(), [&](const auto& path) {
    struct stat flash;
    return stat(path.c_str(), &flash) == 0 && flash.st_ino == file.st_ino &&
           flash.st_dev == file.st_dev;
  });
}

bool mtd_geometry(int, MtdGeometry* out) {
  *out = mtd().tells_geometry ? mtd().geometry : MtdGeometry{};
  return mtd().tells_geometry;
}

bool mtd_erase(int fd, std::uint32_t offset, std::uint32_t length) {
  note("erase", offset, length);
  const MtdGeometry& flash = mtd().geometry;
  if (offset % flash.erase_size != 0 || length % flash.erase_size != 0 ||
      offset + length > flash.size || offset == mtd().bad_block || !step())
    return false;
  const std::string erased(length, '\xFF');
  return pwrite(fd, erased.data(), length, offset) == static_cast<ssize_t>(length);
}

ssize_t mtd_program(int fd, const void* bytes, std::size_t length, off_t offset) {
  if (mtd().interruptions > 0) {
    --mtd().interruptions;
    errno = EINTR;
    return -1;
  }
  length = std::min(length, mtd().most_at_once);
  note("program", static_cast<std::uint64_t>(offset), length);
  const MtdGeometry& flash = mtd().geometry;
  if (static_cast<std::uint64_t>(offset) % flash.page_size != 0 || length % flash.page_size != 0) {
    errno = EINVAL;
    return -1;
  }
  const auto* source = static_cast<const char*>(bytes);
  for (std::size_t i = 0; i < length; ++i) {
    const off_t at = offset + static_cast<off_t>(i);
    const char programmed = static_cast<char>(cell(fd, at) & source[i]);
    if (at >= static_cast<off_t>(flash.size) || !step() || pwrite(fd, &programmed, 1, at) != 1) {
      errno = EIO;
      return i > 0 ? static_cast<ssize_t>(i) : -1;
    }
  }
  return static_cast<ssize_t>(length);
}

}  // namespace gwconf
