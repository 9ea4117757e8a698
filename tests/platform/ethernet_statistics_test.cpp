#include "platform/ethernet_statistics.h"

#include <string>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "core/paths.h"
#include "tests/support/sandbox.h"

namespace gwconf {
namespace {

const std::string kHeadings =
    "Inter-|   Receive                                                |  Transmit\n"
    " face |bytes    packets errs drop fifo frame compressed multicast|bytes    packets errs drop "
    "fifo colls carrier compressed\n";

class EthernetStatisticsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    test::clear_sandbox();
    ethernet_statistics = {};
  }

  void refresh(const std::string& rows) {
    test::write_file(paths().proc_net_dev, kHeadings + rows);
    refresh_ethernet_statistics();
  }

  static std::string name() { return ethernet_statistics.interface; }
};

TEST_F(EthernetStatisticsTest, ReadsEveryColumnIntoItsPlace) {
  refresh("  eth0: 101 102 103 104 105 106 107 108 109 110 111 112 113 114 115 116\n");
  EXPECT_EQ(name(), "eth0");
  const EthernetStatistics& record = ethernet_statistics;
  EXPECT_EQ(record.bytes_received, 101U);
  EXPECT_EQ(record.packets_received, 102U);
  EXPECT_EQ(record.receive_errors, 103U);
  EXPECT_EQ(record.receive_drops, 104U);
  EXPECT_EQ(record.receive_fifo_errors, 105U);
  EXPECT_EQ(record.receive_frame_errors, 106U);
  EXPECT_EQ(record.compressed_received, 107U);
  EXPECT_EQ(record.multicast_received, 108U);
  EXPECT_EQ(record.bytes_sent, 109U);
  EXPECT_EQ(record.packets_sent, 110U);
  EXPECT_EQ(record.send_errors, 111U);
  EXPECT_EQ(record.send_drops, 112U);
  EXPECT_EQ(record.send_fifo_errors, 113U);
  EXPECT_EQ(record.collisions, 114U);
  EXPECT_EQ(record.send_carrier_errors, 115U);
  EXPECT_EQ(record.compressed_sent, 116U);
  EXPECT_EQ(record.multicast_sent, 0U);
}

TEST_F(EthernetStatisticsTest, NumbersMayFollowTheColonAtOnce) {
  refresh("eth0:1234 7 0 0 0 0 0 0 9 5 0 0 0 0 0 0\n");
  EXPECT_EQ(name(), "eth0");
  EXPECT_EQ(ethernet_statistics.bytes_received, 1234U);
  EXPECT_EQ(ethernet_statistics.packets_received, 7U);
}

TEST_F(EthernetStatisticsTest, TheNameOfAnAliasIsTakenWhole) {
  refresh("eth0:1: 11 12 0 0 0 0 0 0 9 5 0 0 0 0 0 0\n");
  EXPECT_EQ(name(), "eth0:1");
  EXPECT_EQ(ethernet_statistics.bytes_received, 11U);
  EXPECT_EQ(ethernet_statistics.packets_received, 12U);
}

TEST_F(EthernetStatisticsTest, AnAliasWithoutDigitsIsNone) {
  refresh("eth0:: 11 12 0 0 0 0 0 0 9 5 0 0 0 0 0 0\n");
  EXPECT_EQ(name(), "eth0");
  EXPECT_EQ(ethernet_statistics.bytes_received, 0U);
}

TEST_F(EthernetStatisticsTest, FollowsTheFirstInterfaceAndLeavesOthersAlone) {
  const std::string rows =
      "    lo: 1 2 0 0 0 0 0 0 3 4 0 0 0 0 0 0\n"
      "  eth0: 5 6 0 0 0 0 0 0 7 8 0 0 0 0 0 0\n";
  refresh(rows);
  EXPECT_EQ(name(), "lo");
  EXPECT_EQ(ethernet_statistics.packets_sent, 4U);
  refresh(rows);
  EXPECT_EQ(name(), "lo");
}

TEST_F(EthernetStatisticsTest, ALaterLineThatContainsTheNameRenamesTheRecord) {
  refresh(
      "  eth0: 1 2 0 0 0 0 0 0 3 4 0 0 0 0 0 0\n"
      "eth0.10: 5 6 0 0 0 0 0 0 7 8 0 0 0 0 0 0\n"
      "  eth0: 9 9 0 0 0 0 0 0 9 9 0 0 0 0 0 0\n");
  EXPECT_EQ(name(), "eth0.10");
  EXPECT_EQ(ethernet_statistics.packets_sent, 8U);
}

TEST_F(EthernetStatisticsTest, TheNameMatchesAnywhereInTheLine) {
  refresh("1: 1 2 0 0 0 0 0 0 3 4 0 0 0 0 0 0\n");
  refresh("wan: 5 6 0 0 0 0 0 0 7 81 0 0 0 0 0 0\n");
  EXPECT_EQ(name(), "wan");
  EXPECT_EQ(ethernet_statistics.packets_sent, 81U);
}

