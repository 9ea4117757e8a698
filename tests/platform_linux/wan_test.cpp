#include "platform/linux/wan.h"

#include <arpa/inet.h>
#include <string>

#include <gtest/gtest.h>

#include "platform/getters.h"
#include "platform/linux/address.h"
#include "platform/services.h"
#include "tests/platform_linux/linux_machine.h"
#include "tests/support/sandbox.h"

namespace gwconf::test {
namespace {

const std::string kWanDevice = "InternetGatewayDevice.WANDevice.1.";

std::string ip_path(int device, const char* name = "Value") {
  return kWanDevice + "WANConnectionDevice." + std::to_string(device) + ".WANIPConnection.1." +
         name;
}

std::string ppp_path(int device, const char* name = "Value") {
  return kWanDevice + "WANConnectionDevice." + std::to_string(device) + ".WANPPPConnection.1." +
         name;
}

std::string get(const char* name, const std::string& path) {
  char out[128] = "old";
  const Status status = CM_platform_fn_init(name)->getter(path.c_str(), out, sizeof out);
  return status == CM_OK ? out : "code " + std::to_string(status);
}

std::string dotted(std::uint32_t address) {
  char text[INET_ADDRSTRLEN];
  return address == 0 ? "" : inet_ntop(AF_INET, &address, text, sizeof text);
}

class WanTest : public LinuxMachine {
 protected:
  static int mapped(const std::string& path) { return hcal_wan_uri_map_id(path.c_str()); }
};

// --- From a path to a connection ---

TEST_F(WanTest, WithoutDefaultRouteNoPathNamesAConnection) {
  has_interface("eth0", {{"carrier", "1"}});
  EXPECT_EQ(mapped(ip_path(1)), 4);
  EXPECT_EQ(mapped(ppp_path(1)), 4);
  EXPECT_EQ(get("GetWANConnectionStatus", ip_path(1)), "");
  EXPECT_EQ(get("GetWANPacketsSent", ip_path(1)), "code -100");
}

TEST_F(WanTest, ConnectionDevicesAreTheInterfacesInOrder) {
  has_interface("wan1");
  has_interface("wan0");
  has_default_route("wan1");
  has_default_route("wan0");
  EXPECT_EQ(mapped(ip_path(1)), 0);
  EXPECT_EQ(mapped(ip_path(2)), 1);
  EXPECT_EQ(mapped(ip_path(3)), 4);
  EXPECT_EQ(mapped(ip_path(0)), 4);
  EXPECT_EQ(mapped(ip_path(-1)), 4);
  EXPECT_EQ(mapped(ppp_path(1)), 4);
}

TEST_F(WanTest, PppInterfacesAreCountedOnTheirOwn) {
  has_interface("eth1");
  has_interface("ppp0", {{"type", "512"}});
  has_interface("ppp1", {{"type", "512"}});
  has_default_route("ppp1");
  has_default_route("ppp0");
  has_default_route("eth1");
  EXPECT_EQ(mapped(ip_path(1)), 0);
  EXPECT_EQ(mapped(ppp_path(1)), 1);
  EXPECT_EQ(mapped(ppp_path(2)), 2);
  EXPECT_EQ(mapped(ip_path(2)), 4);
}

TEST_F(WanTest, OnlyTheFirstConnectionOfADeviceIsThere) {
  has_interface("wan0");
  has_default_route("wan0");
  EXPECT_EQ(mapped(kWanDevice + "WANConnectionDevice.1.WANIPConnection.2.Value"), 4);
  EXPECT_EQ(mapped(kWanDevice + "WANConnectionDevice.1.WANIPConnection.0.Value"), 4);
  EXPECT_EQ(mapped(kWanDevice + "WANConnectionDevice.1.WANPPPConnection.2.Value"), 4);
}

TEST_F(WanTest, TheWanDevicesOwnParametersTellOfItsFirstConnection) {
  has_interface("wan0");
  has_default_route("wan0");
  EXPECT_EQ(mapped(kWanDevice + "WANEthernetInterfaceConfig.Stats.PacketsSent"), 0);
}

TEST_F(WanTest, OtherPathsNameNoConnection) {
  has_interface("wan0");
  has_default_route("wan0");
  for (const char* path :
       {"InternetGatewayDevice.WANDevice.2.WANConnectionDevice.1.WANIPConnection.1.Value",
        "InternetGatewayDevice.WANDevice.0.WANConnectionDevice.1.WANIPConnection.1.Value",
        "InternetGatewayDevice.LANDevice.1.Value", "WANDevice.1.Value", ""})
    EXPECT_EQ(mapped(path), 4) << path;
}

TEST_F(WanTest, ThereAreFourConnectionsAtMost) {
  for (const char* name : {"wan0", "wan1", "wan2", "wan3", "wan4"}) {
    has_interface(name, {{"carrier", "1"}, {"statistics/tx_packets", "5"}});
    has_default_route(name);
  }
  EXPECT_EQ(mapped(ip_path(4)), 3);
  EXPECT_EQ(mapped(ip_path(5)), 4);
  int32_t record[kWanStateWords] = {};
  EXPECT_EQ(sal_wan_get_wan_state(3, record), 0);
  for (const int number : {4, 5, -1, INT32_MAX, INT32_MIN}) {
    EXPECT_LT(sal_wan_get_wan_state(number, record), 0) << number;
    EXPECT_STREQ(sal_wan_get_con_state_t(number), "0") << number;
    EXPECT_EQ(sal_wan_get_con_lease_t(number), nullptr) << number;
    EXPECT_STREQ(sal_wan_get_con_ip_t(number), "") << number;
  }
}

TEST_F(WanTest, APlaceIsFoundBackFromItsNumber) {
  has_interface("eth1");
  has_interface("ppp0", {{"type", "512"}});
  has_default_route("ppp0");
  has_default_route("eth1");
  const InterfaceList connections = default_route_interfaces();
  EXPECT_EQ(place_of_connection(connections, 0).device, 1);
  EXPECT_FALSE(place_of_connection(connections, 0).ppp);
  EXPECT_EQ(place_of_connection(connections, 1).device, 1);
  EXPECT_TRUE(place_of_connection(connections, 1).ppp);
  EXPECT_EQ(place_of_connection(connections, 2).device, 0);
  EXPECT_EQ(place_of_connection(connections, -1).device, 0);
}

// --- What a connection has ---

TEST_F(WanTest, IsConnectedWithACarrier) {
  has_interface("wan0", {{"carrier", "1"}});
  has_interface("wan1", {{"carrier", "0"}});
  has_interface("wan2");
  for (const char* name : {"wan0", "wan1", "wan2"})
    has_default_route(name);
  EXPECT_EQ(get("GetWANConnectionStatus", ip_path(1)), "Connected");
  EXPECT_EQ(get("GetWANConnectionStatus", ip_path(2)), "Disconnected");
  EXPECT_EQ(get("GetWANConnectionStatus", ip_path(3)), "Disconnected");
}

TEST_F(WanTest, AddressesAreTheKernels) {
  // The loopback interface stands in for a WAN, since its addresses are really there.
  has_interface("lo", {{"carrier", "1"}});
  has_default_route("lo", as_routed("127.0.0.254"));
  EXPECT_EQ(get("GetWANIPExternalIPAddress", ip_path(1)), dotted(own_address("lo")));
  EXPECT_EQ(get("GetWANIPSubnetMask", ip_path(1)), dotted(network_mask("lo")));
  EXPECT_EQ(get("GetWANDefaultGateway", ip_path(1)), "127.0.0.254");
}

TEST_F(WanTest, AnInterfaceWithoutAddressOrGatewayHasEmptyTexts) {
  has_interface("no-such-if", {{"carrier", "1"}});
  has_default_route("no-such-if");
  EXPECT_EQ(get("GetWANIPExternalIPAddress", ip_path(1)), "");
  EXPECT_EQ(get("GetWANIPSubnetMask", ip_path(1)), "");
  EXPECT_EQ(get("GetWANDefaultGateway", ip_path(1)), "");
}

TEST_F(WanTest, ThePppGatewayIsTheFarEnd) {
  has_interface("lo", {{"type", "512"}, {"carrier", "1"}});
  has_default_route("lo");
  EXPECT_EQ(get("GetPPPExternalIPAddress", ppp_path(1)), dotted(own_address("lo")));
  EXPECT_EQ(get("GetPPPRemoteIPAddress", ppp_path(1)), dotted(remote_address("lo")));
}

TEST_F(WanTest, NameServersAreTheResolvers) {
  has_interface("wan0", {{"carrier", "1"}});
  has_default_route("wan0");
  EXPECT_EQ(get("GetWANDNSServers", ip_path(1)), ",");
  has_file("/etc/resolv.conf",
           "# comment\nsearch example.org\nnameserver 192.0.2.1\n;nameserver 192.0.2.9\n"
           "options edns0\n nameserver\t2001:db8::53 \nnameserver 192.0.2.3\n");
  EXPECT_EQ(get("GetWANDNSServers", ip_path(1)), "192.0.2.1,2001:db8::53");
  has_file("/etc/resolv.conf", "nameserver 192.0.2.1");
  EXPECT_EQ(get("GetWANDNSServers", ip_path(1)), "192.0.2.1,");
}

TEST_F(WanTest, CountersAreTheInterfacesLower32Bits) {
  has_interface("wan0", {{"statistics/tx_packets", "101"},
                         {"statistics/rx_packets", "4294967298"},
                         {"statistics/rx_errors", "4294967295"}});
  has_default_route("wan0");
  EXPECT_EQ(get("GetWANPacketsSent", ip_path(1)), "101");
  EXPECT_EQ(get("GetWANPacketsReceived", ip_path(1)), "2");
  EXPECT_EQ(get("GetWANEthernetErrorsReceived", ip_path(1)), "-1");
}

TEST_F(WanTest, LeaseTimeIsThatOfTheAddressInUse) {
  ASSERT_NE(own_address("lo"), 0U);
  has_interface("lo");
  has_default_route("lo");
  EXPECT_EQ(get("GetWANLeaseTime", ip_path(1)), "code -100");
  const auto lease = [](const std::string& address) {
    return "lease {\n interface \"lo\";\n fixed-address " + address +
           ";\n option dhcp-lease-time 4294967295;\n}\n";
  };
  has_file("/var/lib/dhcp/dhclient.leases", lease("203.0.113.7"));
  EXPECT_EQ(get("GetWANLeaseTime", ip_path(1)), "code -100");
  has_file("/var/lib/dhcp/dhclient.leases", lease(dotted(own_address("lo"))));
  EXPECT_EQ(get("GetWANLeaseTime", ip_path(1)), "4294967295");
}

TEST_F(WanTest, UpTimeIsNotTold) {
  has_interface("wan0", {{"carrier", "1"}});
  has_default_route("wan0");
  has_file("/proc/uptime", "100.0 100.0\n");
  EXPECT_EQ(get("GetWANUpTime", ip_path(1)), "code -100");
}

TEST_F(WanTest, MacAddressIsTheInterfaces) {
  has_interface("wan0", {{"address", "00:aa:bb:cc:dd:ee"}});
  has_interface("wan1", {{"type", "65534"}, {"address", ""}});
  has_default_route("wan0");
  has_default_route("wan1");
  EXPECT_EQ(get("GetWANMACAddress", ip_path(1)), "00:aa:bb:cc:dd:ee");
  EXPECT_EQ(get("GetWANMACAddress", ip_path(2)), "");
}

// --- PPP sessions ---

class PppTest : public WanTest {
 protected:
  void SetUp() override {
    WanTest::SetUp();
    has_interface("eth1", {{"address", "00:aa:bb:cc:dd:ee"}});
    has_interface("ppp0", {{"type", "512"}, {"carrier", "1"}});
    has_default_route("ppp0");
  }

