#include "platform/linux/interfaces.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/platform_linux/linux_machine.h"

namespace gwconf::test {
namespace {

std::string listed(const InterfaceList& list) {
  std::string names;
  for (std::int64_t index = 0; const char* name = list.at(index); ++index)
    names += std::string{names.empty() ? "" : " "} + name;
  return names;
}

TEST(InterfaceListTest, KeepsNamesOnceInTheirNaturalOrder) {
  InterfaceList list;
  for (const char* name : {"lan10", "lan2", "eth0", "lan1", "lan2", "wan"})
    list.insert(name);
  EXPECT_EQ(listed(list), "eth0 lan1 lan2 lan10 wan");
  EXPECT_EQ(list.size(), 5U);
  EXPECT_TRUE(list.contains("lan10"));
  EXPECT_FALSE(list.contains("lan"));
}

TEST(InterfaceListTest, HasNoneOutsideItsRange) {
  InterfaceList list;
  EXPECT_EQ(list.at(0), nullptr);
  list.insert("eth0");
  EXPECT_STREQ(list.at(0), "eth0");
  for (const std::int64_t outside : std::vector<std::int64_t>{1, -1, INT64_MAX, INT64_MIN})
    EXPECT_EQ(list.at(outside), nullptr) << outside;
}

TEST(InterfaceListTest, AFullListKeepsTheFirstNames) {
  InterfaceList list;
  for (int number = 40; number > 0; --number)
    list.insert(("if" + std::to_string(number)).c_str());
  list.insert("if41");
  list.insert("if5");
  EXPECT_EQ(list.size(), InterfaceList::kCapacity);
  EXPECT_STREQ(list.at(0), "if1");
  EXPECT_STREQ(list.at(31), "if32");
}

class InterfacesTest : public LinuxMachine {};

TEST_F(InterfacesTest, DefaultRoutesAreThoseOfTheWholeNetworkThatAreUp) {
  has_default_route("wan1", as_routed("203.0.113.1"));
  has_default_route("wan0", as_routed("198.51.100.1"));
  has_route("lan0\t0000A8C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0");
  has_route("half\t00000000\t00000000\t0003\t0\t0\t0\t00000080\t0\t0\t0");
  has_route("down\t00000000\t00000000\t0002\t0\t0\t0\t00000000\t0\t0\t0");
  has_route("reject\t00000000\t00000000\t0201\t0\t0\t0\t00000000\t0\t0\t0");
  EXPECT_EQ(listed(default_route_interfaces()), "wan0 wan1");
  EXPECT_EQ(default_gateway("wan1"), inet_addr("203.0.113.1"));
  EXPECT_EQ(default_gateway("wan0"), inet_addr("198.51.100.1"));
  EXPECT_EQ(default_gateway("lan0"), 0U);
}

TEST_F(InterfacesTest, TheFirstOfTwoGatewaysCounts) {
  has_default_route("wan0", as_routed("198.51.100.1"));
  has_default_route("wan0", as_routed("198.51.100.2"));
  EXPECT_EQ(listed(default_route_interfaces()), "wan0");
  EXPECT_EQ(default_gateway("wan0"), inet_addr("198.51.100.1"));
}

TEST_F(InterfacesTest, WithoutRoutingTableThereIsNoDefaultRoute) {
  EXPECT_EQ(listed(default_route_interfaces()), "");
}

TEST_F(InterfacesTest, RowsThatAreNoRoutesArePassedOver) {
  has_route("");
  has_route("wan0");
  has_route("wan0\t00000000");
  has_route("wan0\tzero\t0\t0003\t0\t0\t0\t00000000");
  has_route("../../etc\t00000000\t0\t0003\t0\t0\t0\t00000000");
  has_route("a-name-beyond-the-kernels\t00000000\t0\t0003\t0\t0\t0\t00000000");
  has_route("..\t00000000\t0\t0003\t0\t0\t0\t00000000");
  EXPECT_EQ(listed(default_route_interfaces()), "");
  has_route("wan9\t00000000\t0\t0003\t0\t0\t0\t00000000");
  EXPECT_EQ(listed(default_route_interfaces()), "wan9");
}

TEST_F(InterfacesTest, LanPortsArePhysicalEthernetWithoutDefaultRoute) {
  has_interface("lo", {{"type", "772"}});
  has_interface("lan2");
  has_interface("lan1");
  has_interface("eth0", {{"dsa/tagging", "brcm"}});
  has_interface("wan");
  has_interface("wlan0", {{"wireless", ""}});
  has_interface("wlan1", {{"phy80211", ""}});
  has_interface("br-lan", {{"virtual", ""}});
  has_interface("ppp0", {{"type", "512"}});
  has_default_route("wan");
  EXPECT_EQ(listed(lan_ports()), "lan1 lan2");
}

TEST_F(InterfacesTest, WirelessInterfacesAreTheKernelsInBothWays) {
  has_interface("eth0");
  has_interface("wlan1", {{"phy80211", ""}});
  has_interface("wlan0", {{"wireless", ""}});
  EXPECT_EQ(listed(wireless_interfaces()), "wlan0 wlan1");
  has_file("/proc/net/wireless",
           "Inter-| sta-|   Quality        |   Discarded packets\n"
           " face | tus | link level noise |  nwid  crypt   frag  retry   misc\n"
           " ath0: 0000   70.  -40.  -256        0      0      0      0      0        0\n"
           " wlan0: 0000   70.  -40.  -256        0      0      0      0      0        0\n");
  EXPECT_EQ(listed(wireless_interfaces()), "ath0 wlan0 wlan1");
}

TEST_F(InterfacesTest, AttributesAreFirstLines) {
  char text[32] = "old";
  has_interface("eth0", {{"address", "00:11:22:33:44:55\nmore"}});
  EXPECT_TRUE(read_attribute("eth0", "address", text));
  EXPECT_STREQ(text, "00:11:22:33:44:55");
  EXPECT_FALSE(read_attribute("eth0", "missing", text));
  EXPECT_STREQ(text, "");
  EXPECT_FALSE(read_attribute("eth0", "device", text));
  char small[6];
  EXPECT_TRUE(read_attribute("eth0", "address", small));
  EXPECT_STREQ(small, "00:11");
}

TEST_F(InterfacesTest, CountersHave64BitsOrAreZero) {
  has_interface("eth0", {{"statistics/rx_errors", "18446744073709551615"},
                         {"statistics/tx_errors", "many"},
                         {"statistics/rx_dropped", "99999999999999999999999999"}});
  EXPECT_EQ(read_counter("eth0", "statistics/rx_errors"), UINT64_MAX);
  EXPECT_EQ(read_counter("eth0", "statistics/tx_errors"), 0U);
  EXPECT_EQ(read_counter("eth0", "statistics/rx_dropped"), 0U);
  EXPECT_EQ(read_counter("eth0", "statistics/missing"), 0U);
}

TEST_F(InterfacesTest, CarrierAndKind) {
  has_interface("up", {{"carrier", "1"}});
  has_interface("down", {{"carrier", "0"}});
  has_interface("off");
  has_interface("ppp0", {{"type", "512"}});
  EXPECT_TRUE(has_carrier("up"));
  EXPECT_FALSE(has_carrier("down"));
  EXPECT_FALSE(has_carrier("off"));
  EXPECT_TRUE(is_ppp("ppp0"));
  EXPECT_FALSE(is_ppp("up"));
}

TEST_F(InterfacesTest, ThisMachinesInterfacesAreRead) {
  shows_real("/proc/net/dev");
  shows_real("/sys");
  // The loopback interface is there on every machine.
  EXPECT_EQ(read_counter("lo", "type"), 772U);
  EXPECT_FALSE(lan_ports().contains("lo"));
  EXPECT_FALSE(wireless_interfaces().contains("lo"));
}

}  // namespace
}  // namespace gwconf::test
