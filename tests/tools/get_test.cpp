#include <gtest/gtest.h>

#include "tests/tools/gwctl.h"

namespace gwconf::test {
namespace {

class Get : public testing::Test {
 protected:
  Ran run(std::vector<std::string> arguments) { return gwctl(arguments, daemon.socket_path()); }

  Entries entries{
      {"Device.Info.Name", {.value = "gateway", .maximum = 8}},
      {"Device.Info.Count", {.value = "3", .type = GWCONF_TYPE_INT}},
  };
  FakeDaemon daemon{serving(entries)};
};

TEST_F(Get, PrintsTheBareValueOfOneParameter) {
  const Ran ran = run({"get", "Device.Info.Name"});
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(ran.out, "gateway\n");
  EXPECT_EQ(ran.err, "");
}

TEST_F(Get, PrintsAssignmentsForSeveral) {
  const Ran ran = run({"get", "Device.Info.Name", "Device.Info.Count"});
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(ran.out, "Device.Info.Name=gateway\nDevice.Info.Count=3\n");
}

TEST_F(Get, GoesOnBehindARefusedPath) {
  const Ran ran = run({"get", "Device.Nothing", "Device.Info.Name"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.out, "Device.Info.Name=gateway\n");
  EXPECT_EQ(ran.err, "gwctl: get Device.Nothing: 2 (no such object or parameter)\n");
}

TEST_F(Get, PrintsJson) {
  const Ran ran = run({"--json", "get", "Device.Nothing", "Device.Info.Name"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.out, R"([
  {
    "path": "Device.Nothing",
    "code": 2,
    "meaning": "no such object or parameter"
  },
  {
    "path": "Device.Info.Name",
    "value": "gateway"
  }
]
)");
  EXPECT_EQ(ran.err, "gwctl: get Device.Nothing: 2 (no such object or parameter)\n");
}

TEST_F(Get, StopsWhenNobodyIsThere) {
  const Ran ran = gwctl({"get", "Device.A", "Device.B"}, "/tmp/gwconf-nobody");
  EXPECT_EQ(ran.status, 3);
  EXPECT_EQ(ran.out, "");
  EXPECT_EQ(ran.err,
            "gwctl: get Device.A: -1002 (daemon not reachable at /tmp/gwconf-nobody: "
            "No such file or directory)\n");
}

}  // namespace
}  // namespace gwconf::test
