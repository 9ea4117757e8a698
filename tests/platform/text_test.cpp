#include "platform/text.h"

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace gwconf {
namespace {

TEST(Answer, StartsEmpty) {
  char buffer[4] = "abc";
  Answer{buffer, 4};
  EXPECT_STREQ(buffer, "");
}

TEST(Answer, GrowsUpToItsSizeAndStaysTerminated) {
  char buffer[6] = "#####";
  Answer answer{buffer, 5};
  answer.append("ab");
  EXPECT_STREQ(buffer, "ab");
  answer.append(std::string_view{"cdef"}).append("g");
  EXPECT_STREQ(buffer, "abcd");
  EXPECT_EQ(buffer[5], '\0');
}

TEST(Answer, WritesNothingWhereThereIsNoRoom) {
  char buffer[2] = {'x', 'y'};
  Answer{buffer, 0}.append("a").append_number(1);
  Answer{buffer, -5}.append("a");
  EXPECT_EQ(buffer[0], 'x');
  Answer{buffer, 1}.append("a");
  EXPECT_EQ(buffer[0], '\0');
  EXPECT_EQ(buffer[1], 'y');
}

TEST(Answer, TakesNoneForTheEmptyText) {
  char buffer[4];
  Answer{buffer, 4}.append(static_cast<const char*>(nullptr)).append("a");
  EXPECT_STREQ(buffer, "a");
}

TEST(Answer, WritesTheExtremesOfEveryNumber) {
  char buffer[64];
  Answer{buffer, 64}
      .append_number(std::numeric_limits<std::int64_t>::min())
      .append(" ")
      .append_number(std::numeric_limits<std::uint64_t>::max())
      .append(" ")
      .append_number(0);
  EXPECT_STREQ(buffer, "-9223372036854775808 18446744073709551615 0");
}

TEST(NextWord, TakesWordsOffTheFront) {
  std::string_view text = "  one\ttwo \n";
  EXPECT_EQ(next_word(text), "one");
  EXPECT_EQ(next_word(text), "two");
  EXPECT_EQ(next_word(text), "");
  EXPECT_EQ(next_word(text), "");
}

TEST(NumberBehind, ReadsTheNumberBehindTheFirstMark) {
  EXPECT_EQ(number_behind("A.Line.2.Line.3.Status", "Line."), 2);
  EXPECT_EQ(number_behind("A.Line.", "Line."), 0);
  EXPECT_EQ(number_behind("A.Line.x", "Line."), 0);
  EXPECT_EQ(number_behind("A.Line.-7.x", "Line."), -7);
  EXPECT_EQ(number_behind("A.Lin.4.x", "Line."), -1);
  EXPECT_EQ(number_behind("A.Line.99999999999.x", "Line."), 2147483647);
}

}  // namespace
}  // namespace gwconf
