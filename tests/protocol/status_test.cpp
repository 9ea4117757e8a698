#include "protocol/status.h"

#include <set>
#include <string>

#include <gtest/gtest.h>

namespace gwconf {
namespace {

TEST(Status, HasTheCodesOfTheProtocol) {
  EXPECT_EQ(CM_OK, 0);
  EXPECT_EQ(CM_UNCHANGED, 1);
  EXPECT_EQ(CM_NOT_FOUND, 2);
  EXPECT_EQ(CM_UNUSABLE, 3);
  EXPECT_EQ(CM_NO_MEMORY, 4);
  EXPECT_EQ(CM_EXISTS, 5);
  EXPECT_EQ(CM_REFUSED, 7);
  EXPECT_EQ(CM_STOP, 8);
  EXPECT_EQ(CM_NOT_READY, 9);
  EXPECT_EQ(CM_UNREADABLE, 10);
  EXPECT_EQ(CM_NO_SERVER, 11);
  EXPECT_EQ(CM_TIMED_OUT, 12);
  EXPECT_EQ(CM_CUT_FAILURE, 156);
  EXPECT_EQ(CM_INVALID, -100);
}

TEST(Status, IsCutToEightBits) {
  EXPECT_EQ(cut_to_byte(CM_INVALID), 156);
  EXPECT_EQ(cut_to_byte(CM_INVALID), CM_CUT_FAILURE);
  EXPECT_EQ(cut_to_byte(CM_NO_MEMORY), 4);
  EXPECT_EQ(cut_to_byte(CM_OK), 0);
}

TEST(StatusText, TellsEveryCodeApart) {
  std::set<std::string> texts;
  std::set<std::int32_t> codes;
  for (const StatusText& row : kStatusTexts) {
    EXPECT_TRUE(codes.insert(row.code).second) << row.code;
    EXPECT_TRUE(texts.insert(row.text).second) << row.text;
    EXPECT_STREQ(status_text(row.code), row.text);
  }
}

TEST(StatusText, KnowsNoOtherCode) {
  EXPECT_STREQ(status_text(CM_NOT_FOUND), "no such object or parameter");
  EXPECT_STREQ(status_text(6), "unknown result code");
  EXPECT_STREQ(status_text(-1), "unknown result code");
}

}  // namespace
}  // namespace gwconf
