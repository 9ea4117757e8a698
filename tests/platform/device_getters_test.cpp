#include "platform/device_getters.h"

#include <string>
#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/paths.h"
#include "platform/ethernet_statistics.h"
#include "tests/platform/getter_fixture.h"
#include "tests/support/failing_heap.h"

namespace gwconf::test {
namespace {

using ::testing::IsEmpty;

constexpr const char* kPort = "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig.";

std::string port_path(const std::string& rest) {
  return kPort + rest;
}

// --- Identity ---

class IdentityGetter : public GetterTest {};

TEST_F(IdentityGetter, SerialNumberIsAskedForIn20Bytes) {
  services().text("util_get_hw_sn", "SN0123456789");
  EXPECT_EQ(get("GetSN"), text("SN0123456789"));
  EXPECT_EQ(services().calls, Calls{"util_get_hw_sn(20)"});
}

TEST_F(IdentityGetter, SerialNumberMayFillItsBufferWithoutNul) {
  services().text("util_get_hw_sn", "12345678901234567890_and_more");
  EXPECT_EQ(get("GetSN"), text("12345678901234567890"));
}

TEST_F(IdentityGetter, SerialNumberNeverFails) {
  services().result("util_get_hw_sn", -1);
  EXPECT_EQ(get("GetSN"), text(""));
}

TEST_F(IdentityGetter, FirmwareVersionIsAskedForInTheWholeOutput) {
  services().text("get_version", "V1.2.3");
  EXPECT_EQ(get("GetFWVersion"), text("V1.2.3"));
  EXPECT_EQ(get("GetFWVersion", "A.B", 100), text("V1.2.3"));
  EXPECT_EQ(services().calls, (Calls{"get_version(32769)", "get_version(100)"}));
}

TEST_F(IdentityGetter, FirmwareVersionHasNoValueOnMinusOneOnly) {
  services().text("get_version", "half a ver");
  services().result("get_version", -1);
  EXPECT_EQ(get("GetFWVersion"), kNoValue);
  services().result("get_version", -2);
  EXPECT_EQ(get("GetFWVersion"), text("half a ver"));
}

TEST_F(IdentityGetter, HardwareVersionIsWrittenOverAnOutputThatIsNotCleared) {
  services().text("getHwVersion", "HW-A");
  EXPECT_EQ(get("GetHWVersion"), text("HW-A"));
  services().text("getHwVersion", std::nullopt);
  EXPECT_EQ(get("GetHWVersion"), text("old content"));
  EXPECT_EQ(get("GetHWVersion", "A.B", 64), text("old content"));
  EXPECT_EQ(get("GetHWVersion", "A.B", 4), text("old"));
}

TEST_F(IdentityGetter, ManufacturerFallsBackToVantrel) {
  services().text("getOemName", "Some Maker");
  services().result("getOemName", 1);
  EXPECT_EQ(get("GetManufacturer"), text("Some Maker"));
  services().result("getOemName", 0);
  EXPECT_EQ(get("GetManufacturer"), text("Vantrel"));
  EXPECT_EQ(get("GetManufacturer", "A.B", 5), text("Vant"));
}

TEST_F(IdentityGetter, ManufacturerOuiIsWhatTheServiceWrites) {
  services().text("getManufacturerOUI", "00A1B2");
  EXPECT_EQ(get("GetManufacturerOUI"), text("00A1B2"));
  services().text("getManufacturerOUI", std::nullopt);
  EXPECT_EQ(get("GetManufacturerOUI"), text(""));
}

TEST_F(IdentityGetter, ProductClassHasNoValueWithoutProductName) {
  services().text("util_getProductName", "HomeGateway");
  services().result("util_getProductName", 1);
  EXPECT_EQ(get("GetProductClass"), text("HomeGateway"));
  EXPECT_EQ(services().calls, Calls{"util_getProductName(32769)"});
  services().result("util_getProductName", 0);
  EXPECT_EQ(get("GetProductClass"), kNoValue);
  services().result("util_getProductName", -1);
  EXPECT_EQ(get("GetProductClass"), text("HomeGateway"));
}

TEST_F(IdentityGetter, ModelNameIsAskedForIn256BytesAndFallsBackToVantrel) {
  services().text("util_getProductName", "Home Gateway 7");
  services().result("util_getProductName", 1);
  EXPECT_EQ(get("GetModelName"), text("Home Gateway 7"));
  EXPECT_EQ(get("GetModelName", "A.B", 5), text("Home"));
  services().result("util_getProductName", 0);
  EXPECT_EQ(get("GetModelName"), text("Vantrel"));
  EXPECT_EQ(services().calls, Calls(3, "util_getProductName(256)"));
}

TEST_F(IdentityGetter, ModelNameMayFillItsRoomWithoutNul) {
  services().text("util_getProductName", std::string(300, 'm'));
  services().result("util_getProductName", 1);
  EXPECT_EQ(get("GetModelName", "A.B", 256), text(std::string(255, 'm')));
  EXPECT_EQ(get("GetModelName", "A.B", 200), text(std::string(199, 'm')));
}

TEST_F(IdentityGetter, DescriptionIsWhatTheServiceWrites) {
  services().text("getProductDesc", "Fibre gateway");
  EXPECT_EQ(get("GetDescription"), text("Fibre gateway"));
  services().text("getProductDesc", std::nullopt);
  EXPECT_EQ(get("GetDescription"), text(""));
}

// --- Device information ---

struct InformationRow {
  const char* getter;
  const char* key;
};

class InformationGetter : public GetterTest, public ::testing::WithParamInterface<InformationRow> {
 protected:
  [[nodiscard]] std::string call() const {
    return std::string{"getCfgInfo("} + paths().device_info + ", " + GetParam().key + ", 0, \"\")";
  }
  void stores(const std::string& value) { services().device_information[GetParam().key] = value; }
};

TEST_P(InformationGetter, AsksForItsKeyInTheDeviceInformationFile) {
  stores("value of the key");
  EXPECT_EQ(get(GetParam().getter), text("value of the key"));
  EXPECT_EQ(services().calls, Calls{call()});
}

TEST_P(InformationGetter, AMissingKeyIsTheEmptyText) {
  EXPECT_EQ(get(GetParam().getter), text(""));
}

TEST_P(InformationGetter, AFailureIsTheEmptyText) {
  stores("not to be seen");
  services().result("getCfgInfo", -1);
  EXPECT_EQ(get(GetParam().getter), text(""));
  services().result("getCfgInfo", 3);
  EXPECT_EQ(get(GetParam().getter), text(""));
}

TEST_P(InformationGetter, TwoPercentSignsAreOneAndAllElseStandsAsItIs) {
  stores("100%% of %s, %n %%%d 50% %%%% %");
  EXPECT_EQ(get(GetParam().getter), text("100% of %s, %n %%d 50% %% %"));
}

TEST_P(InformationGetter, IsCutToTheOutput) {
  stores("%%abcdef");
  EXPECT_EQ(get(GetParam().getter, "A.B", 4), text("%ab"));
  EXPECT_EQ(get(GetParam().getter, "A.B", 1), text(""));
}

TEST_P(InformationGetter, FreesTheValueAndSurvivesAFailedAllocation) {
  stores("value");
  const std::size_t before = live_blocks();
  EXPECT_EQ(get(GetParam().getter), text("value"));
  EXPECT_EQ(live_blocks(), before);
  Answered answered{CM_INVALID, "?"};
  EXPECT_EQ(sweep_allocations([] {}, [&] { answered = get(GetParam().getter); },
                              [&] { EXPECT_EQ(answered, text("")); }),
            2U);
}

INSTANTIATE_TEST_SUITE_P(Keys, InformationGetter,
                         ::testing::Values(InformationRow{"GetManufacturerUrl", "manufacturerURL"},
                                           InformationRow{"GetModelNumber", "model_num"},
                                           InformationRow{"GetModelUrl", "modelURL"},
                                           InformationRow{"GetDeviceName", "device_name"}),
                         [](const auto& row) { return std::string{row.param.getter}; });

// --- System ---

class SystemGetter : public GetterTest {};

TEST_F(SystemGetter, UpTimeIsASignedNumber) {
  services().uptime = 86461;
  EXPECT_EQ(get("GetSysUpTime"), text("86461"));
  EXPECT_EQ(services().calls, Calls{"get_uptime()"});
  services().uptime = -1;
  EXPECT_EQ(get("GetSysUpTime"), text("-1"));
}

TEST_F(SystemGetter, SystemLogLeavesRoomForTheNul) {
  services().text("log_get_content", "line 1\nline 2\n");
  services().result("log_get_content", 14);
  EXPECT_EQ(get("GetSystemLog"), text("line 1\nline 2\n"));
  EXPECT_EQ(services().calls, Calls{"log_get_content(32768, 32768, 0, 0)"});
}

TEST_F(SystemGetter, SystemLogOfSizeNHoldsNMinusOneBytes) {
  services().text("log_get_content", "0123456789");
  services().result("log_get_content", 10);
  EXPECT_EQ(get("GetSystemLog", "A.B", 8), text("0123456"));
  EXPECT_EQ(services().calls, Calls{"log_get_content(7, 7, 0, 0)"});
}

TEST_F(SystemGetter, SystemLogForcesTheLastByteToNul) {
  char out[8] = {'~', '~', '~', '~', '~', '~', '~', '~'};
  services().text("log_get_content", "ab");
  services().result("log_get_content", 2);
  EXPECT_EQ(CM_platform_fn_init("GetSystemLog")->getter("A.B", out, 8), CM_OK);
  EXPECT_STREQ(out, "ab");
  EXPECT_EQ(out[7], '\0');
}

TEST_F(SystemGetter, AFailedLogForcesTheLastByteToNulToo) {
  for (const char* name : {"GetSystemLog", "GetCWMPLog"}) {
    char out[8] = {'~', '~', '~', '~', '~', '~', '~', '~'};
    services().result("log_get_content", 0);
    services().result("log_get_cwmp_debug_info", -1);
    EXPECT_EQ(CM_platform_fn_init(name)->getter("A.B", out, 8), CM_INVALID);
    EXPECT_STREQ(out, "") << name;
    EXPECT_EQ(out[7], '\0') << name;
  }
}

TEST_F(SystemGetter, SystemLogHasNoValueBelowOneByte) {
  services().text("log_get_content", "leftover");
  services().result("log_get_content", 0);
  EXPECT_EQ(get("GetSystemLog"), kNoValue);
  services().result("log_get_content", -1);
  EXPECT_EQ(get("GetSystemLog"), kNoValue);
  services().result("log_get_content", 1);
  EXPECT_EQ(get("GetSystemLog"), text("leftover"));
}

TEST_F(SystemGetter, ManagementLogIsTheWholeOutputWithItsLastByteForcedToNul) {
  services().text("log_get_cwmp_debug_info", "0123456789");
  EXPECT_EQ(get("GetCWMPLog"), text("0123456789"));
  EXPECT_EQ(get("GetCWMPLog", "A.B", 8), text("0123456"));
  EXPECT_EQ(services().calls,
            (Calls{"log_get_cwmp_debug_info(32769)", "log_get_cwmp_debug_info(8)"}));
}

TEST_F(SystemGetter, ManagementLogHasNoValueBelowZero) {
  EXPECT_EQ(get("GetCWMPLog"), text(""));
  services().text("log_get_cwmp_debug_info", "leftover");
  services().result("log_get_cwmp_debug_info", -1);
  EXPECT_EQ(get("GetCWMPLog"), kNoValue);
  services().result("log_get_cwmp_debug_info", 1);
  EXPECT_EQ(get("GetCWMPLog"), text("leftover"));
}

TEST_F(SystemGetter, TimeIsWhatTheServiceWrites) {
  services().text("getTimeofDay", "2024-02-29T12:00:00+01:00");
  EXPECT_EQ(get("get_ntp_time"), text("2024-02-29T12:00:00+01:00"));
  services().text("getTimeofDay", std::nullopt);
  EXPECT_EQ(get("get_ntp_time"), text(""));
}

TEST_F(SystemGetter, ProcessorLoadHasFiveColumnsAndAPercentSign) {
  services().load = 7.25;
  EXPECT_EQ(get("GetCPUUtilization"), text(" 7.25%"));
  services().load = 100.0;
  EXPECT_EQ(get("GetCPUUtilization"), text("100.00%"));
  services().load = 0.0;
  EXPECT_EQ(get("GetCPUUtilization"), text(" 0.00%"));
  services().load = 12.346;
  EXPECT_EQ(get("GetCPUUtilization"), text("12.35%"));
  EXPECT_EQ(services().calls, Calls(4, "sal_get_cpu_utilization(1)"));
}

TEST_F(SystemGetter, ProcessorLoadHasNoValueAtExactlyMinusOne) {
  services().load = -1.0;
  EXPECT_EQ(get("GetCPUUtilization"), kNoValue);
  services().load = -1.5;
  EXPECT_EQ(get("GetCPUUtilization"), text("-1.50%"));
}

// --- Memory ---

class MemoryGetter : public GetterTest {
 protected:
  void kernel_tells(const std::string& content) { write_file(paths().proc_meminfo, content); }
};

TEST_F(MemoryGetter, FiguresAreTheKernels) {
  kernel_tells(
      "MemTotal:         254321 kB\nMemFree:           65432 kB\nMemAvailable:     100000 kB\n");
  EXPECT_EQ(get("GetTotalRAM"), text("254321"));
  EXPECT_EQ(get("GetFreeRAM"), text("65432"));
  EXPECT_THAT(services().calls, IsEmpty());
}

TEST_F(MemoryGetter, LaterLinesOverwriteEarlierOnes) {
  kernel_tells("MemTotal: 1 kB\nMemFree: 2 kB\nMemTotal: 3 kB\nMemFree: 4 kB\n");
  EXPECT_EQ(get("GetTotalRAM"), text("3"));
  EXPECT_EQ(get("GetFreeRAM"), text("4"));
}

TEST_F(MemoryGetter, TheSecondWordCountsWhereverTheLabelStands) {
  kernel_tells("Node0 77 MemTotal: 1\nMemFree:12 34 kB\n");
  EXPECT_EQ(get("GetTotalRAM"), text("77"));
  EXPECT_EQ(get("GetFreeRAM"), text("34"));
}

TEST_F(MemoryGetter, AreZeroWithoutTheTable) {
  EXPECT_EQ(get("GetTotalRAM"), text("0"));
  EXPECT_EQ(get("GetFreeRAM"), text("0"));
}

TEST_F(MemoryGetter, AreZeroWithoutTheLinesOrNumbers) {
  kernel_tells("MemTotal: much\nmemfree: 5 kB\n\n");
  EXPECT_EQ(get("GetTotalRAM"), text("0"));
  EXPECT_EQ(get("GetFreeRAM"), text("0"));
  kernel_tells("MemTotal:\nMemFree:");
  EXPECT_EQ(get("GetTotalRAM"), text("0"));
  EXPECT_EQ(get("GetFreeRAM"), text("0"));
}

TEST_F(MemoryGetter, FiguresSaturate) {
  kernel_tells("MemTotal: 99999999999999 kB\n");
  EXPECT_EQ(get("GetTotalRAM"), text("2147483647"));
}

TEST_F(MemoryGetter, LinesAreReadUpTo127Characters) {
  kernel_tells("MemTotal:" + std::string(118, ' ') + "55\nMemFree:" + std::string(118, ' ') +
               "66\nMemFree:" + std::string(500, ' ') + "MemTotal: 7 7\n");
  // The number of the first line begins behind the 127th character, that of the second at it, and
  // what the third line holds further on is no line of its own.
  EXPECT_EQ(get("GetTotalRAM"), text("0"));
  EXPECT_EQ(get("GetFreeRAM"), text("0"));
  kernel_tells("MemFree:" + std::string(118, ' ') + "66\n");
  EXPECT_EQ(get("GetFreeRAM"), text("6"));
}

TEST_F(MemoryGetter, APipeInTheTablesPlaceDoesNotBlock) {
  ASSERT_EQ(mkfifo(paths().proc_meminfo, 0600), 0);
  EXPECT_EQ(get("GetTotalRAM"), text("0"));
}

// --- LAN ---

class LanGetter : public GetterTest {
 protected:
  void SetUp() override {
    GetterTest::SetUp();
    ethernet_statistics = {
        .interface = "eth0",
        .packets_received = 100,
        .packets_sent = 200,
        .bytes_received = 300,
        .bytes_sent = 400,
        .receive_errors = 500,
        .send_errors = 600,
        .receive_drops = 700,
        .send_drops = 800,
        .multicast_received = 9,
    };
  }
};

TEST_F(LanGetter, StatisticsArePacketsSentOrReceived) {
  EXPECT_EQ(get("GetELANStats", port_path("1.Stats.PacketsSent").c_str()), text("200"));
  EXPECT_EQ(get("GetELANStats", port_path("1.Stats.PacketsReceived").c_str()), text("100"));
  EXPECT_THAT(services().calls, IsEmpty());
}

TEST_F(LanGetter, EveryLongerNameOfAGroupIsAnsweredWithItsPackets) {
  for (const char* suffix : {"Errors", "Unicast", "Multicast", "Discard"}) {
    const std::string path = port_path("1.Stats.Packets");
    EXPECT_EQ(get("GetELANStats", (path + "Sent" + suffix).c_str()), text("200")) << suffix;
    EXPECT_EQ(get("GetELANStats", (path + "Received" + suffix).c_str()), text("100")) << suffix;
  }
}

TEST_F(LanGetter, TheOrderOfTheNamesDecidesNotThatOfThePath) {
  EXPECT_EQ(get("GetELANStats", "A.PacketsReceived.PacketsSent"), text("200"));
}

TEST_F(LanGetter, StatisticsAreUnsigned) {
  ethernet_statistics.packets_sent = 4294967295U;
  EXPECT_EQ(get("GetELANStats", "A.PacketsSent"), text("4294967295"));
}

TEST_F(LanGetter, AnotherNameHasNoStatistics) {
  EXPECT_EQ(get("GetELANStats", port_path("1.Stats.BytesSent").c_str()), kNoValue);
  EXPECT_EQ(get("GetELANStats", port_path("1.Stats.packetssent").c_str()), kNoValue);
  EXPECT_EQ(get("GetELANStats", ""), kNoValue);
}

TEST_F(LanGetter, MacAddressIsWhatTheServiceWrites) {
  services().text("libGetLanMacAddress", "00:11:22:33:44:55");
  EXPECT_EQ(get("GetEthMacAddr"), text("00:11:22:33:44:55"));
  services().text("libGetLanMacAddress", std::nullopt);
  EXPECT_EQ(get("GetEthMacAddr"), text(""));
}

TEST_F(LanGetter, StatusAsksForThePortOfThePath) {
  services().result("sal_eth_get_link_status", 1);
  EXPECT_EQ(get("GetELANStatus", port_path("1.Status").c_str()), text("Up"));
  EXPECT_EQ(get("GetELANStatus", port_path("2.Status").c_str()), text("Up"));
  EXPECT_EQ(services().calls, (Calls{"sal_eth_get_link_status(1)", "sal_eth_get_link_status(2)"}));
}

TEST_F(LanGetter, StatusIsUpAtExactlyOne) {
  for (const int result : {0, 2, -1}) {
    services().result("sal_eth_get_link_status", result);
    EXPECT_EQ(get("GetELANStatus", port_path("4.Status").c_str()), text("NoLink")) << result;
  }
}

TEST_F(LanGetter, APathWithoutPortAsksForPortMinusOne) {
  get("GetELANStatus", "InternetGatewayDevice.LANEthernetInterfaceConfi.3.Status");
  get("GetELANStatus", "LANEthernetInterfaceConfig.3.Status");
  get("GetELANErrorsReceived", "InternetGatewayDevice.Status");
  EXPECT_EQ(services().calls, (Calls{"sal_eth_get_link_status(-1)", "sal_eth_get_link_status(-1)",
                                     "sal_eth_get_counters(5)"}));
}

TEST_F(LanGetter, ErrorsCountPortsFromTheOtherEnd) {
  for (const char* port : {"1", "2", "3", "4"})
    get("GetELANErrorsReceived", port_path(std::string{port} + ".Stats.ErrorsReceived").c_str());
  EXPECT_EQ(services().calls, (Calls{"sal_eth_get_counters(3)", "sal_eth_get_counters(2)",
                                     "sal_eth_get_counters(1)", "sal_eth_get_counters(0)"}));
}

TEST_F(LanGetter, ErrorsAreTheNinthAndTenthWordHighWordFirst) {
  services().ethernet_counters = {1, 2, 3, 4, 5, 6, 7, 8, 2, 5, 11, 12};
  EXPECT_EQ(get("GetELANErrorsReceived", port_path("1.X").c_str()), text("8589934597"));
  services().ethernet_counters = {1, 2, 3, 4, 5, 6, 7, 8, 0, 4294967295U};
  EXPECT_EQ(get("GetELANErrorsReceived", port_path("1.X").c_str()), text("4294967295"));
}

TEST_F(LanGetter, ErrorsAreSigned) {
  services().ethernet_counters.assign(10, 4294967295U);
  EXPECT_EQ(get("GetELANErrorsReceived", port_path("1.X").c_str()), text("-1"));
}

TEST_F(LanGetter, ErrorsHaveNoValueWhenTheSwitchRefuses) {
  services().ethernet_counters.assign(10, 7);
  services().result("sal_eth_get_counters", -1);
  EXPECT_EQ(get("GetELANErrorsReceived", port_path("1.X").c_str()), kNoValue);
  services().result("sal_eth_get_counters", 1);
  EXPECT_EQ(get("GetELANErrorsReceived", port_path("1.X").c_str()), text("30064771079"));
}

TEST_F(LanGetter, APortNumberPastAllBoundsIsAskedFor) {
  get("GetELANErrorsReceived", port_path("-2147483648.X").c_str());
  get("GetELANStatus", port_path("99999999999.X").c_str());
  EXPECT_EQ(services().calls,
            (Calls{"sal_eth_get_counters(-2147483644)", "sal_eth_get_link_status(2147483647)"}));
}

TEST_F(LanGetter, CountersWithoutSourceAreEmpty) {
  for (const char* name : {"GetELANPacketsSent", "GetELANPacketsReceived",
                           "GetELANDiscardPacketsSent", "GetELANDiscardPacketsReceived"})
    EXPECT_EQ(get(name, port_path("1.X").c_str()), text("")) << name;
  EXPECT_THAT(services().calls, IsEmpty());
}

// --- Every getter ---

class OutputBound : public GetterTest, public ::testing::WithParamInterface<const GetterRow*> {
 protected:
  void SetUp() override {
    GetterTest::SetUp();
    const std::string long_text(200, '1');
    for (const char* service : {"util_get_hw_sn",
                                "get_version",
                                "getHwVersion",
                                "getOemName",
                                "util_getProductName",
                                "getManufacturerOUI",
                                "getProductDesc",
                                "getTimeofDay",
                                "log_get_content",
                                "log_get_cwmp_debug_info",
                                "libGetLanMacAddress",
                                "libGetWanMacAddress",
                                "sal_wan_get_con_state_t",
                                "sal_wan_get_con_ip_t",
                                "sal_wan_get_con_ipmask_t",
                                "sal_wan_get_con_gw_t",
                                "sal_wan_get_con_dns1_t",
                                "sal_wan_get_con_dns2_t",
                                "sal_wan_get_con_uptime_t",
                                "sal_wan_get_con_lease_t",
                                "sal_wan_get_con_ppp_session_t",
                                "hcal_wan_get_ip_addr",
                                "hcal_wan_get_ip_net_mask",
                                "hcal_wan_get_gateway",
                                "hcal_wan_get_dns_servers",
                                "cal_wlan_get_auto_channel_e",
                                "voice_get_line_status",
                                "voice_get_line_call_state",
                                "sal_misc_get_ipping_diag_succ_count",
                                "sal_misc_get_ipping_diag_fail_count",
                                "sal_misc_get_ipping_diag_avg_resp_time",
                                "sal_misc_get_ipping_diag_min_resp_time",
                                "sal_misc_get_ipping_diag_max_resp_time"})
      services().text(service, long_text);
    for (const char* service :
         {"getOemName", "util_getProductName", "log_get_content", "sal_eth_get_link_status",
          "get_wlan_id", "val_get_wifi_stats_info", "val_get_wifi_channel"})
      services().result(service, 1234567890);
    for (const char* key : {"manufacturerURL", "model_num", "modelURL", "device_name"})
      services().device_information[key] = long_text;
    services().uptime = 1234567890;
    services().load = 12345.678;
    services().ethernet_counters.assign(10, 1234567890);
    services().wan_state.assign(10, 1234567890);
    write_file(paths().proc_uptime, "1234567890.12 1.0\n");
    write_file(paths().proc_meminfo, "MemTotal: 1234567890 kB\nMemFree: 1234567890 kB\n");
    ethernet_statistics.packets_sent = 1234567890;
  }
};

TEST_P(OutputBound, IsKeptWithoutOverrunAndWithItsNul) {
  const char* path =
      "InternetGatewayDevice.LANEthernetInterfaceConfig.1.WLANConfiguration.1.Line.1.PacketsSent";
  const Answered whole = get(GetParam()->name, path);
  EXPECT_EQ(whole.status, CM_OK);
  for (const std::int32_t size : {1, 2, 3, 7, 11, 19, 20, 21, 100, 255, 256, 257}) {
    const Answered cut = get(GetParam()->name, path, size);
    EXPECT_EQ(cut.status, CM_OK) << size;
    EXPECT_EQ(cut.text, whole.text.substr(0, static_cast<std::size_t>(size) - 1)) << size;
  }
  get(GetParam()->name, path, 0);
}

std::vector<const GetterRow*> all_rows() {
  std::vector<const GetterRow*> rows;
  for (std::size_t row = 0; row < kGetterCount; ++row)
    rows.push_back(&platform_fn_tab[row]);
  return rows;
}

INSTANTIATE_TEST_SUITE_P(Getters, OutputBound, ::testing::ValuesIn(all_rows()),
                         [](const auto& row) { return std::string{row.param->name}; });

}  // namespace
}  // namespace gwconf::test
