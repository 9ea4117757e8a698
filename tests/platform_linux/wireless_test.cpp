#include "platform/linux/wireless.h"

#include <string>

#include <gtest/gtest.h>

#include "platform/getters.h"
#include "platform/services.h"
#include "tests/platform_linux/linux_machine.h"

namespace gwconf::test {
namespace {

class WirelessTest : public LinuxMachine {
 protected:
  void has_two_radios() {
    has_interface("wlan1", {{"phy80211", ""}, {"statistics/tx_errors", "21"}});
    has_interface("wlan0", {{"wireless", ""},
                            {"statistics/tx_errors", "11"},
                            {"statistics/rx_errors", "12"},
                            {"statistics/tx_dropped", "13"},
                            {"statistics/rx_dropped", "14"},
                            {"statistics/multicast", "15"},
                            {"statistics/rx_packets", "1000"},
                            {"statistics/tx_packets", "1000"}});
  }

  static std::string get(const char* name, const std::string& number) {
    char out[64] = "old";
    const std::string path =
        "InternetGatewayDevice.LANDevice.1.WLANConfiguration." + number + ".Value";
    EXPECT_EQ(CM_platform_fn_init(name)->getter(path.c_str(), out, sizeof out), CM_OK);
    return out;
  }
};

TEST_F(WirelessTest, ConfigurationsAreTheRadiosInOrder) {
  has_two_radios();
  EXPECT_EQ(get("GetWLANErrorsSent", "1"), "11");
  EXPECT_EQ(get("GetWLANErrorsSent", "2"), "21");
  for (const char* number : {"3", "0", "-1", "x", "-2147483648"})
    EXPECT_EQ(get("GetWLANErrorsSent", number), "0") << number;
  int id = 77;
  EXPECT_EQ(get_wlan_id("InternetGatewayDevice.LANDevice.1.WLANConfiguration.3.X", &id), 0);
  EXPECT_EQ(get_wlan_id("InternetGatewayDevice.LANDevice.1.X", &id), 0);
  EXPECT_EQ(id, 77);
}

TEST_F(WirelessTest, CountersAreWhatTheKernelCounts) {
  has_two_radios();
  EXPECT_EQ(get("GetWLANErrorsReceived", "1"), "12");
  EXPECT_EQ(get("GetWLANDiscardPacketsSent", "1"), "13");
  EXPECT_EQ(get("GetWLANDiscardPacketsReceived", "1"), "14");
  EXPECT_EQ(get("GetWLANMulticastPacketsReceived", "1"), "15");
}

TEST_F(WirelessTest, WhatTheKernelDoesNotCountIsZero) {
  has_two_radios();
  for (const char* name :
       {"GetWLANUnicastPacketsSent", "GetWLANUnicastPacketsReceived", "GetWLANMulticastPacketsSent",
        "GetWLANBroadcastPacketsSent", "GetWLANBroadcastPacketsReceived"})
    EXPECT_EQ(get(name, "1"), "0") << name;
  EXPECT_EQ(val_get_wifi_stats_info(0, 10), 0);
  EXPECT_EQ(val_get_wifi_stats_info(0, -1), 0);
  EXPECT_EQ(val_get_wifi_stats_info(9, 0), 0);
}

TEST_F(WirelessTest, AnInterfaceThatTellsNoChannelHasNone) {
  has_two_radios();  // the kernel knows none of them
  EXPECT_EQ(val_get_wifi_channel("A.WLANConfiguration.1.Channel"), 0);
  EXPECT_EQ(val_get_wifi_channel("A.WLANConfiguration.9.Channel"), 0);
  has_interface("lo", {{"wireless", ""}});
  EXPECT_EQ(val_get_wifi_channel("A.WLANConfiguration.1.Channel"), 0);
}

TEST(WirelessChannel, OfFrequencies) {
  EXPECT_EQ(channel_of_frequency(2412), 1);
  EXPECT_EQ(channel_of_frequency(2437), 6);
  EXPECT_EQ(channel_of_frequency(2472), 13);
  EXPECT_EQ(channel_of_frequency(2484), 14);
  EXPECT_EQ(channel_of_frequency(5180), 36);
  EXPECT_EQ(channel_of_frequency(5885), 177);
  EXPECT_EQ(channel_of_frequency(5955), 1);
  EXPECT_EQ(channel_of_frequency(7115), 233);
  EXPECT_EQ(channel_of_frequency(4920), 184);
  for (const int none : {0, -1, 2411, 2413, 2407, 2483, 5030, 5900, 7120})
    EXPECT_EQ(channel_of_frequency(none), 0) << none;
}

TEST(WirelessChannel, OfWhatADriverTells) {
  EXPECT_EQ(channel_of_driver(11, 0), 11);
  EXPECT_EQ(channel_of_driver(2437, 6), 6);
  EXPECT_EQ(channel_of_driver(243700000, 1), 6);
  EXPECT_EQ(channel_of_driver(5180, 6), 36);
  EXPECT_EQ(channel_of_driver(0, 0), 0);
  EXPECT_EQ(channel_of_driver(-1, 0), 0);
  EXPECT_EQ(channel_of_driver(2147483647, 32767), 0);
  EXPECT_EQ(channel_of_driver(-2147483647, 32767), 0);
}

}  // namespace
}  // namespace gwconf::test
