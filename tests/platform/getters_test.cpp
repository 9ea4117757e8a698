#include "platform/getters.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services.h"
#include "tests/platform/getter_fixture.h"
#include "tests/support/failing_heap.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using test::LiveTree;

/// "<none>" for none; frees the text as the platform does.
std::string taken(char* text) {
  if (!text) return "<none>";
  std::string copy{text};
  heap_release(text);
  return copy;
}

char* other_value_reader(const char*) {
  return nullptr;
}
char* other_instance_reader(const char*) {
  return nullptr;
}

class RegistryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    p_cm_value_get_new = nullptr;
    p_cm_instance_get_new = nullptr;
  }
};

TEST(GetterTable, HoldsThe75GettersInTheirOrder) {
  const std::vector<std::string> expected = {
      "GetELANStats",
      "GetSN",
      "GetFWVersion",
      "GetHWVersion",
      "GetManufacturer",
      "GetManufacturerUrl",
      "GetManufacturerOUI",
      "GetProductClass",
      "GetModelName",
      "GetModelNumber",
      "GetModelUrl",
      "GetDeviceName",
      "GetSysUpTime",
      "GetSystemLog",
      "GetCWMPLog",
      "get_ntp_time",
      "GetEthMacAddr",
      "GetELANStatus",
      "GetELANPacketsSent",
      "GetELANPacketsReceived",
      "GetELANErrorsReceived",
      "GetELANDiscardPacketsSent",
      "GetELANDiscardPacketsReceived",
      "COM_GetWANPhysicalLinkStatus",
      "COM_GetWANTotalBytesSent",
      "COM_GetWANTotalBytesReceived",
      "COM_GetWANTotalPacketsSent",
      "COM_GetWANTotalPacketsReceived",
      "GetWANBytesSent",
      "GetWANBytesReceived",
      "GetWANPacketsSent",
      "GetWANPacketsReceived",
      "GetWANEthernetErrorsSent",
      "GetWANEthernetErrorsReceived",
      "GetWANEthernetUnicastPacketsSent",
      "GetWANEthernetUnicastPacketsReceived",
      "GetWANEthernetBroadcastPacketsSent",
      "GetWANEthernetBroadcastPacketsReceived",
      "GetWANEthernetMulticastPacketsSent",
      "GetWANEthernetMulticastPacketsReceived",
      "GetWLANErrorsSent",
      "GetWLANErrorsReceived",
      "GetWLANUnicastPacketsSent",
      "GetWLANUnicastPacketsReceived",
      "GetWLANDiscardPacketsSent",
      "GetWLANDiscardPacketsReceived",
      "GetWLANMulticastPacketsSent",
      "GetWLANMulticastPacketsReceived",
      "GetWLANBroadcastPacketsSent",
      "GetWLANBroadcastPacketsReceived",
      "GetWLANChannel",
      "GetDescription",
      "GetWANConnectionStatus",
      "GetWANUpTime",
      "GetWANIPExternalIPAddress",
      "GetWANIPSubnetMask",
      "GetWANDefaultGateway",
      "GetWANDNSServers",
      "GetWANMACAddress",
      "GetPPPExternalIPAddress",
      "GetPPPRemoteIPAddress",
      "GetPPPCurrentMRUSize",
      "GetWANPPPReset",
      "GetWANPPPoESessionID",
      "GetVoiceLineStatus",
      "GetVoiceLineCallState",
      "GetIPPingDiagSuccessCount",
      "GetIPPingDiagFailureCount",
      "GetIPPingDiagAvgResponseTime",
      "GetIPPingDiagMinResponseTime",
      "GetIPPingDiagMaxResponseTime",
      "GetTotalRAM",
      "GetFreeRAM",
      "GetCPUUtilization",
      "GetWANLeaseTime",
  };
  std::vector<std::string> names;
  for (const GetterRow* row = platform_fn_tab.data(); row->name; ++row)
    names.push_back(row->name);
  EXPECT_EQ(names, expected);
  EXPECT_EQ(platform_fn_tab[75].name, nullptr);
  EXPECT_EQ(platform_fn_tab[75].getter, nullptr);
  for (std::size_t row = 0; row < kGetterCount; ++row)
    EXPECT_NE(platform_fn_tab[row].getter, nullptr) << platform_fn_tab[row].name;
}

