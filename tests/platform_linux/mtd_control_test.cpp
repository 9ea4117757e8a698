#include "platform/linux/mtd_control.h"

#include <cerrno>
#include <cstdarg>
#include <functional>
#include <mtd/mtd-user.h>
#include <sys/ioctl.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/sandbox.h"

namespace {

/// What answers for the kernel.
std::function<int(int fd, unsigned long request, void* argument)> kernel;

}  // namespace

extern "C" int __wrap_ioctl(int fd, unsigned long request, ...) {
  va_list arguments;
  va_start(arguments, request);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  return kernel(fd, request, argument);
}

namespace gwconf {
namespace {

bool counts_as_mtd(mode_t kind, unsigned major_number) {
  struct stat file = {};
  file.st_mode = kind | 0600;
  file.st_rdev = static_cast<decltype(file.st_rdev)>(makedev(major_number, 18));
  return is_mtd(file);
}

TEST(MtdControl, KnowsACharacterDeviceOfFlashByItsMajorNumber) {
  EXPECT_TRUE(counts_as_mtd(S_IFCHR, 90));
  EXPECT_FALSE(counts_as_mtd(S_IFCHR, 91));
  EXPECT_FALSE(counts_as_mtd(S_IFBLK, 90));
  EXPECT_FALSE(counts_as_mtd(S_IFREG, 90));
}

TEST(MtdControl, TellsTheGeometry) {
  kernel = [](int fd, unsigned long request, void* argument) {
    EXPECT_EQ(fd, 5);
    EXPECT_EQ(request, static_cast<unsigned long>(MEMGETINFO));
    auto& found = *static_cast<mtd_info_user*>(argument);
    found.size = 0x80000;
    found.erasesize = 0x10000;
    found.writesize = 0x800;
    return 0;
  };
  MtdGeometry geometry;
  ASSERT_TRUE(mtd_geometry(5, &geometry));
  EXPECT_EQ(geometry.size, 0x80000u);
  EXPECT_EQ(geometry.erase_size, 0x10000u);
  EXPECT_EQ(geometry.page_size, 0x800u);
}

TEST(MtdControl, TellsNoGeometryWhereThereIsNone) {
  kernel = [](int, unsigned long, void*) {
    errno = ENOTTY;
    return -1;
  };
  MtdGeometry geometry{.size = 1, .erase_size = 2, .page_size = 3};
  EXPECT_FALSE(mtd_geometry(5, &geometry));
  EXPECT_EQ(geometry.size, 0u);
  EXPECT_EQ(geometry.erase_size, 0u);
  EXPECT_EQ(geometry.page_size, 0u);
}

TEST(MtdControl, ErasesOneRangeAgainAfterAnInterruption) {
  int calls = 0;
  kernel = [&](int fd, unsigned long request, void* argument) {
    EXPECT_EQ(fd, 5);
    EXPECT_EQ(request, static_cast<unsigned long>(MEMERASE));
    const auto& range = *static_cast<const erase_info_user*>(argument);
    EXPECT_EQ(range.start, 0x20000u);
    EXPECT_EQ(range.length, 0x10000u);
    errno = EINTR;
    return ++calls < 3 ? -1 : 0;
  };
  EXPECT_TRUE(mtd_erase(5, 0x20000, 0x10000));
  EXPECT_EQ(calls, 3);
}

TEST(MtdControl, ReportsABadBlock) {
  kernel = [](int, unsigned long, void*) {
    errno = EIO;
    return -1;
  };
  EXPECT_FALSE(mtd_erase(5, 0, 0x10000));
}

TEST(MtdControl, ProgramsAtAnOffset) {
  const std::string path = test::sandbox_root() + "/flash";
  test::write_file(path, "0123456789");
  std::FILE* file = std::fopen(path.c_str(), "r+");
  ASSERT_TRUE(file);
  EXPECT_EQ(mtd_program(fileno(file), "abc", 3, 4), 3);
  std::fclose(file);
  EXPECT_EQ(test::read_file(path), "0123abc789");
  EXPECT_EQ(mtd_program(-1, "abc", 3, 0), -1);
}

}  // namespace
}  // namespace gwconf
