// What the verbs make of a daemon that answers nonsense, breaks off or is silent.
#include <future>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/gwctl.h"

namespace gwconf::test {
namespace {

using testing::HasSubstr;

const std::vector<std::vector<std::string>> kRequests = {
    {"get", "Device.A."},
    {"set", "Device.A=1"},
    {"find", "a"},
    {"commit"},
    {"raw", "2", "Device.A"},
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
  const auto ran_over_it = [&script](std::vector<std::string> arguments) {
    const FakeDaemon daemon{script};
    arguments.insert(arguments.begin(), {"--timeout", "1"});
    return gwctl(arguments, daemon.socket_path());
  };
  // All wait for their time to be over at the same time.
  std::vector<std::future<Ran>> runs;
  for (const std::vector<std::string>& request : kRequests)
    runs.push_back(std::async(std::launch::async, ran_over_it, request));
  for (std::size_t i = 0; i < runs.size(); ++i) {
    const Ran ran = runs[i].get();
    EXPECT_EQ(ran.status, 3) << kRequests[i][0];
    EXPECT_EQ(ran.out, "") << kRequests[i][0];
    EXPECT_THAT(ran.err, HasSubstr(code)) << kRequests[i][0];
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
