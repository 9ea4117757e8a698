#include "tools/base/exported_tree.h"

#include <gtest/gtest.h>

#include "tests/client/fake_daemon.h"

namespace gwconf::tool {
namespace {

using test::FakeDaemon;
using test::Peer;

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

TEST(ExportedTree, ReadsAnExport) {
  const std::optional<ExportedObject> root = parse_object(kExport);
  ASSERT_TRUE(root);
  EXPECT_EQ(root->name, "Device.");
  EXPECT_FALSE(root->writable);
  const ExportedParameter* name = root->parameter("Name");
  ASSERT_TRUE(name);
  EXPECT_EQ(name->value, "<&>\"'\u00e4\xff\n");
  EXPECT_EQ(name->type, "string(64)");
  EXPECT_EQ(name->enumeration, "a,b");
  EXPECT_EQ(name->function, "");
  EXPECT_EQ(name->notification, GWCONF_NOTIFICATION_ACTIVE);
  EXPECT_TRUE(name->writable);

  const ExportedTree tree{"Device.", *root};
  EXPECT_EQ(tree.find("Device."), &tree.root);
  const ExportedObject* instance = tree.find("Device.Table.3.");
  ASSERT_TRUE(instance);
  EXPECT_TRUE(instance->is_instance());
  EXPECT_FALSE(tree.find("Device.Table.")->is_instance());
  EXPECT_EQ(instance->parameter("Up")->function, "get_up");
  EXPECT_EQ(instance->parameter("Up")->notification, GWCONF_NOTIFICATION_PASSIVE);
  EXPECT_EQ(tree.find("Device.Table.4."), nullptr);
  EXPECT_EQ(tree.find("Device.Table"), nullptr);
  EXPECT_EQ(tree.find("Other."), nullptr);
}

TEST(ExportedTree, RefusesWhatIsNoExport) {
  for (const char* text :
       {"", "nonsense", "<VANTREL_CML></VANTREL_CML>", "<a><b/></a>",
        "<VANTREL_CML><Element name=\"A\"/></VANTREL_CML>", "<VANTREL_CML><Element name=\"A.\">"})
    EXPECT_FALSE(parse_object(text)) << text;
  EXPECT_FALSE(parse_parameter("<VANTREL_CML></VANTREL_CML>"));
}

TEST(ExportedTree, RefusesWhatGoesDeeperThanAnyModel) {
  EXPECT_TRUE(parse_object(nested(999)));
  EXPECT_FALSE(parse_object(nested(1001)));
  EXPECT_FALSE(parse_object(nested(200000)));
}

TEST(ExportedTree, NonsenseOfTheDaemonIsAnErrorOfTheTransport) {
  const FakeDaemon daemon{exporting("<VANTREL_CML>")};
  const Client client{daemon.socket_path().c_str()};
  EXPECT_EQ(load_exported_tree(client, "Device.").code, GWCONF_E_PROTOCOL);
}

}  // namespace
}  // namespace gwconf::tool
