#include <string>

#include <gtest/gtest.h>

#include "platform/getters.h"
#include "platform/services.h"
#include "tests/platform_linux/linux_machine.h"

namespace gwconf::test {
namespace {

class EthernetTest : public LinuxMachine {
 protected:
  void has_two_ports() {
    has_interface("lan2", {{"carrier", "0"}, {"statistics/rx_errors", "4294967298"}});
    has_interface(
        "lan1",
        {{"carrier", "1"}, {"address", "00:11:22:33:44:55"}, {"statistics/rx_errors", "17"}});
    has_interface("wan", {{"carrier", "1"}, {"statistics/rx_errors", "99"}});
    has_default_route("wan");
  }

  static std::string get(const char* name, const std::string& port) {
    char out[64] = "old";
    const std::string path =
        "InternetGatewayDevice.LANDevice.1.LANEthernetInterfaceConfig." + port + ".Value";
    const Status status = CM_platform_fn_init(name)->getter(path.c_str(), out, sizeof out);
    return status == CM_OK ? out : "code " + std::to_string(status);
  }
};

TEST_F(EthernetTest, BothGettersOfAPortReadTheSameInterface) {
  has_two_ports();
  EXPECT_EQ(get("GetELANStatus", "1"), "Up");
  EXPECT_EQ(get("GetELANErrorsReceived", "1"), "17");
  EXPECT_EQ(get("GetELANStatus", "2"), "NoLink");
  EXPECT_EQ(get("GetELANErrorsReceived", "2"), "4294967298");
}

TEST_F(EthernetTest, APortThatIsNotThereHasNoLinkAndNoCounters) {
  has_two_ports();
  for (const char* port : {"3", "0", "-1", "2147483647", "-2147483648"}) {
    EXPECT_EQ(get("GetELANStatus", port), "NoLink") << port;
    EXPECT_EQ(get("GetELANErrorsReceived", port), "code -100") << port;
  }
}

TEST_F(EthernetTest, CountersAreHighWordFirst) {
  has_two_ports();
  uint32_t counters[kEthernetCounterWords] = {};
  EXPECT_EQ(sal_eth_get_counters(2, counters), 0);
  EXPECT_EQ(counters[8], 1U);
  EXPECT_EQ(counters[9], 2U);
}

TEST_F(EthernetTest, TheLansMacAddressIsThatOfTheFirstPort) {
  EXPECT_EQ(get("GetEthMacAddr", "1"), "");
  has_two_ports();
  EXPECT_EQ(get("GetEthMacAddr", "1"), "00:11:22:33:44:55");
}

}  // namespace
}  // namespace gwconf::test