TEST_F(EthernetStatisticsTest, AnInterfaceThatVanishedKeepsItsLastValues) {
  refresh("eth0: 1 2 0 0 0 0 0 0 3 4 0 0 0 0 0 0\n");
  refresh("wan: 5 6 0 0 0 0 0 0 7 8 0 0 0 0 0 0\n");
  EXPECT_EQ(name(), "eth0");
  EXPECT_EQ(ethernet_statistics.packets_sent, 4U);
}

TEST_F(EthernetStatisticsTest, ALongNameIsCutToSevenCharactersAndStillFound) {
  refresh("wlp0s20f3: 1 2 0 0 0 0 0 0 3 4 0 0 0 0 0 0\n");
  EXPECT_EQ(name(), "wlp0s20");
  refresh("wlp0s20f3: 1 2 0 0 0 0 0 0 3 9 0 0 0 0 0 0\n");
  EXPECT_EQ(ethernet_statistics.packets_sent, 9U);
}

TEST_F(EthernetStatisticsTest, CountersPast32BitsWrap) {
  refresh("eth0: 4294967295 4294967296 4294967303 0 0 0 0 0 18446744073709551615 0 0 0 0 0 0 0\n");
  EXPECT_EQ(ethernet_statistics.bytes_received, 4294967295U);
  EXPECT_EQ(ethernet_statistics.packets_received, 0U);
  EXPECT_EQ(ethernet_statistics.receive_errors, 7U);
  EXPECT_EQ(ethernet_statistics.bytes_sent, 4294967295U);
}

TEST_F(EthernetStatisticsTest, MissingColumnsKeepWhatTheyHad) {
  refresh("eth0: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n");
  refresh("eth0: 21 22 none\n");
  EXPECT_EQ(ethernet_statistics.bytes_received, 21U);
  EXPECT_EQ(ethernet_statistics.packets_received, 22U);
  EXPECT_EQ(ethernet_statistics.receive_errors, 3U);
  EXPECT_EQ(ethernet_statistics.packets_sent, 10U);
}

TEST_F(EthernetStatisticsTest, LinesThatAreNoInterfacesArePassedOver) {
  refresh(
      "\n\x01\xff garbage without an end of a name\n   \neth0: 1 2 0 0 0 0 0 0 3 4 0 0 0 0 0 0");
  EXPECT_EQ(name(), "eth0");
  EXPECT_EQ(ethernet_statistics.packets_sent, 4U);
}

TEST_F(EthernetStatisticsTest, TheRestOfALineLongerThanTheBufferIsNoLineOfItsOwn) {
  const std::string padding(300, ' ');
  refresh("eth0: 1 2 0 0 0 0 0 0 3 4" + padding + "ghost: 9 9 9 9 9 9 9 9 9 9 9 9 9 9 9 9\n" +
          "eth0: 5 6 0 0 0 0 0 0 7 8 0 0 0 0 0 0\n");
  EXPECT_EQ(name(), "eth0");
  EXPECT_EQ(ethernet_statistics.packets_sent, 8U);
}

TEST_F(EthernetStatisticsTest, ALongLineIsReadAsFarAsTheBufferHoldsIt) {
  refresh("eth0: 1 2 0 0 0 0 0 0 3 4" + std::string(300, ' ') + "5\n");
  EXPECT_EQ(ethernet_statistics.packets_sent, 4U);
  EXPECT_EQ(ethernet_statistics.send_errors, 0U);
}

TEST_F(EthernetStatisticsTest, WithoutTheTableTheRecordKeepsItsValues) {
  refresh("eth0: 1 2 0 0 0 0 0 0 3 4 0 0 0 0 0 0\n");
  test::clear_sandbox();
  refresh_ethernet_statistics();
  EXPECT_EQ(name(), "eth0");
  EXPECT_EQ(ethernet_statistics.packets_sent, 4U);
}

TEST_F(EthernetStatisticsTest, ATableOfHeadingsOnlyChangesNothing) {
  refresh("");
  EXPECT_EQ(name(), "");
  const std::string row = "eth0: 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16\n";
  test::write_file(paths().proc_net_dev, row + row);
  refresh_ethernet_statistics();
  EXPECT_EQ(name(), "");
}

TEST_F(EthernetStatisticsTest, APipeInTheTablesPlaceDoesNotBlock) {
  test::write_file(paths().proc_net_dev, "");
  std::remove(paths().proc_net_dev);
  ASSERT_EQ(mkfifo(paths().proc_net_dev, 0600), 0);
  refresh_ethernet_statistics();
  EXPECT_EQ(name(), "");
}

}  // namespace
}  // namespace gwconf