TEST_F(RegistryTest, FindsEveryRowByItsName) {
  for (std::size_t row = 0; row < kGetterCount; ++row)
    EXPECT_EQ(CM_platform_fn_init(platform_fn_tab[row].name), &platform_fn_tab[row]) << row;
}

TEST_F(RegistryTest, NamesMatchExactly) {
  EXPECT_EQ(CM_platform_fn_init("getsysuptime"), nullptr);
  EXPECT_EQ(CM_platform_fn_init("GetSysUpTime "), nullptr);
  EXPECT_EQ(CM_platform_fn_init("GetSysUp"), nullptr);
  EXPECT_EQ(CM_platform_fn_init("GetSysUpTimeX"), nullptr);
}

TEST_F(RegistryTest, AnEmptyNameBindsNothingButInstallsTheHooks) {
  EXPECT_EQ(CM_platform_fn_init(""), nullptr);
  EXPECT_EQ(p_cm_value_get_new, &cm_get_value_core);
  EXPECT_EQ(p_cm_instance_get_new, &cm_get_instance_core);
}

TEST_F(RegistryTest, NoNameBindsNothingButInstallsTheHooks) {
  EXPECT_EQ(CM_platform_fn_init(nullptr), nullptr);
  EXPECT_EQ(p_cm_value_get_new, &cm_get_value_core);
  EXPECT_EQ(p_cm_instance_get_new, &cm_get_instance_core);
}

TEST_F(RegistryTest, AnUnknownNameBindsNothing) {
  EXPECT_EQ(CM_platform_fn_init("GetNothing"), nullptr);
}

TEST_F(RegistryTest, EachHookIsInstalledOnlyWhereNobodyElseWas) {
  p_cm_value_get_new = other_value_reader;
  static_cast<void>(CM_platform_fn_init("GetSN"));
  EXPECT_EQ(p_cm_value_get_new, &other_value_reader);
  EXPECT_EQ(p_cm_instance_get_new, &cm_get_instance_core);

  p_cm_value_get_new = nullptr;
  p_cm_instance_get_new = other_instance_reader;
  static_cast<void>(CM_platform_fn_init("GetSN"));
  EXPECT_EQ(p_cm_value_get_new, &cm_get_value_core);
  EXPECT_EQ(p_cm_instance_get_new, &other_instance_reader);
}

constexpr const char* kTree = R"(InternetGatewayDevice.
  Name = gateway
  Empty =
  None
  Host.
    0.
    1.
    2.
    12.
  Odd.
    01.
    2.
  Bare.
  Off. [2]
    Name = hidden
)";

TEST(ValueHook, CopiesTheStoredValue) {
  const LiveTree tree{kTree};
  char* value = cm_get_value_core("InternetGatewayDevice.Name");
  ASSERT_STREQ(value, "gateway");
  EXPECT_NE(value, test::parameter_at("InternetGatewayDevice.Name")->value.get());
  heap_release(value);
  EXPECT_EQ(taken(cm_get_value_core("InternetGatewayDevice.Empty")), "");
  EXPECT_EQ(taken(cm_get_value_core("InternetGatewayDevice.Off.Name")), "hidden");
}

TEST(ValueHook, HasNoneWithoutParameterOrValue) {
  const LiveTree tree{kTree};
  EXPECT_EQ(cm_get_value_core("InternetGatewayDevice.None"), nullptr);
  EXPECT_EQ(cm_get_value_core("InternetGatewayDevice.Missing"), nullptr);
  EXPECT_EQ(cm_get_value_core("InternetGatewayDevice."), nullptr);
  EXPECT_EQ(cm_get_value_core(""), nullptr);
  EXPECT_EQ(cm_get_value_core(nullptr), nullptr);
}

