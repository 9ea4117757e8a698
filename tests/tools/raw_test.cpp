#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/gwctl.h"

namespace gwconf::test {
namespace {

using testing::ElementsAre;

TEST(Raw, PrintsEveryAnswer) {
  const FakeDaemon daemon{answering(0, {"Hash index : 0\n", "\t wan = 1\n", "", "0"})};
  const Ran ran = gwctl({"raw", "22"}, daemon.socket_path());
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(ran.out, "Hash index : 0\n\t wan = 1\n");
  EXPECT_EQ(ran.err, "");
  EXPECT_THAT(daemon.request(), ElementsAre("22"));
}

TEST(Raw, EndsEveryAnswerWithALineBreak) {
  const FakeDaemon daemon{answering(0, {"one", "two\n", "three\n\n", "0"})};
  EXPECT_EQ(gwctl({"raw", "99"}, daemon.socket_path()).out, "one\ntwo\nthree\n\n");
}

TEST(Raw, SendsEveryArgument) {
  const FakeDaemon daemon{answering(3, {"0"})};
  EXPECT_EQ(gwctl({"raw", "18", "1", "", "Device.Table."}, daemon.socket_path()).status, 0);
  EXPECT_THAT(daemon.request(), ElementsAre("18", "1", "", "Device.Table."));
}

TEST(Raw, SendsNumbersThatAreNoCommand) {
  const FakeDaemon daemon{answering(0, {"-100"})};
  const Ran ran = gwctl({"raw", "-1"}, daemon.socket_path());
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(ran.err, "gwctl: raw -1: -100 (invalid request)\n");
  EXPECT_THAT(daemon.request(), ElementsAre("-1"));
}

TEST(Raw, PrintsTheAnswersOfARefusalToo) {
  const FakeDaemon daemon{answering(1, {"", "2"})};
  const Ran text = gwctl({"raw", "2", "Device.X"}, daemon.socket_path());
  EXPECT_EQ(text.status, 1);
  EXPECT_EQ(text.out, "\n");
  EXPECT_EQ(text.err, "gwctl: raw 2: 2 (no such object or parameter)\n");
  const Ran json = gwctl({"raw", "2", "Device.X", "--json"}, daemon.socket_path());
  EXPECT_EQ(json.status, 1);
  EXPECT_EQ(json.out, R"({
  "answers": [
    ""
  ],
  "code": 2,
  "meaning": "no such object or parameter"
}
)");
}

TEST(Raw, AnUnchangedValueIsNoError) {
  const FakeDaemon daemon{answering(2, {"1"})};
  const Ran ran = gwctl({"raw", "0", "Device.A", "1"}, daemon.socket_path());
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(ran.out + ran.err, "");
}

TEST(Raw, SaysThatThereIsNoResult) {
  const FakeDaemon daemon{answering(1, {""})};
  const Ran ran = gwctl({"raw", "2", "Device.X"}, daemon.socket_path());
  EXPECT_EQ(ran.status, 3);
  EXPECT_EQ(ran.err, "gwctl: raw 2: -1004 (daemon hung up without a result)\n");
}

TEST(Raw, NeedsANumber) {
  const Ran ran = gwctl({"raw", "commit"});
  EXPECT_EQ(ran.status, 2);
}

}  // namespace
}  // namespace gwconf::test
