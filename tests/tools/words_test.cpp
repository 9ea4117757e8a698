#include "tools/words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace gwconf::tool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

TEST(Words, BlanksPart) {
  EXPECT_THAT(split_words(""), Optional(IsEmpty()));
  EXPECT_THAT(split_words(" \t\r"), Optional(IsEmpty()));
  EXPECT_THAT(split_words("  get\tA.B  C "), Optional(ElementsAre("get", "A.B", "C")));
}

TEST(Words, QuotesKeep) {
  EXPECT_THAT(split_words("set 'A= b' \"c d\""), Optional(ElementsAre("set", "A= b", "c d")));
  EXPECT_THAT(split_words("A='x y'z ''"), Optional(ElementsAre("A=x yz", "")));
  EXPECT_THAT(split_words(R"('a\b' "a\b" "\"\\")"),
              Optional(ElementsAre(R"(a\b)", R"(a\b)", "\"\\")));
}

TEST(Words, ABackslashKeepsTheNext) {
  EXPECT_THAT(split_words(R"(a\ b \' \\ c\)"), Optional(ElementsAre("a b", "'", "\\", "c\\")));
}

TEST(Words, CommentsBeginWords) {
  EXPECT_THAT(split_words("# all"), Optional(IsEmpty()));
  EXPECT_THAT(split_words("get a#b # rest"), Optional(ElementsAre("get", "a#b")));
}

TEST(Words, AnOpenQuoteIsNoLine) {
  EXPECT_EQ(split_words("a 'b"), std::nullopt);
  EXPECT_EQ(split_words("a \"b\\\""), std::nullopt);
}

}  // namespace
}  // namespace gwconf::tool
