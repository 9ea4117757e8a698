#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/gwctl.h"

namespace gwconf::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(CommandLine, HelpAndVersionAreNoErrors) {
  const Ran help = gwctl({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* verb : {"get", "set", "commit", "raw"})
    EXPECT_THAT(help.out, HasSubstr(verb));
  EXPECT_EQ(gwctl({"set", "--help"}).status, 0);
  const Ran version = gwctl({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, "gwctl " GWCONF_VERSION "\n");
}

TEST(CommandLine, WrongUseEndsWithTwo) {
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{},
                                             {"fly"},
                                             {"get"},
                                             {"set"},
                                             {"raw"},
                                             {"commit", "now"},
                                             {"--socket"},
                                             {"--nonsense", "commit"},
                                             {"--timeout", "0", "commit"},
                                             {"--timeout", "soon", "commit"},
                                             {"--socket", std::string(200, 's'), "commit"}}) {
    const Ran ran = gwctl(arguments);
    EXPECT_EQ(ran.status, 2) << testing::PrintToString(arguments);
    EXPECT_THAT(ran.err, StartsWith("gwctl: "));
    EXPECT_EQ(ran.out, "");
  }
}

TEST(CommandLine, TheOptionBeatsTheEnvironment) {
  const FakeDaemon daemon{answering(0, {"0"})};
  EXPECT_EQ(gwctl({"--socket", daemon.socket_path(), "commit"}, "/tmp/gwconf-nobody").status, 0);
  EXPECT_EQ(gwctl({"commit", "--socket", daemon.socket_path()}).status, 0);
  EXPECT_EQ(gwctl({"commit"}, daemon.socket_path()).status, 0);
}

TEST(CommandLine, ATimeoutEndsTheWait) {
  const FakeDaemon daemon{[](Peer& peer) { peer.park(); }};
  const auto begin = std::chrono::steady_clock::now();
  const Ran ran = gwctl({"--timeout", "1", "commit"}, daemon.socket_path());
  EXPECT_EQ(ran.status, 3);
  EXPECT_EQ(ran.err, "gwctl: commit: -1003 (no answer in time)\n");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds{20});
}

}  // namespace
}  // namespace gwconf::test
