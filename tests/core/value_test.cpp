#include "core/value.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

#include "core/path.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using test::live_outline;
using test::LiveTree;
using test::object_at;
using test::parameter_at;
using test::value_at;

constexpr char kOutline[] = R"(InternetGatewayDevice.
  DeviceSummary = summary
  DeviceInfo.
    Manufacturer = Vantrel
    SoftwareVersion
  LANDevice.
    0.
      HostNumberOfEntries = 0
    1. [1]
      HostNumberOfEntries = 2
      LANHostConfigManagement.
        DHCPServerEnable = 1
    2. [2]
      HostNumberOfEntries = 5
      Enable = 1
  12Tail.
    Value = x
)";

class Value : public ::testing::Test {
 protected:
  const LiveTree tree{kOutline};
};

TEST_F(Value, ValueIsReplacedAndMarkedUserSet) {
  EXPECT_EQ(CM_CORE_SetValueByURI("InternetGatewayDevice.DeviceInfo.Manufacturer", "Other"), CM_OK);
  EXPECT_EQ(CM_CORE_SetValueByURI("InternetGatewayDevice.DeviceInfo.SoftwareVersion", ""), CM_OK);
  EXPECT_EQ(live_outline(), R"(InternetGatewayDevice.
  DeviceSummary = summary
  DeviceInfo.
    Manufacturer [8] = Other
    SoftwareVersion [8] =
  LANDevice.
    0.
      HostNumberOfEntries = 0
    1. [1]
      HostNumberOfEntries = 2
      LANHostConfigManagement.
        DHCPServerEnable = 1
    2. [2]
      HostNumberOfEntries = 5
      Enable = 1
  12Tail.
    Value = x
)");
}

TEST_F(Value, CountersAreSetWithoutTheUserSetBit) {
  EXPECT_EQ(CM_CORE_SetValueByURI("InternetGatewayDevice.LANDevice.1.HostNumberOfEntries", "9"),
            CM_OK);
  EXPECT_EQ(value_at("InternetGatewayDevice.LANDevice.1.HostNumberOfEntries"), "9");
  EXPECT_EQ(parameter_at("InternetGatewayDevice.LANDevice.1.HostNumberOfEntries")->attributes, 0);
}

TEST_F(Value, ACounterKeepsAUserSetBitThatItHas) {
  parameter_at("InternetGatewayDevice.LANDevice.1.HostNumberOfEntries")->attributes = 8;
  EXPECT_EQ(CM_CORE_SetValueByURI("InternetGatewayDevice.LANDevice.1.HostNumberOfEntries", "9"),
            CM_OK);
  EXPECT_EQ(parameter_at("InternetGatewayDevice.LANDevice.1.HostNumberOfEntries")->attributes, 8);
}

TEST_F(Value, ValuesThatCannotBeSetChangeNothing) {
  EXPECT_EQ(CM_CORE_SetValueByURI("InternetGatewayDevice.DeviceInfo.Manufacturer", nullptr), CM_OK);
  EXPECT_EQ(CM_CORE_SetValueByURI("no such path", nullptr), CM_OK);
  EXPECT_EQ(CM_CORE_SetValueByURI("InternetGatewayDevice.LANDevice.2.Enable", "0"), CM_OK);
  EXPECT_EQ(CM_CORE_SetValueByURI("InternetGatewayDevice.Nothing", "x"), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_SetValueByURI("InternetGatewayDevice", "x"), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_SetValueByURI("InternetGatewayDevice.DeviceInfo.", "x"), CM_INVALID);
  EXPECT_EQ(live_outline(), kOutline);
}

TEST_F(Value, ADisabledObjectDisablesItsOwnParametersOnly) {
  object_at("InternetGatewayDevice.LANDevice.1.")->attributes = 3;
  constexpr char kEnable[] =
      "InternetGatewayDevice.LANDevice.1.LANHostConfigManagement.DHCPServerEnable";
  EXPECT_EQ(CM_CORE_SetValueByURI(kEnable, "0"), CM_OK);
  EXPECT_EQ(parameter_at(kEnable)->attributes, 8);
  char out[] = "old";
  EXPECT_EQ(CM_CORE_GetValueByURI(kEnable, out), CM_OK);
  EXPECT_STREQ(out, "0");
}

TEST_F(Value, AValueMayBeSetFromItself) {
  const Parameter* param = parameter_at("InternetGatewayDevice.DeviceSummary");
  EXPECT_EQ(CM_CORE_SetValueByURI("InternetGatewayDevice.DeviceSummary", param->value.get() + 3),
            CM_OK);
  EXPECT_EQ(value_at("InternetGatewayDevice.DeviceSummary"), "mary");
}

