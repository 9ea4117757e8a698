#include <string>

#include <gtest/gtest.h>

#include "platform/getters.h"
#include "platform/services.h"
#include "tests/platform_linux/linux_machine.h"
#include "tests/support/failing_heap.h"
#include "tests/support/tree_builder.h"

namespace gwconf::test {
namespace {

constexpr const char* kTree = R"(InternetGatewayDevice.
  LANDevice.
    1.
      WLANConfiguration.
        1.
          AutoChannelEnable = 1
          Channel = 6
        2.
          AutoChannelEnable = 0
        3.
          AutoChannelEnable = false
        4.
          AutoChannelEnable
  WANDevice.
    1.
      WANConnectionDevice.
        1.
          WANIPConnection.
            1.
              AddressingType = DHCP
              DNSServers =
              DNSOverrideAllowed = 0
          WANPPPConnection.
            1.
              DNSServers = 192.0.2.77
              DNSOverrideAllowed = 0
        2.
          WANIPConnection.
            1.
              AddressingType = Static
              ExternalIPAddress = 198.51.100.7
              SubnetMask = 255.255.255.0
              DefaultGateway = 198.51.100.1
              DNSServers = 198.51.100.53,198.51.100.54
              DNSOverrideAllowed = 1
)";

/// Two Ethernet connections and a PPP one between them, all down, over a configuration.
class WanConfigurationTest : public LinuxMachine {
 protected:
  void SetUp() override {
    LinuxMachine::SetUp();
    static_cast<void>(CM_platform_fn_init(""));
    has_interface("eth1");
    has_interface("ppp0", {{"type", "512"}});
    has_interface("wan");
    for (const char* name : {"eth1", "ppp0", "wan"})
      has_default_route(name);
  }

  const LiveTree tree_{kTree};
};

std::string get(const char* name, const std::string& path) {
  char out[128] = "old";
  EXPECT_EQ(CM_platform_fn_init(name)->getter(path.c_str(), out, sizeof out), CM_OK);
  return out;
}

std::string ip_path(int device) {
  return "InternetGatewayDevice.WANDevice.1.WANConnectionDevice." + std::to_string(device) +
         ".WANIPConnection.1.Value";
}

TEST_F(WanConfigurationTest, SettingsAreTheTreesStoredValues) {
  EXPECT_STREQ(hcal_wan_get_mode(0), "DHCP");
  EXPECT_STREQ(hcal_wan_get_mode(1), "");
  EXPECT_STREQ(hcal_wan_get_mode(2), "Static");
  EXPECT_STREQ(hcal_wan_get_ip_addr(2), "198.51.100.7");
  EXPECT_STREQ(hcal_wan_get_ip_net_mask(2), "255.255.255.0");
  EXPECT_STREQ(hcal_wan_get_gateway(2), "198.51.100.1");
  EXPECT_STREQ(hcal_wan_get_dns_servers(2), "198.51.100.53,198.51.100.54");
  EXPECT_STREQ(hcal_wan_get_dns_servers(1), "192.0.2.77");
}

TEST_F(WanConfigurationTest, OtherNumbersHaveNoSettings) {
  for (const int number : {3, 4, -1}) {
    EXPECT_STREQ(hcal_wan_get_mode(number), "") << number;
    EXPECT_STREQ(hcal_wan_get_ip_addr(number), "") << number;
    EXPECT_STREQ(hcal_wan_get_dns_override(number), "1") << number;
  }
}

TEST_F(WanConfigurationTest, OverrideIsOffOnlyForServersThatAreThere) {
  EXPECT_STREQ(hcal_wan_get_dns_override(0), "1");
  EXPECT_STREQ(hcal_wan_get_dns_override(1), "0");
  EXPECT_STREQ(hcal_wan_get_dns_override(2), "1");
}

TEST_F(WanConfigurationTest, ADownStaticConnectionAnswersItsSettings) {
  EXPECT_EQ(get("GetWANConnectionStatus", ip_path(2)), "Disconnected");
  EXPECT_EQ(get("GetWANIPExternalIPAddress", ip_path(2)), "198.51.100.7");
  EXPECT_EQ(get("GetWANIPSubnetMask", ip_path(2)), "255.255.255.0");
  EXPECT_EQ(get("GetWANDefaultGateway", ip_path(2)), "198.51.100.1");
  EXPECT_EQ(get("GetWANDNSServers", ip_path(2)), "198.51.100.53,198.51.100.54");
  EXPECT_EQ(get("GetWANIPExternalIPAddress", ip_path(1)), "");
  EXPECT_EQ(get("GetWANDNSServers", ip_path(1)), "");
}

TEST_F(WanConfigurationTest, ALongSettingIsCut) {
  ASSERT_TRUE(
      parameter_at("InternetGatewayDevice.WANDevice.1.WANConnectionDevice.2.WANIPConnection.1."
                   "DNSServers")
          ->value.assign(std::string(2000, '5')));
  EXPECT_EQ(hcal_wan_get_dns_servers(2), std::string(511, '5'));
}

TEST_F(WanConfigurationTest, RadiosChooseTheirChannelAsTheTreeSays) {
  EXPECT_STREQ(cal_wlan_get_auto_channel_e(1), "1");
  for (const int radio : {2, 3, 4, 5, 0, -1})
    EXPECT_STREQ(cal_wlan_get_auto_channel_e(radio), "0") << radio;
}

TEST_F(WanConfigurationTest, WithoutReaderThereAreNoSettings) {
  p_cm_value_get_new = nullptr;
  EXPECT_STREQ(hcal_wan_get_mode(2), "");
  EXPECT_STREQ(cal_wlan_get_auto_channel_e(1), "0");
}

TEST_F(WanConfigurationTest, NoMemoryReadsAsNoSetting) {
  EXPECT_EQ(sweep_allocations([] {}, [] { static_cast<void>(hcal_wan_get_ip_addr(2)); },
                              [] { EXPECT_STREQ(hcal_wan_get_ip_addr(2), "198.51.100.7"); }),
            2U);
  const FailingHeap none{1, FailingHeap::Kind::kFromThenOn};
  EXPECT_STREQ(hcal_wan_get_ip_addr(2), "");
}

}  // namespace
}  // namespace gwconf::test
