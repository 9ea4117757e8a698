#include <cstring>
#include <string>
#include <sys/klog.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/getters.h"
#include "platform/services.h"
#include "tests/platform_linux/linux_machine.h"
#include "tests/support/sandbox.h"

namespace gwconf::test {
namespace {

class SystemLogTest : public LinuxMachine {
 protected:
  static std::string newest(int size) {
    std::string text(static_cast<std::size_t>(size) + 1, '~');
    const int length = log_get_content(text.data(), size, size, 0, 0);
    EXPECT_EQ(text.back(), '~');
    if (length < 0) return "result " + std::to_string(length);
    EXPECT_TRUE(length == size || text[static_cast<std::size_t>(length)] == '\0');
    return text.substr(0, static_cast<std::size_t>(length));
  }
};

TEST_F(SystemLogTest, IsTheWholeFileWhereItFits) {
  has_file("/var/log/messages", "one\ntwo\n");
  EXPECT_EQ(newest(100), "one\ntwo\n");
  EXPECT_EQ(newest(8), "one\ntwo\n");
}

TEST_F(SystemLogTest, IsTheNewestWholeLinesOtherwise) {
  has_file("/var/log/messages", "line 1\nline 2\nline 3\n");
  EXPECT_EQ(newest(20), "line 2\nline 3\n");
  EXPECT_EQ(newest(9), "line 3\n");
}

TEST_F(SystemLogTest, IsTheEndOfALineThatDoesNotFit) {
  has_file("/var/log/messages", "0123456789\n");
  EXPECT_EQ(newest(4), "789\n");
  has_file("/var/log/messages", "0123456789");
  EXPECT_EQ(newest(4), "6789");
}

TEST_F(SystemLogTest, TheSmallerOfSizeAndLimitCounts) {
  char text[32] = {};
  has_file("/var/log/messages", "a\nb\nc\n");
  EXPECT_EQ(log_get_content(text, 31, 4, 0, 0), 2);
  EXPECT_STREQ(text, "c\n");
  EXPECT_EQ(log_get_content(text, 4, 31, 0, 0), 2);
  EXPECT_EQ(log_get_content(text, 0, 31, 0, 0), 0);
  EXPECT_EQ(log_get_content(text, 31, -1, 0, 0), 0);
}

TEST_F(SystemLogTest, NulsInTheFileDoNotEndIt) {
  has_file("/var/log/messages", std::string_view{"a\0\0b\n", 5});
  EXPECT_EQ(newest(100), "a  b\n");
}

TEST_F(SystemLogTest, TheSecondNameIsReadWithoutTheFirst) {
  has_file("/var/log/syslog", "from syslog\n");
  EXPECT_EQ(newest(100), "from syslog\n");
  has_file("/var/log/messages", "");
  EXPECT_EQ(newest(100), "from syslog\n");
  has_file("/var/log/messages", "from messages\n");
  EXPECT_EQ(newest(100), "from messages\n");
}

TEST_F(SystemLogTest, APipeInTheFilesPlaceDoesNotBlock) {
  has_file("/var/log/syslog", "from syslog\n");
  ASSERT_EQ(mkfifo((sandbox_root() + "/var/log/messages").c_str(), 0600), 0);
  EXPECT_EQ(newest(100), "from syslog\n");
}

TEST_F(SystemLogTest, AHugeFileIsReadAtItsEndOnly) {
  const std::string path = sandbox_root() + "/var/log/messages";
  has_file("/var/log/messages", "");
  ASSERT_EQ(truncate(path.c_str(), off_t{8} * 1024 * 1024 * 1024), 0);
  FILE* file = std::fopen(path.c_str(), "a");
  std::fputs("\nthe end\n", file);
  std::fclose(file);
  EXPECT_EQ(newest(20), "the end\n");
}

TEST_F(SystemLogTest, WithoutFilesItIsTheKernelsRingBuffer) {
  constexpr int kReadAll = 3;
  char expected[4097] = {};
  char got[4097] = {};
  // The buffer may grow between two readings of it.
  for (int attempt = 0; attempt < 5; ++attempt) {
    const int length = klogctl(kReadAll, expected, 4096);
    const int answered = log_get_content(got, 4096, 4096, 0, 0);
    if (answered == length && std::memcmp(expected, got, sizeof got) == 0) break;
  }
  EXPECT_STREQ(got, expected);
}

TEST_F(SystemLogTest, ServesTheGetter) {
  char out[12];
  has_file("/var/log/messages", "line 1\nline 2\n");
  EXPECT_EQ(CM_platform_fn_init("GetSystemLog")->getter("A.B", out, sizeof out), CM_OK);
  EXPECT_STREQ(out, "line 2\n");
}

TEST_F(SystemLogTest, TheManagementClientHasNoLogHere) {
  char out[12] = "old";
  EXPECT_EQ(CM_platform_fn_init("GetCWMPLog")->getter("A.B", out, sizeof out), CM_OK);
  EXPECT_STREQ(out, "");
  EXPECT_EQ(log_get_cwmp_debug_info(out, 0), 0);
}

}  // namespace
}  // namespace gwconf::test
