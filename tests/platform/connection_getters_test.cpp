#include "platform/connection_getters.h"

#include <string>
#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/paths.h"
#include "tests/platform/getter_fixture.h"
#include "tests/support/tree_builder.h"

namespace gwconf::test {
namespace {

using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kWan =
    "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.1.WANIPConnection.1.Value";
const std::string kMapped = std::string{"hcal_wan_uri_map_id("} + kWan + ")";

/// A WAN connection 2 that knows everything.
class WanGetter : public GetterTest {
 protected:
  void SetUp() override {
    GetterTest::SetUp();
    services().result("hcal_wan_uri_map_id", 2);
    services().text("sal_wan_get_con_ip_t", "203.0.113.7");
    services().text("sal_wan_get_con_ipmask_t", "255.255.255.0");
    services().text("sal_wan_get_con_gw_t", "203.0.113.1");
    services().text("sal_wan_get_con_dns1_t", "192.0.2.1");
    services().text("sal_wan_get_con_dns2_t", "192.0.2.2");
    services().text("sal_wan_get_con_uptime_t", "1000");
    services().text("sal_wan_get_con_lease_t", "86400");
    services().text("sal_wan_get_con_ppp_session_t", "4711");
    services().text("hcal_wan_get_ip_addr", "198.51.100.7");
    services().text("hcal_wan_get_ip_net_mask", "255.255.0.0");
    services().text("hcal_wan_get_gateway", "198.51.100.1");
    services().text("hcal_wan_get_dns_override", "1");
    services().text("hcal_wan_get_dns_servers", "198.51.100.53,198.51.100.54");
    services().text("libGetWanMacAddress", "00:aa:bb:cc:dd:ee");
    write_file(paths().proc_uptime, "5000.75 9000.10\n");
    is_up();
    has_mode("DHCP");
  }

