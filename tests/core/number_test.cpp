#include "core/number.h"

#include <gtest/gtest.h>

namespace gwconf {
namespace {

TEST(ScanNumber, ReadsBlanksSignAndDigits) {
  const ScannedNumber number = scan_number(" \t\n\v\f\r-12.rest");
  EXPECT_TRUE(number.found);
  EXPECT_EQ(number.value, -12);
  EXPECT_EQ(number.used, 9U);
}

TEST(ScanNumber, StopsAtTheFirstOtherCharacter) {
  EXPECT_EQ(scan_number("7").value, 7);
  EXPECT_EQ(scan_number("7").used, 1U);
  EXPECT_EQ(scan_number("+7x8").value, 7);
  EXPECT_EQ(scan_number("+7x8").used, 2U);
  EXPECT_EQ(scan_number("007.").value, 7);
  EXPECT_EQ(scan_number("0x10").value, 0);
  EXPECT_EQ(scan_number("0x10").used, 1U);
}

TEST(ScanNumber, FindsNothingWithoutDigits) {
  for (const char* text : {"", " ", "-", "+", "- 5", "+-5", "--5", "LANDevice.", ".5"}) {
    const ScannedNumber number = scan_number(text);
    EXPECT_FALSE(number.found) << text;
    EXPECT_EQ(number.value, 0) << text;
    EXPECT_EQ(number.used, 0U) << text;
  }
}

TEST(ScanNumber, SaturatesBeyondThirtyTwoBits) {
  EXPECT_EQ(scan_number("2147483646").value, 2147483646);
  EXPECT_EQ(scan_number("2147483647").value, 2147483647);
  EXPECT_EQ(scan_number("2147483648").value, 2147483647);
  EXPECT_EQ(scan_number("-2147483647").value, -2147483647);
  EXPECT_EQ(scan_number("-2147483648").value, -2147483647 - 1);
  EXPECT_EQ(scan_number("-2147483649").value, -2147483647 - 1);
  EXPECT_EQ(scan_number("4294967297").value, 2147483647);
  EXPECT_EQ(scan_number("18446744073709551617").value, 2147483647);
  EXPECT_EQ(scan_number("-99999999999999999999999999").value, -2147483647 - 1);
  EXPECT_EQ(scan_number("99999999999999999999999999.").used, 26U);
}

TEST(ToNumber, IsZeroWithoutANumber) {
  EXPECT_EQ(to_number("12,15,"), 12);
  EXPECT_EQ(to_number("none"), 0);
  EXPECT_EQ(to_number(""), 0);
}

TEST(DecimalText, WritesTheWholeRange) {
  EXPECT_STREQ(DecimalText{0}.c_str(), "0");
  EXPECT_STREQ(DecimalText{-7}.c_str(), "-7");
  EXPECT_STREQ(DecimalText{2147483647}.c_str(), "2147483647");
  EXPECT_STREQ(DecimalText{-2147483647 - 1}.c_str(), "-2147483648");
  EXPECT_EQ(DecimalText{-2147483647 - 1}.view(), "-2147483648");
}

}  // namespace
}  // namespace gwconf
