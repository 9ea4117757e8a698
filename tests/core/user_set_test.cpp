#include "core/user_set.h"

#include <gtest/gtest.h>

#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using test::build_tree;
using test::live_outline;
using test::LiveTree;

TEST(UpdateUserSetFlag, MarksTheWayDownToUserSetContent) {
  const LiveTree tree{R"(InternetGatewayDevice. [16]
  Summary = x
  DeviceInfo. [16]
    Manufacturer = Vantrel
  LANDevice.
    0.
      Enable = 1
    1. [1]
      Enable = 1
      Hosts.
        Host.
          1. [9]
            Name = printer
          2. [1]
            Name [8] = other
    2. [25]
      Enable [8] = 0
  WANDevice.
    1. [17]
)"};
  int flag = 0;
  EXPECT_EQ(CM_CORE_UpdateUserSetFlag(cml_root, &flag), CM_OK);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(live_outline(), R"(InternetGatewayDevice. [16]
  Summary = x
  DeviceInfo.
    Manufacturer = Vantrel
  LANDevice. [16]
    0.
      Enable = 1
    1. [17]
      Enable = 1
      Hosts. [16]
        Host. [16]
          1. [9]
            Name = printer
          2. [17]
            Name [8] = other
    2. [9]
      Enable [8] = 0
  WANDevice.
    1. [1]
)");
}

TEST(UpdateUserSetFlag, CoversLaterSiblings) {
  const NodePtr tree = build_tree(R"(Root.
  A.
  B.
    P [8]
)");
  int flag = 0;
  EXPECT_EQ(CM_CORE_UpdateUserSetFlag(tree->children, &flag), CM_OK);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(test::outline_of(tree.get()), "Root.\n  A.\n  B. [16]\n    P [8]\n");
}

TEST(UpdateUserSetFlag, LeavesTheFlagWithoutUserSetContent) {
  const NodePtr tree = build_tree("Root. [16]\n  P = x\n  A. [23]\n    Q [7]\n");
  int flag = 0;
  EXPECT_EQ(CM_CORE_UpdateUserSetFlag(tree.get(), &flag), CM_OK);
  EXPECT_EQ(flag, 0);
  EXPECT_EQ(test::outline_of(tree.get()), "Root.\n  P = x\n  A. [7]\n    Q [7]\n");
}

TEST(UpdateUserSetFlag, AUserSetObjectIsNotMarkedItself) {
  const NodePtr tree = build_tree("Root. [8]\n  P [8] = x\n");
  int flag = 0;
  EXPECT_EQ(CM_CORE_UpdateUserSetFlag(tree.get(), &flag), CM_OK);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(tree->attributes, 8);
}

TEST(Filters, KeepUserSetContent) {
  Node node;
  node.attributes = 0xFFE7;
  EXPECT_EQ(filter_node(&node), 1);
  node.attributes = 8;
  EXPECT_EQ(filter_node(&node), 0);
  node.attributes = 16;
  EXPECT_EQ(filter_node(&node), 0);
  node.attributes = 24;
  EXPECT_EQ(filter_node(&node), 0);
  Parameter param;
  param.attributes = 0xFFF7;
  EXPECT_EQ(filter_parameter(&param), 1);
  param.attributes = 8;
  EXPECT_EQ(filter_parameter(&param), 0);
}

}  // namespace
}  // namespace gwconf
