#include "platform/linux/leases.h"

#include <arpa/inet.h>
#include <string>

#include <gtest/gtest.h>

#include "tests/platform_linux/linux_machine.h"

namespace gwconf::test {
namespace {

class LeasesTest : public LinuxMachine {
 protected:
  static std::uint32_t seconds(const char* interface = "wan0",
                               const char* address = "203.0.113.7") {
    return lease_seconds(interface, inet_addr(address));
  }
};

std::string dhclient_lease(const std::string& interface, const std::string& address,
                           const std::string& time) {
  return "lease {\n  interface \"" + interface + "\";\n  fixed-address " + address +
         ";\n  option subnet-mask 255.255.255.0;\n  option dhcp-lease-time " + time +
         ";\n  renew 2 2024/01/02 03:04:05;\n}\n";
}

TEST_F(LeasesTest, WithoutNotesThereIsNone) {
  EXPECT_EQ(seconds(), 0U);
}

TEST_F(LeasesTest, DhclientsLastLeaseOfTheAddressCounts) {
  has_file("/var/lib/dhcp/dhclient.wan0.leases",
           "default-duid \"x\";\n" + dhclient_lease("wan0", "203.0.113.7", "600") +
               dhclient_lease("wan0", "203.0.113.7", "86400") +
               dhclient_lease("wan0", "203.0.113.8", "900") +
               dhclient_lease("wan1", "203.0.113.7", "1000"));
  EXPECT_EQ(seconds(), 86400U);
  EXPECT_EQ(seconds("wan0", "203.0.113.8"), 900U);
  EXPECT_EQ(seconds("wan0", "203.0.113.9"), 0U);
  EXPECT_EQ(seconds("wan1"), 0U);
}

TEST_F(LeasesTest, DhclientsCommonFileIsReadToo) {
  has_file("/var/lib/dhcp/dhclient.leases", dhclient_lease("wan1", "203.0.113.7", "1000"));
  EXPECT_EQ(seconds("wan1"), 1000U);
  EXPECT_EQ(seconds("wan0"), 0U);
}

TEST_F(LeasesTest, DhclientsUnfinishedOrStrangeLeasesDoNotCount) {
  for (const std::string& content :
       {std::string{"lease {\n  interface \"wan0\";\n  fixed-address 203.0.113.7;\n"
                    "  option dhcp-lease-time 600;\n"},
        dhclient_lease("wan0", "203.0.113.7", "soon"), dhclient_lease("wan0", "203.0.113.7", "-1"),
        dhclient_lease("wan0", "203.0.113.7", "99999999999"),
        dhclient_lease("wan0", "203.0.113.7.9.9.9.9.9.9", "600"), std::string(100000, '{'),
        std::string("\0\xff;\"", 4)}) {
    has_file("/var/lib/dhcp/dhclient.leases", content);
    EXPECT_EQ(seconds(), 0U) << content.substr(0, 200);
  }
}

TEST_F(LeasesTest, NetworkdsNotesAreUnderTheInterfacesIndex) {
  has_interface("wan0", {{"ifindex", "3"}});
  has_file("/run/systemd/netif/leases/3",
           "# This is private data. Do not parse.\nADDRESS=203.0.113.7\nNETMASK=255.255.255.0\n"
           "LIFETIME=3600\n");
  EXPECT_EQ(seconds(), 3600U);
  EXPECT_EQ(seconds("wan0", "203.0.113.8"), 0U);
  EXPECT_EQ(seconds("wan1"), 0U);
  has_file("/run/systemd/netif/leases/3", "ADDRESS=203.0.113.7\nLIFETIME=1h\n");
  EXPECT_EQ(seconds(), 0U);
  has_file("/run/systemd/netif/leases/3", "ADDRESS=203.0.113.7\n");
  EXPECT_EQ(seconds(), 0U);
}

/// A server's message that leases 203.0.113.7, with these options.
std::string dhcp_message(const std::string& options) {
  std::string message(240, '\0');
  message.replace(0, 4, "\x02\x01\x06\x00", 4);
  message.replace(16, 4, "\xcb\x00\x71\x07", 4);
  message.replace(236, 4, "\x63\x82\x53\x63");
  return message + options;
}

TEST_F(LeasesTest, DhcpcdKeepsTheServersMessage) {
  const std::string options("\x35\x01\x05\x00\x00\x33\x04\x00\x01\x51\x80\xff", 12);
  has_file("/var/lib/dhcpcd/wan0.lease", dhcp_message(options));
  EXPECT_EQ(seconds(), 86400U);
  EXPECT_EQ(seconds("wan0", "203.0.113.8"), 0U);
  EXPECT_EQ(seconds("wan1"), 0U);
}

TEST_F(LeasesTest, ACutOrStrangeMessageHasNoLease) {
  const std::string whole = dhcp_message({"\x33\x04\x00\x01\x51\x80\xff", 7});
  for (std::size_t length = 0; length < whole.size() - 1; ++length) {
    has_file("/var/lib/dhcpcd/wan0.lease", whole.substr(0, length));
    EXPECT_EQ(seconds(), 0U) << length;
  }
  for (const std::string& options :
       {std::string("\xff\x33\x04\x00\x01\x51\x80", 7), std::string("\x33\x02\x00\x01\xff", 5),
        std::string("\x35\xff\x05", 3), std::string(1000, '\0')}) {
    has_file("/var/lib/dhcpcd/wan0.lease", dhcp_message(options));
    EXPECT_EQ(seconds(), 0U);
  }
  std::string no_cookie = whole;
  no_cookie[237] = 'x';
  has_file("/var/lib/dhcpcd/wan0.lease", no_cookie);
  EXPECT_EQ(seconds(), 0U);
}

TEST_F(LeasesTest, NoAddressHasNoLease) {
  has_file("/var/lib/dhcp/dhclient.leases", dhclient_lease("wan0", "0.0.0.0", "600"));
  EXPECT_EQ(seconds("wan0", "0.0.0.0"), 0U);
}

}  // namespace
}  // namespace gwconf::test
