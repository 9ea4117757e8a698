#include "tools/offline/text.h"

#include <array>

#include <gtest/gtest.h>

namespace gwconf::tool {
namespace {

constexpr std::array<std::string_view, 4> kTypes = {"string", "int", "unsignedInt", "ipAddress"};

TEST(Text, QuotesAndBackslashesAreMarked) {
  EXPECT_EQ(in_quotes(""), "\"\"");
  EXPECT_EQ(in_quotes("a \"b\" \\"), "\"a \\\"b\\\" \\\\\"");
  EXPECT_EQ(in_quotes("\x1b\xff"), "\"\\x1b\\xff\"");
}

TEST(Text, LongTextsAreCutBetweenCharacters) {
  EXPECT_EQ(in_quotes("abcd", 4), "\"abcd\"");
  EXPECT_EQ(in_quotes("abcde", 4), "\"abcd\"...");
  EXPECT_EQ(in_quotes("abc\u00e4e", 4), "\"abc\"...");
}

TEST(Text, StoredTextsAreEscaped) {
  EXPECT_EQ(escaped("a<b>&\"'"), "a&lt;b&gt;&amp;&quot;&apos;");
  EXPECT_EQ(unescaped("a&lt;b&gt;&amp;&quot;&apos;&#228;"), "a<b>&\"'\u00e4");
}

TEST(Text, TheNearestNameIsSuggested) {
  EXPECT_EQ(did_you_mean("sting", kTypes), " (did you mean string?)");
  EXPECT_EQ(did_you_mean("INT", kTypes), " (did you mean int?)");
  EXPECT_EQ(did_you_mean("itn", kTypes), " (did you mean int?)");
}

TEST(Text, AbbreviationsAreUnderstood) {
  EXPECT_EQ(did_you_mean("ipAddr", kTypes), " (did you mean ipAddress?)");
}

TEST(Text, FarNamesAreNotSuggested) {
  EXPECT_EQ(did_you_mean("", kTypes), "");
  EXPECT_EQ(did_you_mean("boolean", kTypes), "");
  EXPECT_EQ(did_you_mean("ipAd", kTypes), "");
  EXPECT_EQ(did_you_mean(std::string(101, 'x'), kTypes), "");
}

TEST(Text, CountsHaveTheirPlural) {
  EXPECT_EQ(counted(0, "row"), "0 rows");
  EXPECT_EQ(counted(1, "row"), "1 row");
}

TEST(Text, PlacesCountLinesAndCharacters) {
  const Lines lines{
      "a\n\u00e4\xff"
      "b\r\n"};
  EXPECT_EQ(lines.position(0).line, 1U);
  EXPECT_EQ(lines.position(0).column, 1U);
  EXPECT_EQ(lines.position(5).line, 2U);
  EXPECT_EQ(lines.position(5).column, 3U);
  EXPECT_EQ(lines.line_at(5),
            "\u00e4\xff"
            "b");
  EXPECT_EQ(lines.start_of(5), 2U);
}

}  // namespace
}  // namespace gwconf::tool
