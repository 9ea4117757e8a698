// What the verbs make of a daemon that answers nonsense, breaks off or is silent.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/gwctl.h"

namespace gwconf::test {
namespace {

using testing::HasSubstr;

const std::vector<std::vector<std::string>> kRequests = {
    {"get", "Device.A."},
    {"ls", "Device."},
    {"tree", "Device."},
    {"describe", "Device.A"},
    {"attr", "Device.A"},
    {"add", "Device.T."},
    {"add", "Device.T.", "1"},
    {"insert", "Device.T.", "1"},
    {"del", "Device.T.1."},
    {"renumber", "Device.T."},
    {"move", "Device.T.1.", "Device.S."},
    {"export", "Device."},
    {"save", "/tmp/x"},
    {"restore", "/tmp/x"},
    {"reset", "--yes"},
    {"watch"},
};

void expect_unreachable(const FakeDaemon::Script& script, const std::string& code) {
  for (const std::vector<std::string>& request : kRequests) {
    const FakeDaemon daemon{script};
    std::vector<std::string> arguments = request;
    arguments.insert(arguments.begin(), {"--timeout", "1"});
    const Ran ran = gwctl(arguments, daemon.socket_path());
    EXPECT_EQ(ran.status, 3) << request[0];
    EXPECT_EQ(ran.out, "") << request[0];
    EXPECT_THAT(ran.err, HasSubstr(code)) << request[0];
  }
}

TEST(Verbs, ADaemonThatHangsUp) {
  expect_unreachable([](Peer&) {}, "-1004 (");
}

TEST(Verbs, ADaemonThatAnswersNonsense) {
  expect_unreachable(
      [](Peer& peer) {
        peer.read();
        peer.send_bytes("HTTP/1.1 400 Bad Request\r\n\r\n");
      },
      "-1005 (");
}

TEST(Verbs, ADaemonThatStopsInTheMiddle) {
  expect_unreachable(
      [](Peer& peer) {
        peer.read();
        peer.send_bytes(message("some text").substr(0, 7));
      },
      "-1005 (");
}

TEST(Verbs, ADaemonThatIsSilent) {
  expect_unreachable([](Peer& peer) { peer.park(); }, "-1003 (");
}

}  // namespace
}  // namespace gwconf::test
