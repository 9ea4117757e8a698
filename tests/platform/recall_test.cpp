#include "platform/recall.h"

#include <array>
#include <optional>
#include <string>
#include <sys/sysinfo.h>

#include <gtest/gtest.h>

#include "core/paths.h"
#include "platform/ethernet_statistics.h"
#include "tests/support/sandbox.h"

namespace {

/// What the kernel tells; none when it tells nothing.
std::optional<long> kernel_uptime;

}  // namespace

extern "C" int __wrap_sysinfo(struct sysinfo* system) {
  if (!kernel_uptime) return -1;
  system->uptime = *kernel_uptime;
  return 0;
}

namespace gwconf {
namespace {

std::uint32_t now = 0;
std::string ran;

std::uint32_t clock() {
  return now;
}

/// Two rows that note their runs as 'a' (every 5 seconds) and 'b' (every 7).
class RecallTest : public ::testing::Test {
 protected:
  void SetUp() override {
    now = 0;
    ran.clear();
  }

  std::string scan_at(std::uint32_t second) {
    now = second;
    ran.clear();
    schedule_.scan();
    return ran;
  }

  std::array<RecallRow, 3> rows_{{
      {[] { ran += 'a'; }, 5, 0},
      {[] { ran += 'b'; }, 7, 0},
      {nullptr, 0, 0},
  }};
  RecallSchedule schedule_{rows_.data(), clock};
};

TEST_F(RecallTest, TheFirstScanRunsNothingAndStartsThePeriods) {
  EXPECT_EQ(scan_at(100), "");
  EXPECT_EQ(rows_[0].remaining, 5);
  EXPECT_EQ(rows_[1].remaining, 7);
}

TEST_F(RecallTest, ARowRunsWhenItsPeriodHasPassed) {
  scan_at(100);
  EXPECT_EQ(scan_at(104), "");
  EXPECT_EQ(rows_[0].remaining, 1);
  EXPECT_EQ(scan_at(105), "a");
  EXPECT_EQ(rows_[0].remaining, 5);
  EXPECT_EQ(rows_[1].remaining, 2);
  EXPECT_EQ(scan_at(107), "b");
  EXPECT_EQ(scan_at(110), "a");
}

TEST_F(RecallTest, ALongPauseRunsEachDueRowOnceInOrder) {
  scan_at(100);
  EXPECT_EQ(scan_at(1000), "ab");
  EXPECT_EQ(rows_[0].remaining, 5);
  EXPECT_EQ(rows_[1].remaining, 7);
}

TEST_F(RecallTest, ASecondScanInTheSameSecondDoesNothing) {
  scan_at(100);
  EXPECT_EQ(scan_at(105), "a");
  rows_[0].remaining = 0;
  EXPECT_EQ(scan_at(105), "");
  EXPECT_EQ(rows_[0].remaining, 0);
  EXPECT_EQ(scan_at(106), "a");
}

TEST_F(RecallTest, TheFirstScansOwnSecondCountsAsScanned) {
  scan_at(100);
  EXPECT_EQ(scan_at(100), "");
  EXPECT_EQ(rows_[0].remaining, 5);
}

TEST_F(RecallTest, AClockThatWentBackDoesNothing) {
  scan_at(100);
  EXPECT_EQ(scan_at(99), "");
  EXPECT_EQ(scan_at(3), "");
  EXPECT_EQ(scan_at(105), "a");
}

TEST_F(RecallTest, UptimeZeroLeavesTheScheduleUnstarted) {
  EXPECT_EQ(scan_at(0), "");
  EXPECT_EQ(scan_at(50), "");
  EXPECT_EQ(scan_at(55), "a");
}

TEST_F(RecallTest, TimeBeyond31BitsStillElapses) {
  scan_at(1);
  EXPECT_EQ(scan_at(0xfffffff0U), "ab");
}

TEST(RecallTable, RefreshesTheEthernetStatisticsEveryFiveSeconds) {
  EXPECT_EQ(platform_fn_recall_tab[0].refresh, &refresh_ethernet_statistics);
  EXPECT_EQ(platform_fn_recall_tab[0].period, 5);
  EXPECT_EQ(platform_fn_recall_tab[0].remaining, 0);
  EXPECT_EQ(platform_fn_recall_tab[1].refresh, nullptr);
  EXPECT_EQ(platform_fn_recall_tab[1].period, 0);
  EXPECT_EQ(platform_fn_recall_tab[1].remaining, 0);
}

TEST(SystemUptime, IsTheKernelsInWholeSeconds) {
  kernel_uptime = 86461;
  EXPECT_EQ(system_uptime(), 86461U);
}

TEST(SystemUptime, IsZeroWhenTheKernelDoesNotTell) {
  kernel_uptime = std::nullopt;
  EXPECT_EQ(system_uptime(), 0U);
}

TEST(RecallTable, TheFirstRequestRefreshesNothingAndOneFiveSecondsLaterDoes) {
  test::clear_sandbox();
  test::write_file(paths().proc_net_dev,
                   "Inter-|   Receive\n face |bytes\neth0: 1 2 0 0 0 0 0 0 3 4 0 0 0 0 0 0\n");
  ethernet_statistics = {};
  const auto packets_after_request_at = [](long second) {
    kernel_uptime = second;
    scan_recall_func_table();
    return ethernet_statistics.packets_sent;
  };
  EXPECT_EQ(packets_after_request_at(100), 0U);
  EXPECT_EQ(packets_after_request_at(104), 0U);
  EXPECT_EQ(packets_after_request_at(105), 4U);
  ethernet_statistics.packets_sent = 0;
  EXPECT_EQ(packets_after_request_at(105), 0U);
  EXPECT_EQ(packets_after_request_at(109), 0U);
  EXPECT_EQ(packets_after_request_at(110), 4U);
  platform_fn_recall_tab[0].remaining = 0;  // as built
}

}  // namespace
}  // namespace gwconf