TEST(SetValueWithoutMemory, KeepsTheOldValue) {
  const auto check = [](Status status, const std::string& after) {
    EXPECT_EQ(status, CM_NO_MEMORY);
    EXPECT_EQ(after, kOutline);
  };
  EXPECT_EQ(test::sweep_operation(
                kOutline,
                [] { return CM_CORE_SetValueByURI("InternetGatewayDevice.DeviceSummary", "new"); },
                check),
            2U);
}

TEST_F(Value, ValueIsReadWithinItsBuffer) {
  std::array<char, 16> out;
  out.fill('#');
  EXPECT_EQ(CM_CORE_GetValueByURI("InternetGatewayDevice.DeviceSummary", out), CM_OK);
  EXPECT_STREQ(out.data(), "summary");
  EXPECT_EQ(CM_CORE_GetValueByURI("InternetGatewayDevice.DeviceSummary", {out.data(), 4}), CM_OK);
  EXPECT_STREQ(out.data(), "sum");
  EXPECT_EQ(CM_CORE_GetValueByURI("InternetGatewayDevice.DeviceSummary", {out.data(), 8}), CM_OK);
  EXPECT_STREQ(out.data(), "summary");
  EXPECT_EQ(CM_CORE_GetValueByURI("InternetGatewayDevice.DeviceSummary", {out.data(), 7}), CM_OK);
  EXPECT_STREQ(out.data(), "summar");
  EXPECT_EQ(CM_CORE_GetValueByURI("InternetGatewayDevice.DeviceSummary", {}), CM_OK);
}

TEST_F(Value, ReadingNoValueLeavesTheBuffer) {
  char out[] = "old";
  EXPECT_EQ(CM_CORE_GetValueByURI("InternetGatewayDevice.DeviceInfo.SoftwareVersion", out), CM_OK);
  EXPECT_STREQ(out, "old");
}

TEST_F(Value, ReadingBelowADisabledObjectGivesTheEmptyText) {
  char out[] = "old";
  EXPECT_EQ(CM_CORE_GetValueByURI("InternetGatewayDevice.LANDevice.2.Enable", out), CM_OK);
  EXPECT_STREQ(out, "");
}

TEST_F(Value, ReadingFailsWithTheLookupsCode) {
  char out[] = "old";
  EXPECT_EQ(CM_CORE_GetValueByURI("InternetGatewayDevice.Nothing", out), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_GetValueByURI("InternetGatewayDevice.", out), CM_INVALID);
  EXPECT_STREQ(out, "old");
}

TEST_F(Value, AnInstanceIsMadeVirtualAndReal) {
  EXPECT_EQ(CM_CORE_SetInstanceRWByURI("InternetGatewayDevice.LANDevice.1.", 0), CM_OK);
  EXPECT_EQ(object_at("InternetGatewayDevice.LANDevice.1.")->attributes, 0);
  EXPECT_EQ(CM_CORE_SetInstanceRWByURI("InternetGatewayDevice.LANDevice.1.", 1), CM_OK);
  EXPECT_EQ(object_at("InternetGatewayDevice.LANDevice.1.")->attributes, 1);
  EXPECT_EQ(CM_CORE_SetInstanceRWByURI("InternetGatewayDevice.LANDevice.0.", 1), CM_OK);
  EXPECT_EQ(object_at("InternetGatewayDevice.LANDevice.0.")->attributes, 1);
  EXPECT_EQ(CM_CORE_SetInstanceRWByURI("InternetGatewayDevice.12Tail.", 1), CM_OK);
  EXPECT_EQ(object_at("InternetGatewayDevice.12Tail.")->attributes, 1);
}

TEST_F(Value, WritableBitsThatCannotBeSetChangeNothing) {
  EXPECT_EQ(CM_CORE_SetInstanceRWByURI("InternetGatewayDevice.LANDevice.1.", 2), CM_OK);
  EXPECT_EQ(CM_CORE_SetInstanceRWByURI("no such path", 2), CM_OK);
  EXPECT_EQ(CM_CORE_SetInstanceRWByURI("no such path", 0xFFFFFFFFU), CM_OK);
  EXPECT_EQ(CM_CORE_SetInstanceRWByURI("InternetGatewayDevice.LANDevice.2.", 1), CM_OK);
  EXPECT_EQ(CM_CORE_SetInstanceRWByURI("InternetGatewayDevice.LANDevice.3.", 1), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_SetInstanceRWByURI("InternetGatewayDevice.LANDevice.", 1), CM_INVALID);
  EXPECT_EQ(CM_CORE_SetInstanceRWByURI("InternetGatewayDevice.DeviceSummary", 1), CM_INVALID);
  EXPECT_EQ(live_outline(), kOutline);
}

}  // namespace
}  // namespace gwconf
