#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>
#include <sys/sysinfo.h>

#include <gtest/gtest.h>

#include "core/number.h"
#include "core/paths.h"
#include "platform/getters.h"
#include "platform/line_reader.h"
#include "platform/services.h"
#include "tests/platform_linux/linux_machine.h"
#include "tests/support/sandbox.h"

namespace gwconf::test {
namespace {

class SystemTest : public LinuxMachine {
 protected:
  static std::string get(const char* name) {
    char out[64] = "old";
    EXPECT_EQ(CM_platform_fn_init(name)->getter("A.B", out, sizeof out), CM_OK);
    return out;
  }
};

// --- Up time and memory are this machine's ---

TEST_F(SystemTest, UpTimeIsTheKernels) {
  shows_real("/proc/uptime");
  LineReader<128> before{paths().proc_uptime};
  ASSERT_TRUE(before.next());
  const int earliest = to_number(before.line());
  const int told = to_number(get("GetSysUpTime"));
  LineReader<128> after{paths().proc_uptime};
  ASSERT_TRUE(after.next());
  EXPECT_GT(earliest, 0);
  EXPECT_GE(told, earliest);
  EXPECT_LE(told, to_number(after.line()) + 1);
}

TEST_F(SystemTest, MemoryIsTheKernels) {
  shows_real("/proc/meminfo");
  std::ifstream kernel{"/proc/meminfo"};
  std::string label;
  std::string total;
  kernel >> label >> total;
  ASSERT_EQ(label, "MemTotal:");
  EXPECT_EQ(get("GetTotalRAM"), total);
  const int free_memory = to_number(get("GetFreeRAM"));
  EXPECT_GT(free_memory, 0);
  EXPECT_LT(free_memory, to_number(get("GetTotalRAM")));
}

// --- Time ---

class TimeTest : public SystemTest, public ::testing::WithParamInterface<const char*> {
 protected:
  void TearDown() override {
    unsetenv("TZ");
    tzset();
  }
};

TEST_P(TimeTest, IsTheLocalTimeWithItsDistanceFromUtc) {
  const std::string parameter = GetParam();
  const std::string zone = parameter.substr(0, parameter.find(' '));
  const std::string distance = parameter.substr(parameter.find(' ') + 1);
  setenv("TZ", zone.c_str(), 1);

  const std::time_t earliest = std::time(nullptr);
  const std::string told = get("get_ntp_time");
  const std::time_t latest = std::time(nullptr);

  ASSERT_EQ(told.size(), 25U);
  EXPECT_EQ(told.substr(19), distance);
  std::tm local = {};
  ASSERT_STREQ(strptime(told.c_str(), "%Y-%m-%dT%H:%M:%S", &local), distance.c_str());
  int hours = 0;
  int minutes = 0;
  ASSERT_EQ(std::sscanf(distance.c_str() + 1, "%d:%d", &hours, &minutes), 2);
  const std::time_t east = (hours * 60 + minutes) * 60 * (distance[0] == '-' ? -1 : 1);
  EXPECT_GE(timegm(&local) - east, earliest);
  EXPECT_LE(timegm(&local) - east, latest);
}

INSTANTIATE_TEST_SUITE_P(Zones, TimeTest,
                         ::testing::Values("UTC0 +00:00", "AAA-5:45 +05:45", "BBB3:30 -03:30",
                                           "CCC12 -12:00"));

// --- Processor load ---

class LoadTest : public SystemTest {
 protected:
  void SetUp() override {
    SystemTest::SetUp();
    // A count that went backwards starts anew, so that no test sees the one before.
    kernel_counts("0 0 0 0 0 0 0 0 0 0");
    sal_get_cpu_utilization(1);
    kernel_counts("1 0 0 1 0 0 0 0 0 0");
    sal_get_cpu_utilization(1);
  }

  static void kernel_counts(const std::string& times) {
    has_file("/proc/stat", "cpu  " + times + "\ncpu0 9 9 9 9 9 9 9 9 9 9\nintr 5\n");
  }
};

TEST_F(LoadTest, IsWhatWasNotIdleSinceTheLastCall) {
  kernel_counts("11 0 0 31 0 0 0 0 0 0");
  EXPECT_EQ(sal_get_cpu_utilization(1), 25.0);
  kernel_counts("12 0 0 130 0 0 0 0 0 0");
  EXPECT_EQ(get("GetCPUUtilization"), " 1.00%");
  kernel_counts("112 0 0 130 0 0 0 0 0 0");
  EXPECT_EQ(get("GetCPUUtilization"), "100.00%");
}

TEST_F(LoadTest, CountsEveryKindOfWorkAndWaitingAsIdle) {
  kernel_counts("2 1 1 5 5 1 1 1 0 0");  // of 15 ticks 9 idle
  EXPECT_EQ(sal_get_cpu_utilization(1), 40.0);
}

TEST_F(LoadTest, GuestsAreCountedOnce) {
  kernel_counts("6 0 0 6 0 0 0 0 5 5");
  EXPECT_EQ(sal_get_cpu_utilization(1), 50.0);
}

TEST_F(LoadTest, WithinOneTickItIsTheLastLoad) {
  kernel_counts("11 0 0 31 0 0 0 0 0 0");
  EXPECT_EQ(sal_get_cpu_utilization(1), 25.0);
  EXPECT_EQ(sal_get_cpu_utilization(1), 25.0);
}

TEST_F(LoadTest, ACountThatWentBackwardsStartsAnew) {
  kernel_counts("500 0 0 500 0 0 0 0 0 0");
  sal_get_cpu_utilization(1);
  kernel_counts("10 0 0 30 0 0 0 0 0 0");
  EXPECT_EQ(sal_get_cpu_utilization(1), 25.0);
}

TEST_F(LoadTest, WaitingThatRanBackwardsStartsNothingAnew) {
  kernel_counts("10 0 0 5 5 0 0 0 0 0");
  sal_get_cpu_utilization(1);
  kernel_counts("20 0 0 5 4 0 0 0 0 0");
  EXPECT_EQ(sal_get_cpu_utilization(1), 100.0);
}

TEST_F(LoadTest, OldKernelsTellFewerKinds) {
  kernel_counts("4 0 0 2");
  EXPECT_EQ(sal_get_cpu_utilization(1), 75.0);
}

TEST_F(LoadTest, IsNotToldWithoutTheKernelsCount) {
  char out[64];
  for (const char* content :
       {"", "garbage\n", "cpu  1 2 3\n", "cpu0 1 2 3 4 5\n", "cpu  a b c d\n"}) {
    has_file("/proc/stat", content);
    EXPECT_EQ(sal_get_cpu_utilization(1), -1.0) << content;
    EXPECT_EQ(CM_platform_fn_init("GetCPUUtilization")->getter("A.B", out, sizeof out), CM_INVALID);
  }
  clear_sandbox();
  EXPECT_EQ(sal_get_cpu_utilization(1), -1.0);
}

TEST_F(LoadTest, OfThisMachineIsAPercentage) {
  clear_sandbox();
  shows_real("/proc/stat");
  for (int call = 0; call < 3; ++call) {
    const double load = sal_get_cpu_utilization(1);
    EXPECT_GE(load, 0.0);
    EXPECT_LE(load, 100.0);
  }
}

}  // namespace
}  // namespace gwconf::test