  void is_up() { services().text("sal_wan_get_con_state_t", "1"); }
  void is_down() { services().text("sal_wan_get_con_state_t", "0"); }
  void has_mode(const char* mode) { services().text("hcal_wan_get_mode", mode); }
};

// --- Rows that every WAN connection answers alike ---

class OfNoConnection : public WanGetter, public ::testing::WithParamInterface<const char*> {};

TEST_P(OfNoConnection, IsTheEmptyTextAndNothingElseIsAsked) {
  for (const int number : {4, 5, 255, -1}) {
    services().result("hcal_wan_uri_map_id", number);
    services().calls.clear();
    EXPECT_EQ(get(GetParam(), kWan), text("")) << number;
    EXPECT_EQ(services().calls, Calls{kMapped}) << number;
  }
}

TEST_P(OfNoConnection, NumbersZeroToThreeAreConnections) {
  for (const int number : {0, 3}) {
    services().result("hcal_wan_uri_map_id", number);
    services().calls.clear();
    get(GetParam(), kWan);
    ASSERT_GT(services().calls.size(), 1U);
    for (std::size_t call = 1; call < services().calls.size(); ++call)
      EXPECT_THAT(services().calls[call], ::testing::EndsWith("(" + std::to_string(number) + ")"));
  }
}

INSTANTIATE_TEST_SUITE_P(Wan, OfNoConnection,
                         ::testing::Values("GetWANConnectionStatus", "GetWANUpTime",
                                           "GetWANIPExternalIPAddress", "GetWANIPSubnetMask",
                                           "GetWANDefaultGateway", "GetWANDNSServers",
                                           "GetWANMACAddress", "GetPPPExternalIPAddress",
                                           "GetPPPRemoteIPAddress", "GetWANPPPoESessionID",
                                           "GetWANLeaseTime"),
                         [](const auto& name) { return std::string{name.param}; });

// --- Status ---

TEST_F(WanGetter, StatusIsConnectedWhenTheStateBeginsWithOne) {
  for (const char* state : {"1", "1 up", "10"}) {
    services().text("sal_wan_get_con_state_t", state);
    EXPECT_EQ(get("GetWANConnectionStatus", kWan), text("Connected")) << state;
  }
  for (const char* state : {"0", "", " 1", "01", "up"}) {
    services().text("sal_wan_get_con_state_t", state);
    EXPECT_EQ(get("GetWANConnectionStatus", kWan), text("Disconnected")) << state;
  }
  services().text("sal_wan_get_con_state_t", std::nullopt);
  EXPECT_EQ(get("GetWANConnectionStatus", kWan), text("Disconnected"));
}

// --- Addresses ---

struct AddressRow {
  const char* getter;
  const char* live;
  const char* configured;
  const char* live_service;
  const char* configured_service = "";
};

class AddressGetter : public WanGetter, public ::testing::WithParamInterface<AddressRow> {};

TEST_P(AddressGetter, AnUpConnectionHasItsLiveValueWhateverItsMode) {
  EXPECT_EQ(get(GetParam().getter, kWan), text(GetParam().live));
  EXPECT_EQ(services().calls, (Calls{kMapped, "sal_wan_get_con_state_t(2)",
                                     std::string{GetParam().live_service} + "(2)"}));
  has_mode("Static");
  EXPECT_EQ(get(GetParam().getter, kWan), text(GetParam().live));
}

TEST_P(AddressGetter, ADownStaticConnectionHasItsConfiguredValue) {
  is_down();
  has_mode("Static");
  EXPECT_EQ(get(GetParam().getter, kWan), text(GetParam().configured));
  EXPECT_EQ(services().calls, (Calls{kMapped, "sal_wan_get_con_state_t(2)", "hcal_wan_get_mode(2)",
                                     std::string{GetParam().configured_service} + "(2)"}));
}

TEST_P(AddressGetter, ADownDynamicConnectionHasNone) {
  is_down();
  for (const char* mode : {"DHCP", "", "static", "StaticX"}) {
    has_mode(mode);
    EXPECT_EQ(get(GetParam().getter, kWan), text("")) << mode;
  }
  services().text("hcal_wan_get_mode", std::nullopt);
  EXPECT_EQ(get(GetParam().getter, kWan), text(""));
}

TEST_P(AddressGetter, NoTextIsTheEmptyText) {
  services().text(GetParam().live_service, std::nullopt);
  EXPECT_EQ(get(GetParam().getter, kWan), text(""));
  is_down();
  has_mode("Static");
  services().text(GetParam().configured_service, std::nullopt);
  EXPECT_EQ(get(GetParam().getter, kWan), text(""));
}

INSTANTIATE_TEST_SUITE_P(
    Wan, AddressGetter,
    ::testing::Values(AddressRow{"GetWANIPExternalIPAddress", "203.0.113.7", "198.51.100.7",
                                 "sal_wan_get_con_ip_t", "hcal_wan_get_ip_addr"},
                      AddressRow{"GetWANIPSubnetMask", "255.255.255.0", "255.255.0.0",
                                 "sal_wan_get_con_ipmask_t", "hcal_wan_get_ip_net_mask"},
                      AddressRow{"GetWANDefaultGateway", "203.0.113.1", "198.51.100.1",
                                 "sal_wan_get_con_gw_t", "hcal_wan_get_gateway"}),
    [](const auto& row) { return std::string{row.param.getter}; });

class PppGetter : public WanGetter, public ::testing::WithParamInterface<AddressRow> {};

TEST_P(PppGetter, AnUpConnectionHasItsValue) {
  EXPECT_EQ(get(GetParam().getter, kWan), text(GetParam().live));
  EXPECT_EQ(services().calls, (Calls{kMapped, "sal_wan_get_con_state_t(2)",
                                     std::string{GetParam().live_service} + "(2)"}));
}

TEST_P(PppGetter, ADownConnectionHasNoneWhateverItsMode) {
  is_down();
  has_mode("Static");
  EXPECT_EQ(get(GetParam().getter, kWan), text(""));
  EXPECT_EQ(services().calls, (Calls{kMapped, "sal_wan_get_con_state_t(2)"}));
}

TEST_P(PppGetter, NoTextIsTheEmptyText) {
  services().text(GetParam().live_service, std::nullopt);
  EXPECT_EQ(get(GetParam().getter, kWan), text(""));
}

INSTANTIATE_TEST_SUITE_P(Wan, PppGetter,
                         ::testing::Values(AddressRow{"GetPPPExternalIPAddress", "203.0.113.7", "",
                                                      "sal_wan_get_con_ip_t"},
                                           AddressRow{"GetPPPRemoteIPAddress", "203.0.113.1", "",
                                                      "sal_wan_get_con_gw_t"},
                                           AddressRow{"GetWANPPPoESessionID", "4711", "",
                                                      "sal_wan_get_con_ppp_session_t"}),
                         [](const auto& row) { return std::string{row.param.getter}; });

// --- Name servers ---

TEST_F(WanGetter, AnUpDynamicConnectionHasBothLiveNameServers) {
  EXPECT_EQ(get("GetWANDNSServers", kWan), text("192.0.2.1,192.0.2.2"));
}

TEST_F(WanGetter, TheCommaStaysWithoutASecondNameServer) {
  services().text("sal_wan_get_con_dns2_t", "");
  EXPECT_EQ(get("GetWANDNSServers", kWan), text("192.0.2.1,"));
  services().text("sal_wan_get_con_dns2_t", std::nullopt);
  EXPECT_EQ(get("GetWANDNSServers", kWan), text("192.0.2.1,"));
  services().text("sal_wan_get_con_dns1_t", std::nullopt);
  EXPECT_EQ(get("GetWANDNSServers", kWan), text(","));
}

TEST_F(WanGetter, ADownDynamicConnectionHasNoNameServers) {
  is_down();
  EXPECT_EQ(get("GetWANDNSServers", kWan), text(""));
}

TEST_F(WanGetter, OverrideOffAnswersTheConfiguredNameServersUpOrDown) {
  services().text("hcal_wan_get_dns_override", "0");
  EXPECT_EQ(get("GetWANDNSServers", kWan), text("198.51.100.53,198.51.100.54"));
  is_down();
  EXPECT_EQ(get("GetWANDNSServers", kWan), text("198.51.100.53,198.51.100.54"));
  services().text("hcal_wan_get_dns_servers", std::nullopt);
  EXPECT_EQ(get("GetWANDNSServers", kWan), text(""));
}

TEST_F(WanGetter, AStaticConnectionAnswersTheConfiguredNameServersUpOrDown) {
  has_mode("Static");
  EXPECT_EQ(get("GetWANDNSServers", kWan), text("198.51.100.53,198.51.100.54"));
  is_down();
  EXPECT_EQ(get("GetWANDNSServers", kWan), text("198.51.100.53,198.51.100.54"));
}

TEST_F(WanGetter, ConfiguredNameServersAreAskedForByConnection) {
  has_mode("Static");
  get("GetWANDNSServers", kWan);
  EXPECT_EQ(services().calls, (Calls{kMapped, "hcal_wan_get_dns_override(2)",
                                     "hcal_wan_get_mode(2)", "hcal_wan_get_dns_servers(2)"}));
}

TEST_F(WanGetter, OnlyExactlyZeroTurnsTheOverrideOff) {
  for (const char* override : {"00", "", "false", "0 "}) {
    services().text("hcal_wan_get_dns_override", override);
    EXPECT_EQ(get("GetWANDNSServers", kWan), text("192.0.2.1,192.0.2.2")) << override;
  }
  services().text("hcal_wan_get_dns_override", std::nullopt);
  EXPECT_EQ(get("GetWANDNSServers", kWan), text("192.0.2.1,192.0.2.2"));
}

// --- Up time, lease, MAC address ---

TEST_F(WanGetter, UpTimeIsTheMachinesLessTheConnectionsStart) {
  EXPECT_EQ(get("GetWANUpTime", kWan), text("4000"));
}

TEST_F(WanGetter, UpTimeMayBeNegative) {
  services().text("sal_wan_get_con_uptime_t", "5001");
  EXPECT_EQ(get("GetWANUpTime", kWan), text("-1"));
}

TEST_F(WanGetter, UpTimeOfADownConnectionIsTheEmptyText) {
  is_down();
  EXPECT_EQ(get("GetWANUpTime", kWan), text(""));
}

TEST_F(WanGetter, UpTimeHasNoValueWithoutStart) {
  for (const char* start : {"", " ", "soon"}) {
    services().text("sal_wan_get_con_uptime_t", start);
    EXPECT_EQ(get("GetWANUpTime", kWan), kNoValue) << start;
  }
  services().text("sal_wan_get_con_uptime_t", std::nullopt);
  EXPECT_EQ(get("GetWANUpTime", kWan), kNoValue);
}

TEST_F(WanGetter, UpTimeHasNoValueWithoutTheKernels) {
  write_file(paths().proc_uptime, "");
  EXPECT_EQ(get("GetWANUpTime", kWan), kNoValue);
  write_file(paths().proc_uptime, "unknown\n5000.0 1.0\n");
  EXPECT_EQ(get("GetWANUpTime", kWan), kNoValue);
  std::remove(paths().proc_uptime);
  EXPECT_EQ(get("GetWANUpTime", kWan), kNoValue);
  ASSERT_EQ(mkfifo(paths().proc_uptime, 0600), 0);
  EXPECT_EQ(get("GetWANUpTime", kWan), kNoValue);
}

TEST_F(WanGetter, LeaseTimeIsTheServicesTextUpOrDown) {
  EXPECT_EQ(get("GetWANLeaseTime", kWan), text("86400"));
  EXPECT_EQ(services().calls, (Calls{kMapped, "sal_wan_get_con_lease_t(2)"}));
  is_down();
  EXPECT_EQ(get("GetWANLeaseTime", kWan), text("86400"));
  services().text("sal_wan_get_con_lease_t", "");
  EXPECT_EQ(get("GetWANLeaseTime", kWan), text(""));
}

TEST_F(WanGetter, LeaseTimeHasNoValueWithoutLease) {
  services().text("sal_wan_get_con_lease_t", std::nullopt);
  EXPECT_EQ(get("GetWANLeaseTime", kWan), kNoValue);
}

TEST_F(WanGetter, MacAddressIsAskedForByConnectionUpOrDown) {
  is_down();
  EXPECT_EQ(get("GetWANMACAddress", kWan), text("00:aa:bb:cc:dd:ee"));
  EXPECT_EQ(services().calls, (Calls{kMapped, "libGetWanMacAddress(2)"}));
  services().text("libGetWanMacAddress", std::nullopt);
  EXPECT_EQ(get("GetWANMACAddress", kWan), text(""));
}

// --- Counters ---

TEST_F(WanGetter, CountersAreWordsOneSixAndNineOfTheStatistics) {
  services().wan_state = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  EXPECT_EQ(get("GetWANPacketsSent", kWan), text("1"));
  EXPECT_EQ(get("GetWANPacketsReceived", kWan), text("6"));
  EXPECT_EQ(get("GetWANEthernetErrorsReceived", kWan), text("9"));
  EXPECT_EQ(services().calls,
            (Calls{kMapped, "sal_wan_get_wan_state(2)", kMapped, "sal_wan_get_wan_state(2)",
                   kMapped, "sal_wan_get_wan_state(2)"}));
}

TEST_F(WanGetter, CountersAreSigned) {
  services().wan_state.assign(9, -5);
  EXPECT_EQ(get("GetWANPacketsSent", kWan), text("-5"));
  services().wan_state.assign(9, INT32_MIN);
  EXPECT_EQ(get("GetWANPacketsReceived", kWan), text("-2147483648"));
}

TEST_F(WanGetter, CountersPassAnyConnectionNumberOn) {
  services().wan_state.assign(9, 3);
  services().result("hcal_wan_uri_map_id", 4);
  EXPECT_EQ(get("GetWANPacketsSent", kWan), text("3"));
  services().result("hcal_wan_uri_map_id", 99);
  EXPECT_EQ(get("GetWANEthernetErrorsReceived", kWan), text("3"));
  EXPECT_EQ(services().calls,
            (Calls{kMapped, "sal_wan_get_wan_state(4)", kMapped, "sal_wan_get_wan_state(99)"}));
}

TEST_F(WanGetter, CountersHaveNoValueWhenThePlatformRefuses) {
  services().wan_state.assign(9, 3);
  services().result("sal_wan_get_wan_state", -1);
  for (const char* name :
       {"GetWANPacketsSent", "GetWANPacketsReceived", "GetWANEthernetErrorsReceived"})
    EXPECT_EQ(get(name, kWan), kNoValue) << name;
  services().result("sal_wan_get_wan_state", 1);
  EXPECT_EQ(get("GetWANPacketsSent", kWan), text("3"));
}

// --- Rows without source ---

TEST_F(WanGetter, RowsWithoutSourceAreConstant) {
  EXPECT_EQ(get("COM_GetWANPhysicalLinkStatus", kWan), text("Up"));
  EXPECT_EQ(get("GetWANPPPReset", kWan), text("0"));
  for (const char* name :
       {"COM_GetWANTotalBytesSent", "COM_GetWANTotalBytesReceived", "COM_GetWANTotalPacketsSent",
        "COM_GetWANTotalPacketsReceived", "GetWANBytesSent", "GetWANBytesReceived",
        "GetWANEthernetErrorsSent", "GetWANEthernetUnicastPacketsSent",
        "GetWANEthernetUnicastPacketsReceived", "GetWANEthernetBroadcastPacketsSent",
        "GetWANEthernetBroadcastPacketsReceived", "GetWANEthernetMulticastPacketsSent",
        "GetWANEthernetMulticastPacketsReceived", "GetPPPCurrentMRUSize"})
    EXPECT_EQ(get(name, kWan), text("")) << name;
  EXPECT_THAT(services().calls, IsEmpty());
}

// --- Wi-Fi ---

constexpr const char* kWlan = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.1.Channel";
const std::string kWlanAsked = std::string{"get_wlan_id("} + kWlan + ")";

class WlanGetter : public GetterTest {};

TEST_F(WlanGetter, EachCounterIsAskedForByItsNumber) {
  services().result("get_wlan_id", 1);
  services().wlan_id = 7;
  services().result("val_get_wifi_stats_info", 42);
  const char* const names[] = {"GetWLANErrorsSent",           "GetWLANErrorsReceived",
                               "GetWLANUnicastPacketsSent",   "GetWLANUnicastPacketsReceived",
                               "GetWLANDiscardPacketsSent",   "GetWLANDiscardPacketsReceived",
                               "GetWLANMulticastPacketsSent", "GetWLANMulticastPacketsReceived",
                               "GetWLANBroadcastPacketsSent", "GetWLANBroadcastPacketsReceived"};
  for (int counter = 0; counter < 10; ++counter) {
    services().calls.clear();
    EXPECT_EQ(get(names[counter], kWlan), text("42"));
    EXPECT_EQ(services().calls,
              (Calls{kWlanAsked, "val_get_wifi_stats_info(7, " + std::to_string(counter) + ")"}));
  }
}

TEST_F(WlanGetter, CountersAreSigned) {
  services().result("get_wlan_id", -1);
  services().result("val_get_wifi_stats_info", -3);
  EXPECT_EQ(get("GetWLANErrorsSent", kWlan), text("-3"));
}

TEST_F(WlanGetter, CountersOfNoInterfaceAreZero) {
  services().result("val_get_wifi_stats_info", 42);
  EXPECT_EQ(get("GetWLANErrorsSent", kWlan), text("0"));
  EXPECT_EQ(get("GetWLANBroadcastPacketsReceived", kWlan), text("0"));
  EXPECT_EQ(services().calls, (Calls{kWlanAsked, kWlanAsked}));
}

TEST_F(WlanGetter, AutomaticChannelIsTheDrivers) {
  services().text("cal_wlan_get_auto_channel_e", "1");
  services().result("val_get_wifi_channel", 11);
  EXPECT_EQ(get("GetWLANChannel", kWlan), text("11"));
  EXPECT_EQ(services().calls, (Calls{"cal_wlan_get_auto_channel_e(1)",
                                     std::string{"val_get_wifi_channel("} + kWlan + ")"}));
}

TEST_F(WlanGetter, AutomaticChannelThatIsNotKnownIsOne) {
  services().text("cal_wlan_get_auto_channel_e", "1");
  services().result("val_get_wifi_channel", 0);
  EXPECT_EQ(get("GetWLANChannel", kWlan), text("1"));
  services().result("val_get_wifi_channel", -1);
  EXPECT_EQ(get("GetWLANChannel", kWlan), text("-1"));
}

constexpr const char* kWlanTree = R"(InternetGatewayDevice.
  LANDevice.
    1.
      WLANConfiguration.
        1.
          Channel = 36
        2.
          Channel
        3. [2]
          Channel = 40
        4.
          Channel =
)";

TEST_F(WlanGetter, AFixedChannelIsTheOneStoredForThisParameter) {
  const LiveTree tree{kWlanTree};
  services().result("val_get_wifi_channel", 11);
  for (const char* flag : {"0", "", " 1", "auto"}) {
    services().text("cal_wlan_get_auto_channel_e", flag);
    EXPECT_EQ(get("GetWLANChannel", kWlan), text("36")) << flag;
  }
  services().text("cal_wlan_get_auto_channel_e", std::nullopt);
  EXPECT_EQ(get("GetWLANChannel", kWlan), text("36"));
  EXPECT_THAT(services().calls, Not(Contains(std::string{"val_get_wifi_channel("} + kWlan + ")")));
  EXPECT_EQ(get("GetWLANChannel", kWlan, 2), text("3"));
}

TEST_F(WlanGetter, AFixedChannelIsStoredWhateverItsObjectAndValueAre) {
  const LiveTree tree{kWlanTree};
  const std::string table = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.";
  EXPECT_EQ(get("GetWLANChannel", (table + "3.Channel").c_str()), text("40"));
  EXPECT_EQ(get("GetWLANChannel", (table + "4.Channel").c_str()), text(""));
}

TEST_F(WlanGetter, AFixedChannelWithoutStoredValueIsOne) {
  EXPECT_EQ(get("GetWLANChannel", kWlan), text("1"));
  const LiveTree tree{kWlanTree};
  const std::string table = "InternetGatewayDevice.LANDevice.1.WLANConfiguration.";
  EXPECT_EQ(get("GetWLANChannel", (table + "2.Channel").c_str()), text("1"));
  EXPECT_EQ(get("GetWLANChannel", (table + "9.Channel").c_str()), text("1"));
}

// --- Telephone lines and the ping test ---

class LineGetter : public GetterTest, public ::testing::WithParamInterface<AddressRow> {};

TEST_P(LineGetter, AsksAboutTheLineOfThePath) {
  services().text(GetParam().live_service, "Registering %s");
  EXPECT_EQ(get(GetParam().getter, "A.VoiceProfile.3.Line.12.Status"), text("Registering %s"));
  EXPECT_EQ(get(GetParam().getter, "A.Line.2.X.Line.5.Status"), text("Registering %s"));
  const std::string service = GetParam().live_service;
  EXPECT_EQ(services().calls, (Calls{service + "(12)", service + "(2)"}));
}

TEST_P(LineGetter, APathWithoutLineAsksAboutMinusOne) {
  services().text(GetParam().live_service, "Disabled");
  EXPECT_EQ(get(GetParam().getter, "A.VoiceProfile.1.Status"), text("Disabled"));
  EXPECT_EQ(services().calls, Calls{std::string{GetParam().live_service} + "(-1)"});
}

TEST_P(LineGetter, NoTextIsTheEmptyText) {
  EXPECT_EQ(get(GetParam().getter, "A.Line.1.Status"), text(""));
}

INSTANTIATE_TEST_SUITE_P(
    Voice, LineGetter,
    ::testing::Values(AddressRow{"GetVoiceLineStatus", "", "", "voice_get_line_status"},
                      AddressRow{"GetVoiceLineCallState", "", "", "voice_get_line_call_state"}),
    [](const auto& row) { return std::string{row.param.getter}; });

class PingGetter : public GetterTest, public ::testing::WithParamInterface<AddressRow> {};

TEST_P(PingGetter, IsWhatTheServiceTells) {
  services().text(GetParam().live_service, "17");
  EXPECT_EQ(get(GetParam().getter), text("17"));
  EXPECT_EQ(services().calls, Calls{std::string{GetParam().live_service} + "()"});
}

TEST_P(PingGetter, NoTextIsTheEmptyText) {
  EXPECT_EQ(get(GetParam().getter), text(""));
}

INSTANTIATE_TEST_SUITE_P(Diagnostics, PingGetter,
                         ::testing::Values(AddressRow{"GetIPPingDiagSuccessCount", "", "",
                                                      "sal_misc_get_ipping_diag_succ_count"},
                                           AddressRow{"GetIPPingDiagFailureCount", "", "",
                                                      "sal_misc_get_ipping_diag_fail_count"},
                                           AddressRow{"GetIPPingDiagAvgResponseTime", "", "",
                                                      "sal_misc_get_ipping_diag_avg_resp_time"},
                                           AddressRow{"GetIPPingDiagMinResponseTime", "", "",
                                                      "sal_misc_get_ipping_diag_min_resp_time"},
                                           AddressRow{"GetIPPingDiagMaxResponseTime", "", "",
                                                      "sal_misc_get_ipping_diag_max_resp_time"}),
                         [](const auto& row) { return std::string{row.param.getter}; });

}  // namespace
}  // namespace gwconf::test
