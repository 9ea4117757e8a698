#include "tools/base/words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace gwconf::tool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

TEST(Words, BlanksAroundATextGo) {
  EXPECT_EQ(trimmed(" \t a b\r"), "a b");
  EXPECT_EQ(trimmed(" \t\r"), "");
  EXPECT_EQ(trimmed(""), "");
}

TEST(Words, TheFirstOneIsTaken) {
  std::string_view text = " add  A.T.\t3 ";
  EXPECT_EQ(take_word(&text), "add");
  EXPECT_EQ(text, "A.T.\t3");
  EXPECT_EQ(take_word(&text), "A.T.");
  EXPECT_EQ(take_word(&text), "3");
  EXPECT_EQ(take_word(&text), "");
  EXPECT_EQ(text, "");
}

TEST(Words, OnlyAsciiLettersBecomeSmall) {
  EXPECT_EQ(lower("NTPServer1 \xc3\x84"), "ntpserver1 \xc3\x84");
}

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

TEST(Words, TheLastOneEndsTheLine) {
  EXPECT_EQ(last_word("get a.b"), "a.b");
  EXPECT_EQ(last_word("get\ta\\ b"), "a\\ b");
  EXPECT_EQ(last_word("a\\\\ b"), "b");
  EXPECT_EQ(last_word("get "), "");
  EXPECT_EQ(last_word("a\\"), "a\\");
  EXPECT_EQ(last_word(""), "");
}

TEST(Words, OneWordIsReadBackAsOne) {
  for (const std::string text : {"plain", "two words", "#", "a'b\"c\\d\te"})
    EXPECT_THAT(split_words(as_word(text)), Optional(ElementsAre(text)));
  EXPECT_EQ(as_word("Not configured"), "Not\\ configured");
}

}  // namespace
}  // namespace gwconf::tool
