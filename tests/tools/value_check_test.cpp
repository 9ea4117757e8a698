#include "tools/base/value_check.h"

#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "gwconf/client.h"

namespace gwconf::tool {
namespace {

/// The objection, "good" when there is none.
std::string check(const ValueRules& rules, std::string_view value) {
  return objection(rules, value).value_or("good");
}

TEST(ValueCheck, TextsHaveALength) {
  const ValueRules limited{GWCONF_TYPE_STRING, 0, 4, ""};
  EXPECT_EQ(check(limited, ""), "good");
  EXPECT_EQ(check(limited, "four"), "good");
  EXPECT_EQ(check(limited, "fives"), "longer than 4 bytes");
  EXPECT_EQ(check({GWCONF_TYPE_STRING, 0, 0, ""}, std::string(32768, 'x')), "good");
}

TEST(ValueCheck, WholeNumbers) {
  const ValueRules free{GWCONF_TYPE_INT, 0, 0, ""};
  EXPECT_EQ(check(free, "0"), "good");
  EXPECT_EQ(check(free, "-2147483648"), "good");
  EXPECT_EQ(check(free, "2147483647"), "good");
  EXPECT_EQ(check(free, "2147483648"), "beyond 32 bits");
  EXPECT_EQ(check(free, "-2147483649"), "beyond 32 bits");
  EXPECT_EQ(check(free, "99999999999999999999999999"), "beyond 32 bits");
  for (const char* value : {"", "-", "+1", " 1", "1 ", "1.0", "0x1", "one"})
    EXPECT_EQ(check(free, value), "not a whole number") << value;
}

TEST(ValueCheck, UnsignedNumbers) {
  const ValueRules free{GWCONF_TYPE_UNSIGNED_INT, 0, 0, ""};
  EXPECT_EQ(check(free, "0"), "good");
  EXPECT_EQ(check(free, "4294967295"), "good");
  EXPECT_EQ(check(free, "4294967296"), "not between 0 and 4294967295");
  EXPECT_EQ(check(free, "-1"), "not between 0 and 4294967295");
  EXPECT_EQ(check(free, "abc"), "not a whole number");
}

TEST(ValueCheck, Ranges) {
  const ValueRules both{GWCONF_TYPE_INT, -5, 10, ""};
  EXPECT_EQ(check(both, "-5"), "good");
  EXPECT_EQ(check(both, "10"), "good");
  EXPECT_EQ(check(both, "-6"), "less than -5");
  EXPECT_EQ(check(both, "11"), "more than 10");
  const ValueRules lower_only{GWCONF_TYPE_INT, -5, 0, ""};
  EXPECT_EQ(check(lower_only, "-6"), "less than -5");
  EXPECT_EQ(check(lower_only, "2000"), "good");
  const ValueRules from_zero{GWCONF_TYPE_INT, 0, 3, ""};
  EXPECT_EQ(check(from_zero, "-1"), "less than 0");
  EXPECT_EQ(check(from_zero, "4"), "more than 3");
  const ValueRules is_unsigned{GWCONF_TYPE_UNSIGNED_INT, 1, 100, ""};
  EXPECT_EQ(check(is_unsigned, "0"), "less than 1");
  EXPECT_EQ(check(is_unsigned, "101"), "more than 100");
}

TEST(ValueCheck, UpperLimitsThatDidNotFitAreOpen) {
  EXPECT_EQ(check({GWCONF_TYPE_UNSIGNED_INT, 1, INT_MAX, ""}, "4294967295"), "good");
  EXPECT_EQ(check({GWCONF_TYPE_UNSIGNED_INT, 1, -1, ""}, "4294967295"), "good");
  EXPECT_EQ(check({GWCONF_TYPE_UNSIGNED_INT, 1, -1, ""}, "0"), "less than 1");
  EXPECT_EQ(check({GWCONF_TYPE_UNSIGNED_INT, -7, 9, ""}, "0"), "good");
}

TEST(ValueCheck, Booleans) {
  const ValueRules rules{GWCONF_TYPE_BOOLEAN, 0, 1, ""};
  for (const char* value : {"0", "1", "false", "true"})
    EXPECT_EQ(check(rules, value), "good");
  for (const char* value : {"", "2", "yes", "TRUE", "true "})
    EXPECT_EQ(check(rules, value), "not 0, 1, false or true") << value;
}

TEST(ValueCheck, Times) {
  const ValueRules rules{GWCONF_TYPE_DATE_TIME, 0, 0, ""};
  for (const char* value :
       {"0001-01-01T00:00:00Z", "2026-12-31T23:59:59", "2026-01-31T23:59:59.5Z",
        "2026-01-31T23:59:59.123456", "2026-01-31T23:59:59+01:00", "2026-01-31T23:59:59.5-11:30"})
    EXPECT_EQ(check(rules, value), "good") << value;
  for (const char* value :
       {"", "2026-01-31", "2026-13-01T00:00:00Z", "2026-00-01T00:00:00Z", "2026-01-32T00:00:00Z",
        "2026-01-00T00:00:00Z", "2026-01-31T24:00:00Z", "2026-01-31T23:60:00Z",
        "2026-01-31T23:59:60Z", "2026-01-31 23:59:59", "2026-01-31T23:59:59.Z",
        "2026-01-31T23:59:59z", "2026-01-31T23:59:59+1:00", "2026-01-31T23:59:59Zx"})
    EXPECT_EQ(check(rules, value), "not a time such as 2026-01-31T23:59:59Z") << value;
}

TEST(ValueCheck, Base64) {
  const ValueRules rules{GWCONF_TYPE_BASE64, 0, 8, ""};
  for (const char* value : {"", "QUJD", "QUI=", "QQ==", "QUJDREVG", "+/+/"})
    EXPECT_EQ(check(rules, value), "good") << value;
  for (const char* value : {"QUJ", "Q===", "====", "QU=D", "QU D", "QUJ\n"})
    EXPECT_EQ(check(rules, value), "not base64") << value;
  EXPECT_EQ(check(rules, "QUJDREVGR0g="), "longer than 8 bytes");
}

TEST(ValueCheck, Enumerations) {
  const ValueRules rules{GWCONF_TYPE_ENUMERATION, 0, 0, "InBand,RFC2833,SIPInfo"};
  for (const char* value : {"InBand", "RFC2833", "SIPInfo"})
    EXPECT_EQ(check(rules, value), "good");
  for (const char* value : {"", "inband", "InBand,RFC2833", "SIP"})
    EXPECT_EQ(check(rules, value), "not one of InBand,RFC2833,SIPInfo") << value;
  EXPECT_EQ(check({GWCONF_TYPE_ENUMERATION, 0, 0, "None,"}, ""), "good");
}

TEST(ValueCheck, Addresses) {
  const ValueRules ip{GWCONF_TYPE_IP_ADDRESS, 0, 15, ""};
  for (const char* value : {"", "0.0.0.0", "192.168.1.1"})
    EXPECT_EQ(check(ip, value), "good");
  for (const char* value : {"192.168.1", "192.168.1.256", "192.168.1.1 ", "::1", "host"})
    EXPECT_EQ(check(ip, value), "not an address such as 192.168.1.1") << value;
  const ValueRules mask{GWCONF_TYPE_NETMASK, 0, 15, ""};
  for (const char* value : {"", "0.0.0.0", "255.255.255.0", "255.255.255.252", "255.255.255.255"})
    EXPECT_EQ(check(mask, value), "good") << value;
  for (const char* value : {"255.0.255.0", "0.255.0.0", "192.168.1.1", "24"})
    EXPECT_EQ(check(mask, value), "not a netmask such as 255.255.255.0") << value;
  const ValueRules mac{GWCONF_TYPE_MAC_ADDRESS, 0, 17, ""};
  for (const char* value : {"", "00:11:22:33:44:55", "aa:BB:cc:DD:ee:FF"})
    EXPECT_EQ(check(mac, value), "good") << value;
  for (const char* value : {"00:11:22:33:44", "00-11-22-33-44-55", "00:11:22:33:44:5G"})
    EXPECT_EQ(check(mac, value), "not an address such as 00:11:22:33:44:55") << value;
}

TEST(ValueCheck, UnknownTypesTakeAnything) {
  EXPECT_EQ(check({GWCONF_TYPE_UNKNOWN, 3, 3, "a"}, "anything"), "good");
}

TEST(ValueCheck, LimitsBelongToNumbersAndTexts) {
  EXPECT_TRUE(has_limits(GWCONF_TYPE_STRING));
  EXPECT_TRUE(has_limits(GWCONF_TYPE_INT));
  EXPECT_TRUE(has_limits(GWCONF_TYPE_UNSIGNED_INT));
  EXPECT_TRUE(has_limits(GWCONF_TYPE_BASE64));
  EXPECT_FALSE(has_limits(GWCONF_TYPE_BOOLEAN));
  EXPECT_FALSE(has_limits(GWCONF_TYPE_ENUMERATION));
}

}  // namespace
}  // namespace gwconf::tool