TEST(ValueHook, CallsNoGetter) {
  const LiveTree tree{kTree};
  test::parameter_at("InternetGatewayDevice.Name")->getter = CM_platform_fn_init("GetSysUpTime");
  test::services() = {};
  EXPECT_EQ(taken(cm_get_value_core("InternetGatewayDevice.Name")), "gateway");
  EXPECT_THAT(test::services().calls, ::testing::IsEmpty());
}

TEST(InstanceHook, ListsInstancesEachWithItsComma) {
  const LiveTree tree{kTree};
  EXPECT_EQ(taken(cm_get_instance_core("InternetGatewayDevice.Host.")), "1,2,12,");
}

TEST(InstanceHook, IsEmptyForAnEmptyOrMissingTable) {
  const LiveTree tree{kTree};
  EXPECT_EQ(taken(cm_get_instance_core("InternetGatewayDevice.Bare.")), "");
  EXPECT_EQ(taken(cm_get_instance_core("InternetGatewayDevice.Missing.")), "");
}

TEST(InstanceHook, DropsAnEntryThatStartsWithZero) {
  const LiveTree tree{kTree};
  EXPECT_EQ(taken(cm_get_instance_core("InternetGatewayDevice.Odd.")), ",2,");
}

TEST(InstanceHook, HasNoneWhenTheListFails) {
  const LiveTree tree{kTree};
  EXPECT_EQ(cm_get_instance_core("Missing.Host."), nullptr);
  EXPECT_EQ(cm_get_instance_core("Host"), nullptr);
  EXPECT_EQ(cm_get_instance_core(nullptr), nullptr);
  EXPECT_EQ(cm_get_instance_core(std::string(40000, 'x').c_str()), nullptr);
}

TEST(InstanceHook, EndsWithTheLastEntryWithin511Characters) {
  std::string outline = "InternetGatewayDevice.\n  Host.\n";
  std::string expected;
  for (int number = 1; number <= 300; ++number) {
    outline += "    " + std::to_string(number) + ".\n";
    const std::string entry = std::to_string(number) + ",";
    if (number <= 155) expected += entry;
  }
  // 9 entries of 2 characters, 90 of 3, and 56 of 4 are 512 characters, one too many.
  expected.resize(expected.size() - 4);
  const LiveTree tree{outline};
  EXPECT_EQ(expected.size(), 508U);
  EXPECT_EQ(taken(cm_get_instance_core("InternetGatewayDevice.Host.")), expected);
}

TEST(InstanceHook, WithoutTemplateEntry) {
  EXPECT_EQ(without_template("0,1,2"), "1,2");
  EXPECT_EQ(without_template("0"), "");
  EXPECT_EQ(without_template("0,"), "");
  EXPECT_EQ(without_template("0,1"), "1");
  EXPECT_EQ(without_template("1,2,"), "1,2,");
  EXPECT_EQ(without_template("1,"), "1,");
  EXPECT_EQ(without_template("1"), "1");
  EXPECT_EQ(without_template(""), "");
}

TEST(HookMemory, NoMemoryGivesNone) {
  const LiveTree tree{kTree};
  std::string value;
  std::string list;
  const std::size_t runs =
      test::sweep_allocations([] {},
                              [&] {
                                value = taken(cm_get_value_core("InternetGatewayDevice.Name"));
                                list = taken(cm_get_instance_core("InternetGatewayDevice.Host."));
                              },
                              [&] {
                                EXPECT_TRUE(value == "<none>" || list == "<none>");
                                EXPECT_TRUE(value == "<none>" || value == "gateway");
                                EXPECT_TRUE(list == "<none>" || list == "1,2,12,");
                              });
  EXPECT_EQ(runs, 4U);
  EXPECT_EQ(value, "gateway");
  EXPECT_EQ(list, "1,2,12,");
}

}  // namespace
}  // namespace gwconf
