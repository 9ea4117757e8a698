#include "storage/file.h"

#include <array>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

#include <gtest/gtest.h>

#include "tests/support/failing_heap.h"
#include "tests/support/sandbox.h"

namespace gwconf {
namespace {

class File : public ::testing::Test {
 protected:
  void SetUp() override {
    test::clear_sandbox();
    before_ = open_descriptors();
  }
  void TearDown() override { EXPECT_EQ(open_descriptors(), before_) << "descriptors left open"; }

  static long open_descriptors() {
    const std::filesystem::directory_iterator all{"/proc/self/fd"};
    return std::distance(begin(all), end(all));
  }

  static unsigned mode_of(const std::string& file) {
    struct stat found {};
    EXPECT_EQ(stat(file.c_str(), &found), 0) << file;
    return found.st_mode & 07777u;
  }

  const std::string path = test::sandbox_root() + "/tmp/file";

 private:
  long before_ = 0;
};

TEST_F(File, SizeIsTakenFromTheEndAndLeavesTheStreamAtItsStart) {
  test::write_file(path, "0123456789");
  const FilePtr file = open_regular(path.c_str(), "r");
  ASSERT_TRUE(file);
  ASSERT_EQ(std::fseek(file.get(), 4, SEEK_SET), 0);
  EXPECT_EQ(CM_UTL_GetFileSize(file.get()), 10);
  EXPECT_EQ(std::ftell(file.get()), 0);
  EXPECT_EQ(std::fgetc(file.get()), '0');
}

TEST_F(File, SizeCountsWhatTheStreamStillHolds) {
  const FilePtr file = open_regular(path.c_str(), "w+");
  ASSERT_TRUE(file);
  std::fputs("abc", file.get());
  EXPECT_EQ(CM_UTL_GetFileSize(file.get()), 3);
}

TEST_F(File, APipeHasNoSize) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  {
    const FilePtr reader{fdopen(ends[0], "r")};
    const FilePtr writer{fdopen(ends[1], "w")};
    EXPECT_EQ(CM_UTL_GetFileSize(reader.get()), -1);
    EXPECT_FALSE(CM_UTL_ReadFile(reader.get()));
  }
}

TEST_F(File, ReadsTheWholeFileFromAnyPosition) {
  std::string content;
  for (int i = 0; i < 30000; ++i)
    content += std::to_string(i) + '\n';
  test::write_file(path, content);
  const FilePtr file = open_regular(path.c_str(), "r");
  ASSERT_TRUE(file);
  std::fseek(file.get(), 1000, SEEK_SET);
  const OwnedText text = CM_UTL_ReadFile(file.get());
  EXPECT_EQ(text.view(), content);
}

TEST_F(File, ReadsBackWhatWasJustWritten) {
  const FilePtr file = open_regular(path.c_str(), "w+");
  ASSERT_TRUE(file);
  std::fputs("<Element name=\"a\">\n", file.get());
  EXPECT_EQ(CM_UTL_ReadFile(file.get()).view(), "<Element name=\"a\">\n");
}

TEST_F(File, AnEmptyFileIsAnEmptyText) {
  test::write_file(path, "");
  const OwnedText text = CM_UTL_ReadFile(open_regular(path.c_str(), "r").get());
  ASSERT_TRUE(text);
  EXPECT_STREQ(text.get(), "");
}

TEST_F(File, BytesBehindANulAreReadToo) {
  test::write_file(path, std::string_view{"ab\0cd", 5});
  const OwnedText text = CM_UTL_ReadFile(open_regular(path.c_str(), "r").get());
  ASSERT_TRUE(text);
  EXPECT_EQ((std::string_view{text.get(), 6}), (std::string_view{"ab\0cd\0", 6}));
}

TEST_F(File, AFolderOpenedAsAStreamIsNoText) {
  const FilePtr folder{std::fopen(test::sandbox_root().c_str(), "r")};
  ASSERT_TRUE(folder);
  EXPECT_FALSE(CM_UTL_ReadFile(folder.get()));
}

TEST_F(File, AnAbsurdlyLargeFileIsRefusedBeforeMemoryIsAsked) {
  test::write_file(path, "");
  ASSERT_EQ(truncate(path.c_str(), 0x7FFFFFFF), 0);
  const FilePtr file = open_regular(path.c_str(), "r");
  ASSERT_TRUE(file);
  ASSERT_EQ(CM_UTL_GetFileSize(file.get()), 0x7FFFFFFF);
  const test::FailingHeap heap{1, test::FailingHeap::Kind::kOnce};
  EXPECT_FALSE(CM_UTL_ReadFile(file.get()));
  EXPECT_FALSE(heap.fired());
}

TEST_F(File, AFileThatCannotBeReadIsNoText) {
  test::write_file(path, "abc");
  EXPECT_FALSE(CM_UTL_ReadFile(open_regular(path.c_str(), O_WRONLY).get()));
}

TEST_F(File, WithoutMemoryThereIsNoText) {
  test::write_file(path, "abc");
  const FilePtr file = open_regular(path.c_str(), "r");
  bool read = true;
  EXPECT_EQ(test::sweep_allocations([&] { read = true; },
                                    [&] { read = static_cast<bool>(CM_UTL_ReadFile(file.get())); },
                                    [&] { EXPECT_FALSE(read); }),
            2u);
  EXPECT_EQ(CM_UTL_ReadFile(file.get()).view(), "abc");
}

TEST_F(File, OpensForReadingOnly) {
  test::write_file(path, "abc");
  const FilePtr file = open_regular(path.c_str(), "r");
  ASSERT_TRUE(file);
  EXPECT_EQ(std::fputc('x', file.get()), EOF);
  EXPECT_EQ(fcntl(fileno(file.get()), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(File, DoesNotMakeAFileToReadOrToPatch) {
  EXPECT_FALSE(open_regular(path.c_str(), "r"));
  EXPECT_FALSE(open_regular(path.c_str(), "r+"));
  EXPECT_FALSE(open_regular(path.c_str(), O_WRONLY));
  EXPECT_FALSE(open_regular("", "w+"));
  EXPECT_FALSE(open_regular((path + "/below/nothing").c_str(), "w+"));
  EXPECT_FALSE(test::file_exists(path));
}

TEST_F(File, RewritingMakesAndEmpties) {
  const mode_t mask = umask(022);
  for (const char* content : {"first and long", "second"}) {
    const FilePtr file = open_regular(path.c_str(), "w+");
    ASSERT_TRUE(file);
    EXPECT_EQ(CM_UTL_GetFileSize(file.get()), 0);
    std::fputs(content, file.get());
    std::rewind(file.get());
    EXPECT_EQ(std::fgetc(file.get()), content[0]);
  }
  umask(mask);
  EXPECT_EQ(test::read_file(path), "second");
  EXPECT_EQ(mode_of(path), 0640u);
}

TEST_F(File, WhatItMakesIsNeverForOthers) {
  for (const auto& [mask, made] : {std::pair{0U, 0660U}, {002U, 0660U}, {077U, 0600U}}) {
    const mode_t before = umask(mask);
    for (const char* mode : {"w+", "a+"}) {
      const FilePtr file = open_regular(path.c_str(), mode);
      EXPECT_EQ(mode_of(path), made) << mask << mode;
      std::filesystem::remove(path);
    }
    umask(before);
  }
  // One that is there stays as it is.
  test::write_file(path, "abc");
  ASSERT_EQ(chmod(path.c_str(), 0664), 0);
  for (const char* mode : {"w+", "a+"})
    const FilePtr file = open_regular(path.c_str(), mode);
  EXPECT_EQ(mode_of(path), 0664u);
}

TEST_F(File, AppendingMakesAndKeeps) {
  for (const char* line : {"one\n", "two\n"}) {
    const FilePtr file = open_regular(path.c_str(), "a+");
    ASSERT_TRUE(file);
    std::fputs(line, file.get());
  }
  EXPECT_EQ(test::read_file(path), "one\ntwo\n");
}

TEST_F(File, WritingAndPatchingModes) {
  std::fputs("0123", open_regular(path.c_str(), "w").get());
  std::fputs("4", open_regular(path.c_str(), "a").get());
  std::fputs("x", open_regular(path.c_str(), "r+").get());
  EXPECT_EQ(test::read_file(path), "x1234");
  std::fputs("y", open_regular(path.c_str(), O_WRONLY).get());
  EXPECT_EQ(test::read_file(path), "y1234");
}

TEST_F(File, FollowsALinkUnlessToldNotTo) {
  test::write_file(path, "abc");
  const std::string link = path + ".link";
  std::filesystem::create_symlink(path, link);
  EXPECT_EQ(CM_UTL_ReadFile(open_regular(link.c_str(), "r").get()).view(), "abc");
  EXPECT_FALSE(open_regular(link.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW, 0600));
  EXPECT_EQ(test::read_file(path), "abc");
}

TEST_F(File, RefusesAFifoWithoutWaiting) {
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  for (const char* mode : {"r", "r+", "w", "w+", "a", "a+"})
    EXPECT_FALSE(open_regular(path.c_str(), mode)) << mode;
}

TEST_F(File, RefusesAFolder) {
  for (const char* mode : {"r", "r+", "w", "w+", "a", "a+"})
    EXPECT_FALSE(open_regular(test::sandbox_root().c_str(), mode)) << mode;
}

TEST_F(File, RefusesASocket) {
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  for (const char* mode : {"r", "w+", "a+"})
    EXPECT_FALSE(open_regular(path.c_str(), mode)) << mode;
  close(listener);
}

TEST_F(File, AllowsADeviceToFlagsAndToReading) {
  const FilePtr file = open_regular("/dev/full", O_RDWR | O_CREAT | O_TRUNC);
  ASSERT_TRUE(file);
  std::fputs("x", file.get());
  EXPECT_EQ(std::fflush(file.get()), EOF);
  EXPECT_EQ(CM_UTL_ReadFile(open_regular("/dev/null", "r").get()).view(), "");
}

TEST_F(File, AModeWritesNoDevice) {
  const std::string link = path + ".link";
  std::filesystem::create_symlink("/dev/null", link);
  for (const char* mode : {"r+", "w", "w+", "a", "a+"})
    for (const char* device : {"/dev/null", "/dev/full", link.c_str()})
      EXPECT_FALSE(open_regular(device, mode)) << mode << device;
}

TEST_F(File, AModeWritesNoneOfTheKernelsSwitches) {
  constexpr const char* kSwitch = "/proc/self/coredump_filter";
  EXPECT_TRUE(open_regular(kSwitch, O_WRONLY));
  for (const char* mode : {"r+", "w", "w+", "a", "a+"})
    EXPECT_FALSE(open_regular(kSwitch, mode)) << mode;
  EXPECT_TRUE(open_regular(kSwitch, "r"));
}

TEST_F(File, ReadingATerminalDoesNotWait) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_GE(terminal, 0);
  ASSERT_EQ(grantpt(terminal), 0);
  ASSERT_EQ(unlockpt(terminal), 0);
  {
    const FilePtr file = open_regular(ptsname(terminal), "r");
    ASSERT_TRUE(file);
    EXPECT_EQ(std::fgetc(file.get()), EOF);
  }
  close(terminal);
}

}  // namespace
}  // namespace gwconf
