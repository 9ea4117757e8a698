#include "core/segment.h"

#include <gtest/gtest.h>

namespace gwconf {
namespace {

TEST(InstanceName, IsTheNumberAndADot) {
  EXPECT_EQ(InstanceName{1}.view(), "1.");
  EXPECT_EQ(InstanceName{2147483647}.view(), "2147483647.");
  EXPECT_EQ(InstanceName{-2147483647 - 1}.view(), "-2147483648.");
}

TEST(CheckIfInstance, AcceptsPositiveNumbersAndTheTemplate) {
  for (const char* name : {"3.", "12.Foo.", "0.", "0.Foo", "+5.", " 5.", "\t 5.", "5", "5x.",
                           "007.", "2147483648.", "99999999999999999999."}) {
    EXPECT_EQ(CM_CORE_CheckIfInstance(name), CM_OK) << name;
    EXPECT_EQ(CM_UTL_IsInstance(name), CM_OK) << name;
  }
}

TEST(CheckIfInstance, RefusesEverythingElse) {
  for (const char* name : {"00.", "-1.", "LANDevice.", "", ".", "0", "0x.", "+0.", "-0.", " 0.",
                           "Foo10.", "- 1.", "-99999999999999999999.", "x5."}) {
    EXPECT_EQ(CM_CORE_CheckIfInstance(name), CM_INVALID) << name;
    EXPECT_EQ(CM_UTL_IsInstance(name), CM_INVALID) << name;
  }
  EXPECT_EQ(CM_CORE_CheckIfInstance({}), CM_INVALID);
  EXPECT_EQ(CM_UTL_IsInstance({}), CM_INVALID);
}

TEST(GetInstanceNumber, ReadsTheNumberAtTheStart) {
  EXPECT_EQ(CM_UTL_GetInstanceNumber("7."), 7);
  EXPECT_EQ(CM_UTL_GetInstanceNumber("12.Foo."), 12);
  EXPECT_EQ(CM_UTL_GetInstanceNumber(" +5."), 5);
  EXPECT_EQ(CM_UTL_GetInstanceNumber("5"), 5);
  EXPECT_EQ(CM_UTL_GetInstanceNumber("-3."), -3);
  EXPECT_EQ(CM_UTL_GetInstanceNumber("-30."), -30);
  EXPECT_EQ(CM_UTL_GetInstanceNumber("2147483648."), 2147483647);
}

TEST(GetInstanceNumber, IsZeroWhereverZeroDotStands) {
  EXPECT_EQ(CM_UTL_GetInstanceNumber("0."), 0);
  EXPECT_EQ(CM_UTL_GetInstanceNumber("00."), 0);
  EXPECT_EQ(CM_UTL_GetInstanceNumber("Foo0."), 0);
  EXPECT_EQ(CM_UTL_GetInstanceNumber("Foo10."), 0);
  EXPECT_EQ(CM_UTL_GetInstanceNumber("A.0.B."), 0);
}

TEST(GetInstanceNumber, IsMinusOneForOtherNames) {
  EXPECT_EQ(CM_UTL_GetInstanceNumber("LANDevice."), -1);
  EXPECT_EQ(CM_UTL_GetInstanceNumber("Foo1."), -1);
  EXPECT_EQ(CM_UTL_GetInstanceNumber("0"), -1);
  EXPECT_EQ(CM_UTL_GetInstanceNumber(""), -1);
  EXPECT_EQ(CM_UTL_GetInstanceNumber({}), -1);
}

}  // namespace
}  // namespace gwconf
