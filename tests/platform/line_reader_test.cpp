#include "platform/line_reader.h"

#include <string>
#include <sys/stat.h>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/sandbox.h"

namespace gwconf {
namespace {

class LineReaderTest : public ::testing::Test {
 protected:
  void SetUp() override { test::clear_sandbox(); }

  const std::string path_ = test::sandbox_root() + "/tmp/file";

  template <std::size_t kLineSize = 8>
  std::vector<std::string> lines_of(const std::string& content) {
    test::write_file(path_, content);
    LineReader<kLineSize> reader{path_.c_str()};
    std::vector<std::string> lines;
    while (reader.next())
      lines.emplace_back(reader.line());
    return lines;
  }
};

using Lines = std::vector<std::string>;

TEST_F(LineReaderTest, GivesLinesWithoutTheirBreaks) {
  EXPECT_EQ(lines_of("one\n\ntwo\n"), (Lines{"one", "", "two"}));
}

TEST_F(LineReaderTest, ALastLineNeedsNoBreak) {
  EXPECT_EQ(lines_of("one\ntwo"), (Lines{"one", "two"}));
}

TEST_F(LineReaderTest, AnEmptyFileHasNoLine) {
  EXPECT_EQ(lines_of(""), Lines{});
}

TEST_F(LineReaderTest, TheRestOfALongLineIsPassedOver) {
  EXPECT_EQ(lines_of("1234567\n12345678\n123456789 and more\nend\n"),
            (Lines{"1234567", "1234567", "1234567", "end"}));
}

TEST_F(LineReaderTest, LinesMayLieAcrossTheReadsOfTheFile) {
  const std::string first(1000, 'a');
  const std::string second(700, 'b');
  EXPECT_EQ(lines_of<2048>(first + "\n" + second + "\n"), (Lines{first, second}));
}

TEST_F(LineReaderTest, NulsArePartOfTheLine) {
  EXPECT_EQ(lines_of(std::string{"a\0b\n", 4}), (Lines{std::string{"a\0b", 3}}));
}

TEST_F(LineReaderTest, TheTextIsTerminated) {
  test::write_file(path_, "123456789\nab\n");
  LineReader<8> reader{path_.c_str()};
  ASSERT_TRUE(reader.next());
  EXPECT_STREQ(reader.c_str(), "1234567");
  ASSERT_TRUE(reader.next());
  EXPECT_STREQ(reader.c_str(), "ab");
  EXPECT_FALSE(reader.next());
  EXPECT_STREQ(reader.c_str(), "");
}

TEST_F(LineReaderTest, AFileWithoutEndIsGivenUp) {
  test::write_file(path_, "first\n");
  ASSERT_EQ(truncate(path_.c_str(), off_t{64} * 1024 * 1024 * 1024), 0);
  LineReader<8> reader{path_.c_str()};
  ASSERT_TRUE(reader.next());
  EXPECT_EQ(reader.line(), "first");
  ASSERT_TRUE(reader.next());
  EXPECT_FALSE(reader.next());
}

TEST_F(LineReaderTest, WhatIsNoRegularFileIsNotOpened) {
  EXPECT_FALSE(LineReader<8>{"/tmp"}.is_open());
  EXPECT_FALSE(LineReader<8>{"/dev/zero"}.is_open());
  EXPECT_FALSE(LineReader<8>{path_.c_str()}.is_open());
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  LineReader<8> pipe{path_.c_str()};
  EXPECT_FALSE(pipe.is_open());
  EXPECT_FALSE(pipe.next());
}

}  // namespace
}  // namespace gwconf
