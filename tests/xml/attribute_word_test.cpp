#include "xml/attribute_word.h"

#include <gtest/gtest.h>

namespace gwconf {
namespace {

TEST(AttributeWord, TrueIsOneOrTrueInEitherCase) {
  for (const char* text : {"1", "true", "TRUE", "True", "tRuE"})
    EXPECT_TRUE(is_true(text)) << text;
}

TEST(AttributeWord, NothingElseIsTrue) {
  for (const char* text :
       {"", "0", "2", "11", "01", " 1", "1 ", "tru", "truer", " true", "true ", "yes", "false"})
    EXPECT_FALSE(is_true(text)) << "[" << text << "]";
}

TEST(AttributeWord, TrueIsReadWithinTheView) {
  EXPECT_TRUE(is_true({"1234", 1}));
  EXPECT_TRUE(is_true({"truely", 4}));
  EXPECT_FALSE(is_true({"true", 3}));
}

struct Row {
  const char* name;
  const char* value;
  std::uint16_t before;
  std::uint16_t after;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name << "=\"" << row.value << "\" on " << row.before;
}

class AccessAttribute : public testing::TestWithParam<Row> {};

TEST_P(AccessAttribute, SetsItsBits) {
  std::uint16_t word = GetParam().before;
  apply_access_attribute(GetParam().name, GetParam().value, &word);
  EXPECT_EQ(word, GetParam().after);
}

INSTANTIATE_TEST_SUITE_P(Writable, AccessAttribute,
                         testing::Values(Row{"writable", "1", 0, 1}, Row{"writable", "true", 0, 1},
                                         Row{"writable", "TRUE", 0, 1}, Row{"writable", "0", 0, 0},
                                         Row{"writable", "", 0, 0}, Row{"writable", "false", 0, 0},
                                         Row{"writable", "2", 0, 0}, Row{"writable", "0", 1, 1},
                                         Row{"writable", "1", 0xFFFE, 0xFFFF}));

INSTANTIATE_TEST_SUITE_P(
    Notification, AccessAttribute,
    testing::Values(Row{"notification", "2", 0, 128}, Row{"notification", "1", 0, 64},
                    Row{"notification", "0", 0, 32}, Row{"notification", "", 0, 32},
                    Row{"notification", "3", 0, 32}, Row{"notification", "22", 0, 32},
                    Row{"notification", "active", 0, 32}, Row{"notification", "true", 0, 32},
                    Row{"notification", "2", 9, 137}));

INSTANTIATE_TEST_SUITE_P(AnyOther, AccessAttribute,
                         testing::Values(Row{"Writable", "1", 0, 0}, Row{"writabl", "1", 0, 0},
                                         Row{"Notification", "2", 0, 0}, Row{"Disabled", "1", 0, 0},
                                         Row{"Platform", "1", 0, 0}, Row{"sname", "1", 0, 0},
                                         Row{"type", "1", 0, 0}, Row{"", "1", 5, 5}));

TEST(AttributeWord, NotificationTextPutsActiveBeforePassive) {
  EXPECT_EQ(notification_text(0), nullptr);
  EXPECT_EQ(notification_text(32), nullptr);
  EXPECT_EQ(notification_text(0xFF3F), nullptr);
  EXPECT_STREQ(notification_text(64), "1");
  EXPECT_STREQ(notification_text(128), "2");
  EXPECT_STREQ(notification_text(192), "2");
}

}  // namespace
}  // namespace gwconf
