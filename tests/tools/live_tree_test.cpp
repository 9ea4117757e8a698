#include "tools/base/live_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/client/fake_daemon.h"

namespace gwconf::tool {
namespace {

using test::FakeDaemon;
using test::Peer;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kExport =
    "<VANTREL_CML>\n"
    "\t<Element name=\"Device.\" type=\"object\">\n"
    "\t\t<Element name=\"Name\" writable=\"1\" notification=\"2\" "
    "value=\"&lt;&amp;&gt;&quot;&apos;&#228;\xff\n\" enumeration=\"a,b\" type=\"string(64)\"/>\n"
    "\t\t<Element name=\"Table.\" writable=\"1\" type=\"object\">\n"
    "\t\t\t<Element name=\"3.\" writable=\"1\" type=\"object\">\n"
    "\t\t\t\t<Element name=\"Up\" function=\"get_up\" value=\"0\" notification=\"1\" "
    "type=\"boolean\"/>\n"
    "\t\t\t</Element>\n"
    "\t\t</Element>\n"
    "\t\t<Element name=\"Empty.\" type=\"object\">\n"
    "\t\t</Element>\n"
    "\t</Element>\n"
    "</VANTREL_CML>\n";

std::string nested(int levels) {
  std::string xml = "<x>";
  for (int i = 0; i < levels; ++i)
    xml += "<Element name=\"A.\">";
  for (int i = 0; i < levels; ++i)
    xml += "</Element>";
  return xml + "</x>";
}

FakeDaemon::Script exporting(const std::string& xml) {
  return [xml](Peer& peer) {
    const std::string command = peer.read();
    const std::string path = peer.read();
    const bool is_there = command == "31" && path == "Device.";
    peer.answer(is_there ? xml : "");
    peer.answer(is_there ? "0" : "2");
  };
}

std::vector<std::string> paths_of(const Result<std::vector<Match>>& result) {
  std::vector<std::string> paths;
  for (const Match& match : result.value)
    paths.push_back(match.path);
  return paths;
}

TEST(LiveTree, ReadsAnExport) {
  const std::optional<LiveObject> root = parse_object(kExport);
  ASSERT_TRUE(root);
  EXPECT_EQ(root->name, "Device.");
  EXPECT_FALSE(root->writable);
  const LiveParameter* name = root->parameter("Name");
  ASSERT_TRUE(name);
  EXPECT_EQ(name->value, "<&>\"'\u00e4\xff\n");
  EXPECT_EQ(name->type, "string(64)");
  EXPECT_EQ(name->enumeration, "a,b");
  EXPECT_EQ(name->function, "");
  EXPECT_EQ(name->notification, GWCONF_NOTIFICATION_ACTIVE);
  EXPECT_TRUE(name->writable);

  const LiveTree tree{"Device.", *root};
  EXPECT_EQ(tree.find("Device."), &tree.root);
  const LiveObject* instance = tree.find("Device.Table.3.");
  ASSERT_TRUE(instance);
  EXPECT_TRUE(instance->is_instance());
  EXPECT_FALSE(tree.find("Device.Table.")->is_instance());
  EXPECT_EQ(instance->parameter("Up")->function, "get_up");
  EXPECT_EQ(instance->parameter("Up")->notification, GWCONF_NOTIFICATION_PASSIVE);
  EXPECT_EQ(tree.find("Device.Table.4."), nullptr);
  EXPECT_EQ(tree.find("Device.Table"), nullptr);
  EXPECT_EQ(tree.find("Other."), nullptr);
}

TEST(LiveTree, RefusesWhatIsNoExport) {
  for (const char* text :
       {"", "nonsense", "<VANTREL_CML></VANTREL_CML>", "<a><b/></a>",
        "<VANTREL_CML><Element name=\"A\"/></VANTREL_CML>", "<VANTREL_CML><Element name=\"A.\">"})
    EXPECT_FALSE(parse_object(text)) << text;
  EXPECT_FALSE(parse_parameter("<VANTREL_CML></VANTREL_CML>"));
}

TEST(LiveTree, RefusesWhatGoesDeeperThanAnyModel) {
  EXPECT_TRUE(parse_object(nested(999)));
  EXPECT_FALSE(parse_object(nested(1001)));
  EXPECT_FALSE(parse_object(nested(200000)));
}

TEST(LiveTree, NonsenseOfTheDaemonIsAnErrorOfTheTransport) {
  const FakeDaemon daemon{exporting("<VANTREL_CML>")};
  const Client client{daemon.socket_path().c_str()};
  EXPECT_EQ(load_live_tree(client, "Device.").code, GWCONF_E_PROTOCOL);
}

TEST(LiveTree, PatternsStandForParameters) {
  const FakeDaemon daemon{exporting(kExport)};
  const Client client{daemon.socket_path().c_str()};
  EXPECT_THAT(paths_of(expand(client, "Device.")), ElementsAre("Device.Name", "Device.Table.3.Up"));
  EXPECT_EQ(expand(client, "*.Name").code, GWCONF_NOT_FOUND);
  EXPECT_EQ(expand(client, "Device.*.Name").code, GWCONF_NOT_FOUND);
  EXPECT_EQ(expand(client, "Other.").code, GWCONF_NOT_FOUND);
}

TEST(LiveTree, PathsComeApart) {
  EXPECT_EQ(split("A.B.3.").parent, "A.B.");
  EXPECT_EQ(split("A.B.3.").segment, "3.");
  EXPECT_EQ(split("A.B").segment, "B");
  EXPECT_EQ(split("A.").parent, "");
  EXPECT_EQ(split(".").segment, ".");
  EXPECT_EQ(split("").segment, "");
  EXPECT_EQ(instance_number("3."), 3U);
  for (const char* segment : {"", ".", "0.", "03.", "3", "3a.", "-3.", "99999999999."})
    EXPECT_EQ(instance_number(segment), 0U) << segment;
  EXPECT_TRUE(is_pattern("A.*.B"));
  EXPECT_TRUE(is_pattern("A.*"));
  EXPECT_TRUE(is_pattern("A."));
  EXPECT_FALSE(is_pattern("A.B*"));
}

}  // namespace
}  // namespace gwconf::tool
