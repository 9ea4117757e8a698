#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/gwctl.h"

namespace gwconf::test {
namespace {

using testing::ElementsAre;

TEST(Commit, IsSilentWhenDone) {
  const FakeDaemon daemon{answering(0, {"0"})};
  const Ran ran = gwctl({"commit"}, daemon.socket_path());
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(ran.out + ran.err, "");
  EXPECT_THAT(daemon.request(), ElementsAre("19"));
}

TEST(Commit, SaysWhyNot) {
  const FakeDaemon daemon{answering(0, {"156"})};
  const Ran ran = gwctl({"commit"}, daemon.socket_path());
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err, "gwctl: commit: 156 (configuration could not be read or written)\n");
}

TEST(Commit, PrintsJson) {
  const FakeDaemon daemon{answering(0, {"0"})};
  const Ran ran = gwctl({"--json", "commit"}, daemon.socket_path());
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(ran.out, "{\n  \"code\": 0,\n  \"meaning\": \"done\"\n}\n");
}

TEST(Commit, NeedsADaemon) {
  const Ran ran = gwctl({"commit", "--json"}, "/tmp/gwconf-nobody");
  EXPECT_EQ(ran.status, 3);
  EXPECT_EQ(ran.err,
            "gwctl: commit: -1002 (daemon not reachable at /tmp/gwconf-nobody: "
            "No such file or directory)\n");
  EXPECT_EQ(ran.out, "{\n  \"code\": -1002,\n  \"meaning\": \"daemon not reachable\"\n}\n");
}

}  // namespace
}  // namespace gwconf::test
