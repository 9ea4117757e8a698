#include "tools/live/pattern.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/client/fake_daemon.h"

namespace gwconf::tool {
namespace {

using test::FakeDaemon;
using test::Peer;
using testing::ElementsAre;

const std::string kExport =
    "<VANTREL_CML>\n"
    "\t<Element name=\"Device.\" type=\"object\">\n"
    "\t\t<Element name=\"Name\" value=\"gateway\" type=\"string(64)\"/>\n"
    "\t\t<Element name=\"Table.\" type=\"object\">\n"
    "\t\t\t<Element name=\"3.\" type=\"object\">\n"
    "\t\t\t\t<Element name=\"Up\" value=\"0\" type=\"boolean\"/>\n"
    "\t\t\t</Element>\n"
    "\t\t</Element>\n"
    "\t\t<Element name=\"Empty.\" type=\"object\">\n"
    "\t\t</Element>\n"
    "\t</Element>\n"
    "</VANTREL_CML>\n";

FakeDaemon::Script exporting() {
  return [](Peer& peer) {
    const std::string command = peer.read();
    const std::string path = peer.read();
    const bool is_there = command == "31" && path == "Device.";
    peer.answer(is_there ? kExport : "");
    peer.answer(is_there ? "0" : "2");
  };
}

std::vector<std::string> paths_of(const Result<std::vector<Match>>& result) {
  std::vector<std::string> paths;
  for (const Match& match : result.value)
    paths.push_back(match.path);
  return paths;
}

TEST(Pattern, StandsForParameters) {
  const FakeDaemon daemon{exporting()};
  const Client client{daemon.socket_path().c_str()};
  EXPECT_THAT(paths_of(expand(client, "Device.")), ElementsAre("Device.Name", "Device.Table.3.Up"));
  EXPECT_EQ(expand(client, "*.Name").code, GWCONF_NOT_FOUND);
  EXPECT_EQ(expand(client, "Device.*.Name").code, GWCONF_NOT_FOUND);
  EXPECT_EQ(expand(client, "Other.").code, GWCONF_NOT_FOUND);
}

TEST(Pattern, IsMoreThanOneParameter) {
  EXPECT_TRUE(is_pattern("A.*.B"));
  EXPECT_TRUE(is_pattern("A.*"));
  EXPECT_TRUE(is_pattern("A."));
  EXPECT_FALSE(is_pattern("A.B*"));
}

TEST(Pattern, MatchesWhatItNamesAndWhatLiesBelow) {
  EXPECT_TRUE(matches("A.B", "A.B"));
  EXPECT_TRUE(matches("A.", "A.B"));
  EXPECT_TRUE(matches("A.*.B", "A.12.B"));
  EXPECT_TRUE(matches("A.*", "A.12.B"));
  EXPECT_FALSE(matches("A.B", "A.B.C"));
  EXPECT_FALSE(matches("A.B", "A.BC"));
  EXPECT_FALSE(matches("A.*.B", "A.X.B"));
  EXPECT_FALSE(matches("A.*", "A.B"));
  EXPECT_FALSE(matches("A.B.C", "A.B"));
}

}  // namespace
}  // namespace gwconf::tool
