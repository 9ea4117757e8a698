#include "tests/platform_linux/fake_mtd.h"

#include <algorithm>
#include <cerrno>
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

}  // namespace

bool is_mtd(const struct stat& file) {
  return mtd().present && S_ISREG(file.st_mode);
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
  if (length == 0) return 0;
  std::string cells(length, '\0');
  const bool readable = pread(fd, cells.data(), length, offset) == static_cast<ssize_t>(length);
  const auto* source = static_cast<const char*>(bytes);
  std::size_t done = 0;
  for (; readable && done < length && step(); ++done)
    cells[done] = static_cast<char>(cells[done] & source[done]);
  if (done == 0 || pwrite(fd, cells.data(), done, offset) != static_cast<ssize_t>(done)) {
    errno = EIO;
    return -1;
  }
  return static_cast<ssize_t>(done);
}

}  // namespace gwconf
