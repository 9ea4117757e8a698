#include "tools/base/path.h"

#include <gtest/gtest.h>

namespace gwconf::tool {
namespace {

TEST(Path, AnObjectEndsWithADot) {
  EXPECT_EQ(as_object("A.B"), "A.B.");
  EXPECT_EQ(as_object("A.B."), "A.B.");
}

TEST(Path, ComesApart) {
  EXPECT_EQ(split("A.B.3.").parent, "A.B.");
  EXPECT_EQ(split("A.B.3.").segment, "3.");
  EXPECT_EQ(split("A.B").segment, "B");
  EXPECT_EQ(split("A.").parent, "");
  EXPECT_EQ(split(".").segment, ".");
  EXPECT_EQ(split("").segment, "");
}

TEST(Path, InstancesHaveNumbers) {
  EXPECT_EQ(instance_number("3."), 3U);
  for (const char* segment : {"", ".", "0.", "03.", "3", "3a.", "-3.", "99999999999."})
    EXPECT_EQ(instance_number(segment), 0U) << segment;
}

}  // namespace
}  // namespace gwconf::tool
