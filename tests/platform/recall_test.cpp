#include "platform/recall.h"

#include <array>
#include <string>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/ethernet_statistics.h"

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

TEST(RecallTable, TheProcessWideScanStartsItsPeriodOnTheSystemsClock) {
  struct sysinfo system = {};
  ASSERT_EQ(sysinfo(&system), 0);
  EXPECT_GE(system_uptime(), static_cast<std::uint32_t>(system.uptime));
  EXPECT_LE(system_uptime(), static_cast<std::uint32_t>(system.uptime) + 2);

  auto& row = platform_fn_recall_tab[0];
  const RecallRow as_built = row;
  row.refresh = [] { ran += 'r'; };
  ran.clear();
  scan_recall_func_table();
  EXPECT_EQ(ran, "");
  EXPECT_EQ(row.remaining, 5);

  // Due at the next scan that a later second allows.
  row.remaining = 0;
  const std::uint32_t scanned_by = system_uptime();
  scan_recall_func_table();
  while (system_uptime() <= scanned_by)
    usleep(10'000);
  scan_recall_func_table();
  EXPECT_EQ(ran, "r");
  row = as_built;
}

}  // namespace
}  // namespace gwconf
