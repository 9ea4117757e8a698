#include "tools/base/screen.h"

#include <gtest/gtest.h>

namespace gwconf::tool {
namespace {

TEST(Screen, PrintableTextStays) {
  EXPECT_EQ(harmless(""), "");
  EXPECT_EQ(harmless("a b~"), "a b~");
  EXPECT_EQ(harmless("\u00e4\u20ac\U0001f600"), "\u00e4\u20ac\U0001f600");
}

TEST(Screen, BytesThatSteerATerminalBecomeVisible) {
  EXPECT_EQ(harmless("\x1b[2J\n\t\x7f"), "\\x1b[2J\\x0a\\x09\\x7f");
  EXPECT_EQ(harmless("\xc2\x9b"), "\\xc2\\x9b");
}

TEST(Screen, KeptBytesStay) {
  EXPECT_EQ(harmless("a\n\tb\x1b", "\n\t"), "a\n\tb\\x1b");
}

TEST(Screen, BytesThatAreNoTextBecomeVisible) {
  EXPECT_EQ(harmless("\xff"), "\\xff");
  EXPECT_EQ(harmless("\xe2\x82"), "\\xe2\\x82");           // cut short
  EXPECT_EQ(harmless("\xc0\xaf"), "\\xc0\\xaf");           // overlong
  EXPECT_EQ(harmless("\xe0\x80\xaf"), "\\xe0\\x80\\xaf");  // overlong
  EXPECT_EQ(harmless("\xed\xa0\x80"), "\\xed\\xa0\\x80");  // half of a pair
  EXPECT_EQ(harmless("\xf4\x90\x80\x80"), "\\xf4\\x90\\x80\\x80");
  EXPECT_EQ(harmless("\xc3"
                     "a"),
            "\\xc3"
            "a");
}

TEST(Screen, ColoursAreForTerminals) {
  const Screen plain;
  EXPECT_EQ(plain.coloured(Screen::Colour::kObject, "a"), "a");
  const Screen coloured{.is_terminal = true, .has_colour = true};
  EXPECT_EQ(coloured.coloured(Screen::Colour::kValue, "a"), "\033[36ma\033[0m");
}

}  // namespace
}  // namespace gwconf::tool