  static void has_sessions(const std::string& rows) {
    has_file("/proc/net/pppoe", "Id       Address              Device\n" + rows);
  }

  /// A row of the kernel, which lists the identifier in the byte order of the wire.
  static std::string session(unsigned id, const std::string& carrier) {
    char listed[16];
    std::snprintf(listed, sizeof listed, "%08X",
                  static_cast<unsigned>(htons(static_cast<std::uint16_t>(id))));
    return std::string{listed} + " 02:00:00:00:00:01     " + carrier + "\n";
  }
};

TEST_F(PppTest, ASingleSessionIsTheConnections) {
  has_sessions(session(4711, "eth1"));
  EXPECT_EQ(get("GetWANPPPoESessionID", ppp_path(1)), "4711");
  EXPECT_EQ(get("GetWANMACAddress", ppp_path(1)), "00:aa:bb:cc:dd:ee");
}

TEST_F(PppTest, WithoutSessionsThereIsNone) {
  EXPECT_EQ(get("GetWANPPPoESessionID", ppp_path(1)), "");
  has_sessions("");
  EXPECT_EQ(get("GetWANPPPoESessionID", ppp_path(1)), "");
  EXPECT_EQ(get("GetWANMACAddress", ppp_path(1)), "");
}

TEST_F(PppTest, OfSeveralSessionsNoneIsKnownToBeTheConnections) {
  has_sessions(session(1, "eth1") + session(2, "eth1"));
  EXPECT_EQ(get("GetWANPPPoESessionID", ppp_path(1)), "");
}

TEST_F(PppTest, OfSeveralConnectionsNoneIsKnownToHaveTheSession) {
  has_interface("ppp1", {{"type", "512"}, {"carrier", "1"}});
  has_default_route("ppp1");
  has_sessions(session(4711, "eth1"));
  EXPECT_EQ(get("GetWANPPPoESessionID", ppp_path(1)), "");
  EXPECT_EQ(get("GetWANPPPoESessionID", ppp_path(2)), "");
}

TEST_F(PppTest, RowsThatAreNoSessionsArePassedOver) {
  has_sessions("\nnonsense\n0001\nFFFFFFFF 02:00:00:00:00:01 eth1\n" + session(65535, "eth1"));
  EXPECT_EQ(get("GetWANPPPoESessionID", ppp_path(1)), "65535");
}

}  // namespace
}  // namespace gwconf::test
