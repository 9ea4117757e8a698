#include "platform/linux/address.h"

#include <cstdint>
#include <cstring>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <string>

#include <gtest/gtest.h>

namespace gwconf::test {
namespace {

std::uint32_t of(const sockaddr* address) {
  sockaddr_in inet;
  std::memcpy(&inet, address, sizeof inet);
  return inet.sin_addr.s_addr;
}

TEST(AddressTest, AreThoseOfThisMachinesInterfaces) {
  ifaddrs* list = nullptr;
  ASSERT_EQ(getifaddrs(&list), 0);
  int compared = 0;
  std::string before;
  for (const ifaddrs* entry = list; entry; entry = entry->ifa_next) {
    if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET) continue;
    if (before == entry->ifa_name) continue;  // further addresses of the same interface
    before = entry->ifa_name;
    EXPECT_EQ(own_address(entry->ifa_name), of(entry->ifa_addr)) << before;
    EXPECT_EQ(network_mask(entry->ifa_name), of(entry->ifa_netmask)) << before;
    ++compared;
  }
  freeifaddrs(list);
  EXPECT_GT(compared, 0);
}

TEST(AddressTest, AreNoneWithoutInterface) {
  for (const char* name : {"no-such-if", "", "a-name-far-beyond-the-kernels-room"}) {
    EXPECT_EQ(own_address(name), 0U) << name;
    EXPECT_EQ(network_mask(name), 0U) << name;
    EXPECT_EQ(remote_address(name), 0U) << name;
  }
}

}  // namespace
}  // namespace gwconf::test
