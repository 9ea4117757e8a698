#include "platform/linux/mtd_control.h"

#include <cerrno>
#include <mtd/mtd-user.h>
#include <sys/ioctl.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace gwconf {
namespace {

constexpr unsigned kMtdMajor = 90;

template <typename Argument>
bool control(int fd, unsigned long request, Argument* argument) {
  int result;
  do
    result = ioctl(fd, request, argument);
  while (result < 0 && errno == EINTR);
  return result == 0;
}

}  // namespace

bool is_mtd(const struct stat& file) {
  return S_ISCHR(file.st_mode) && major(file.st_rdev) == kMtdMajor;
}

bool mtd_geometry(int fd, MtdGeometry* out) {
  *out = {};
  mtd_info_user found = {};
  if (!control(fd, MEMGETINFO, &found)) return false;
  *out = {.size = found.size, .erase_size = found.erasesize, .page_size = found.writesize};
  return true;
}

bool mtd_erase(int fd, std::uint32_t offset, std::uint32_t length) {
  erase_info_user range = {.start = offset, .length = length};
  return control(fd, MEMERASE, &range);
}

ssize_t mtd_program(int fd, const void* bytes, std::size_t length, off_t offset) {
  return pwrite(fd, bytes, length, offset);
}

}  // namespace gwconf
