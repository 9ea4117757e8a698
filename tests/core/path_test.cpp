#include "core/path.h"

#include <array>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "core/value.h"
#include "tests/support/failing_heap.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using test::build_tree;
using test::live_blocks;
using test::live_outline;
using test::LiveTree;
using test::object_at;
using test::parameter_at;
using test::value_at;

constexpr char kOutline[] = R"(InternetGatewayDevice.
  DeviceSummary = summary
  DeviceInfo.
    Manufacturer = Vantrel
    SoftwareVersion
  LANDevice.
    0.
      HostNumberOfEntries = 0
    1. [1]
      HostNumberOfEntries = 2
      LANHostConfigManagement.
        DHCPServerEnable = 1
    2. [2]
      HostNumberOfEntries = 5
      Enable = 1
  12Tail.
    Value = x
)";

class Path : public ::testing::Test {
 protected:
  const LiveTree tree{kOutline};
};

std::string find_object(std::string_view path) {
  Node* node = cml_root;
  const Status status = CM_CORE_GetObjNodeByUri(path, &node);
  if (status != CM_OK) return std::to_string(status) + (node ? " not cleared" : "");
  return node->name.get();
}

std::string find_parameter(std::string_view path) {
  Parameter* param = cml_root ? cml_root->params : nullptr;
  const Status status = CM_CORE_GetParaNodeByUri(path, &param);
  if (status != CM_OK) return std::to_string(status) + (param ? " not cleared" : "");
  return std::string{param->name.get()} + "=" + param->value.c_str();
}

TEST(PathText, GrowsUpToItsBound) {
  PathText path{"A."};
  EXPECT_TRUE(path.fits());
  EXPECT_TRUE(path.append_instance(12));
  EXPECT_TRUE(path.append(""));
  EXPECT_EQ(path.view(), "A.12.");
  EXPECT_STREQ(path.buffer(), "A.12.");
  EXPECT_TRUE(path.append(std::string(32768 - 5 - 1, 'x')));
  EXPECT_FALSE(path.append("yz"));
  EXPECT_FALSE(path.append_instance(1));
  EXPECT_EQ(path.view().size(), 32767U);
  EXPECT_TRUE(path.append("y"));
  EXPECT_FALSE(path.append("z"));
  EXPECT_EQ(path.view().size(), 32768U);
  EXPECT_EQ(std::strlen(path.buffer()), 32768U);
}

TEST(PathText, TellsWhenItsStartDoesNotFit) {
  EXPECT_TRUE(PathText{std::string(32768, 'x')}.fits());
  const PathText path{std::string(32769, 'x')};
  EXPECT_FALSE(path.fits());
  EXPECT_EQ(path.view(), "");
}

TEST(UriIsObjNode, LooksAtTheLastCharacter) {
  EXPECT_EQ(CM_UTL_UriIsObjNode("InternetGatewayDevice."), CM_OK);
  EXPECT_EQ(CM_UTL_UriIsObjNode("."), CM_OK);
  EXPECT_EQ(CM_UTL_UriIsObjNode("InternetGatewayDevice.Summary"), CM_INVALID);
  EXPECT_EQ(CM_UTL_UriIsObjNode("InternetGatewayDevice"), CM_INVALID);
  EXPECT_EQ(CM_UTL_UriIsObjNode(""), CM_INVALID);
}

TEST(StrstrLast, FindsATailOnly) {
  const char text[] = "HostNumberOfEntriesNumberOfEntries";
  EXPECT_EQ(strstr_last(text, "NumberOfEntries"), text + 19);
  EXPECT_EQ(strstr_last(text, text), text);
  EXPECT_EQ(strstr_last(text, "Host"), nullptr);
  EXPECT_EQ(strstr_last("Entries", "NumberOfEntries"), nullptr);
  EXPECT_EQ(strstr_last("", "x"), nullptr);
  EXPECT_EQ(strstr_last(nullptr, "x"), nullptr);
  EXPECT_EQ(strstr_last("x", nullptr), nullptr);
  EXPECT_EQ(strstr_last(nullptr, nullptr), nullptr);
}

TEST_F(Path, ChildIsFoundByItsExactName) {
  Node* lan = object_at("InternetGatewayDevice.LANDevice.");
  EXPECT_EQ(CM_CORE_GetChildObjByName(lan, "LANDevice."), lan);
  EXPECT_EQ(CM_CORE_GetChildObjByName(lan, "1."), object_at("InternetGatewayDevice.LANDevice.1."));
  EXPECT_EQ(CM_CORE_GetChildObjByName(lan, "1"), nullptr);
  EXPECT_EQ(CM_CORE_GetChildObjByName(lan, "3."), nullptr);
  EXPECT_EQ(CM_CORE_GetChildObjByName(lan, "landevice."), nullptr);
  EXPECT_EQ(CM_CORE_GetChildObjByName(lan, ""), nullptr);
  const Node* grandchild =
      CM_CORE_GetChildObjByName(object_at("InternetGatewayDevice."), "LANHostConfigManagement.");
  EXPECT_EQ(grandchild, nullptr);
}

TEST_F(Path, ChildLookupGivesTheFirstOfTwins) {
  const NodePtr table = build_tree("Table.\n  3. [2]\n  3.\n");
  EXPECT_EQ(CM_CORE_GetChildObjByName(table.get(), "3."), table->children);
}

TEST_F(Path, ParameterIsFoundByItsExactName) {
  Node* device_info = object_at("InternetGatewayDevice.DeviceInfo.");
  EXPECT_EQ(CM_CORE_GetChildParaByName(device_info, "SoftwareVersion"), device_info->params->next);
  EXPECT_EQ(CM_CORE_GetChildParaByName(device_info, "softwareversion"), nullptr);
  EXPECT_EQ(CM_CORE_GetChildParaByName(device_info, "Software"), nullptr);
  EXPECT_EQ(CM_CORE_GetChildParaByName(device_info, ""), nullptr);
  EXPECT_EQ(CM_CORE_GetChildParaByName(object_at("InternetGatewayDevice.LANDevice."), "Enable"),
            nullptr);
}

TEST_F(Path, ObjectsAreFound) {
  Node* node = nullptr;
  EXPECT_EQ(CM_CORE_GetObjNodeByUri("InternetGatewayDevice.", &node), CM_OK);
  EXPECT_EQ(node, cml_root);
  EXPECT_EQ(CM_CORE_GetObjNodeByUri("InternetGatewayDevice.LANDevice.2.", &node), CM_OK);
  EXPECT_EQ(node, object_at("InternetGatewayDevice.LANDevice.2."));
  EXPECT_EQ(CM_CORE_GetObjNodeByUri("InternetGatewayDevice.LANDevice.0.", &node), CM_OK);
  EXPECT_EQ(node, object_at("InternetGatewayDevice.LANDevice.0."));
}

TEST_F(Path, MissingObjectsAreNotFound) {
  EXPECT_EQ(find_object("InternetGatewayDevice.WANDevice."), "2");
  EXPECT_EQ(find_object("InternetGatewayDevice.LANDevice.3."), "2");
  EXPECT_EQ(find_object("InternetGatewayDevice.LANDevice.01."), "2");
  EXPECT_EQ(find_object("internetgatewaydevice."), "2");
  EXPECT_EQ(find_object("."), "2");
  EXPECT_EQ(find_object("InternetGatewayDevice.."), "2");
  EXPECT_EQ(find_object(" InternetGatewayDevice."), "2");
}

TEST_F(Path, WrongKindsOfPathAreInvalid) {
  EXPECT_EQ(find_object("InternetGatewayDevice.DeviceInfo.Manufacturer"), "-100");
  EXPECT_EQ(find_object("InternetGatewayDevice"), "-100");
  EXPECT_EQ(find_object(""), "-100");
  EXPECT_EQ(find_object({}), "-100");
  EXPECT_EQ(find_parameter("InternetGatewayDevice.DeviceInfo."), "-100");
  EXPECT_EQ(find_parameter({}), "-100");
  EXPECT_EQ(find_parameter("."), "-100");
}

TEST_F(Path, ParametersAreFound) {
  EXPECT_EQ(find_parameter("InternetGatewayDevice.DeviceSummary"), "DeviceSummary=summary");
  EXPECT_EQ(
      find_parameter("InternetGatewayDevice.LANDevice.1.LANHostConfigManagement.DHCPServerEnable"),
      "DHCPServerEnable=1");
  EXPECT_EQ(find_parameter("InternetGatewayDevice.LANDevice.2.HostNumberOfEntries"),
            "HostNumberOfEntries=5");
}

TEST_F(Path, MissingParametersAreNotFound) {
  EXPECT_EQ(find_parameter("InternetGatewayDevice"), "2");
  EXPECT_EQ(find_parameter("DeviceSummary"), "2");
  EXPECT_EQ(find_parameter(""), "2");
  EXPECT_EQ(find_parameter("InternetGatewayDevice.Nothing"), "2");
  EXPECT_EQ(find_parameter("InternetGatewayDevice.Nothing.Manufacturer"), "2");
  EXPECT_EQ(find_parameter("InternetGatewayDevice.DeviceInfo"), "2");
  EXPECT_EQ(find_parameter(".DeviceSummary"), "2");
}

TEST_F(Path, RepeatedSegmentsCollapse) {
  EXPECT_EQ(find_object("InternetGatewayDevice.InternetGatewayDevice.LANDevice."), "LANDevice.");
  Node* node = nullptr;
  EXPECT_EQ(CM_CORE_GetObjNodeByUri("InternetGatewayDevice.LANDevice.LANDevice.1.1.1.", &node),
            CM_OK);
  EXPECT_EQ(node, object_at("InternetGatewayDevice.LANDevice.1."));
  EXPECT_EQ(find_parameter("InternetGatewayDevice.LANDevice.2.2.HostNumberOfEntries"),
            "HostNumberOfEntries=5");
}

TEST_F(Path, TheFirstSegmentMayNameAChildOfTheRoot) {
  EXPECT_EQ(find_object("LANDevice.1."), "1.");
  EXPECT_EQ(find_parameter("DeviceInfo.Manufacturer"), "Manufacturer=Vantrel");
}

TEST(PathWithoutTree, FindsNothing) {
  ASSERT_EQ(cml_root, nullptr);
  EXPECT_EQ(find_object("InternetGatewayDevice."), "2");
  EXPECT_EQ(find_object("InternetGatewayDevice"), "-100");
  EXPECT_EQ(find_parameter("InternetGatewayDevice.DeviceSummary"), "2");
  EXPECT_EQ(find_parameter("InternetGatewayDevice."), "-100");
  EXPECT_EQ(CM_CORE_SetValueByURI("InternetGatewayDevice.DeviceSummary", "x"), CM_NOT_FOUND);
  EXPECT_EQ(CM_CORE_SetInstanceRWByURI("InternetGatewayDevice.LANDevice.1.", 1), CM_NOT_FOUND);
  char out[4] = "old";
  EXPECT_EQ(CM_CORE_GetValueByURI("InternetGatewayDevice.DeviceSummary", out), CM_NOT_FOUND);
  EXPECT_STREQ(out, "old");
}

TEST_F(Path, SegmentsOfUpTo255CharactersAreFollowed) {
  const std::string fits = std::string(254, 's') + '.';
  const std::string too_long = std::string(255, 't') + '.';
  Node* lan = object_at("InternetGatewayDevice.LANDevice.1.");
  NodePtr added = new_node();
  ASSERT_TRUE(added->name.assign(fits));
  added->parent = lan;
  added->next = new_node().release();
  ASSERT_TRUE(added->next->name.assign(too_long));
  added->next->parent = lan;
  lan->children->next = added.release();

  EXPECT_EQ(find_object("InternetGatewayDevice.LANDevice.1." + fits), fits);
  EXPECT_EQ(find_object("InternetGatewayDevice.LANDevice.1." + too_long), "2");
  EXPECT_EQ(find_parameter("InternetGatewayDevice.LANDevice.1." + too_long + "X"), "2");
}

TEST_F(Path, TheLeafMayBeLongerThanASegment) {
  ASSERT_TRUE(
      parameter_at("InternetGatewayDevice.DeviceSummary")->name.assign(std::string(300, 'p')));
  EXPECT_EQ(find_parameter("InternetGatewayDevice." + std::string(300, 'p')),
            std::string(300, 'p') + "=summary");
}

TEST(LongPaths, OfUpTo32768CharactersAreFollowed) {
  // Both lengths are reached exactly: 32768 = 4096 * 8 and 32769 = 3 * 10923.
  {
    const LiveTree tree{"Segment.\n  P = v\n"};
    std::string path;
    for (int n = 0; n < 4096; ++n)
      path += "Segment.";
    ASSERT_EQ(path.size(), 32768U);
    EXPECT_EQ(find_object(path), "Segment.");
    std::string leaf = path;
    leaf.resize(32768 - 8);
    EXPECT_EQ(find_parameter(leaf + "P"), "P=v");
  }
  {
    const LiveTree tree{"Se.\n  P = v\n  LongName = w\n"};
    std::string path;
    for (int n = 0; n < 10923; ++n)
      path += "Se.";
    ASSERT_EQ(path.size(), 32769U);
    EXPECT_EQ(find_object(path), "-100");
    path.resize(32766);
    EXPECT_EQ(find_object(path), "Se.");
    EXPECT_EQ(find_parameter(path + "P"), "P=v");
    EXPECT_EQ(find_parameter(path + "PP"), "2");
    EXPECT_EQ(find_parameter(path + "PPP"), "-100");
  }
}

TEST_F(Path, RecordsGiveTheirPath) {
  std::array<char, kPathBufferSize> out;
  const Parameter* param =
      parameter_at("InternetGatewayDevice.LANDevice.1.LANHostConfigManagement.DHCPServerEnable");
  EXPECT_EQ(CM_CORE_GetURIByParaNode(param, out), CM_OK);
  EXPECT_STREQ(out.data(),
               "InternetGatewayDevice.LANDevice.1.LANHostConfigManagement.DHCPServerEnable");
  EXPECT_EQ(CM_CORE_GetURIByObjNode(param->parent, out), CM_OK);
  EXPECT_STREQ(out.data(), "InternetGatewayDevice.LANDevice.1.LANHostConfigManagement.");
  EXPECT_EQ(CM_CORE_GetURIByObjNode(cml_root, out), CM_OK);
  EXPECT_STREQ(out.data(), "InternetGatewayDevice.");
}

TEST_F(Path, AncestorsWithoutNameAreSkipped) {
  object_at("InternetGatewayDevice.LANDevice.")->name.reset();
  std::array<char, 100> out;
  const Node* lan = cml_root->children->next->children->next;
  EXPECT_EQ(CM_CORE_GetURIByObjNode(lan, out), CM_OK);
  EXPECT_STREQ(out.data(), "InternetGatewayDevice.1.");
  EXPECT_EQ(CM_CORE_GetURIByParaNode(lan->params, out), CM_OK);
  EXPECT_STREQ(out.data(), "InternetGatewayDevice.1.HostNumberOfEntries");
}

TEST_F(Path, APathThatDoesNotFitIsRefused) {
  const Node* lan = object_at("InternetGatewayDevice.LANDevice.1.");
  std::array<char, 35> out;
  out.fill('#');
  EXPECT_EQ(CM_CORE_GetURIByObjNode(lan, out), CM_OK);
  EXPECT_STREQ(out.data(), "InternetGatewayDevice.LANDevice.1.");
  out.fill('#');
  EXPECT_EQ(CM_CORE_GetURIByObjNode(lan, {out.data(), 34}), CM_INVALID);
  EXPECT_STREQ(out.data(), "");
  EXPECT_EQ(CM_CORE_GetURIByParaNode(lan->params, out), CM_INVALID);
  EXPECT_STREQ(out.data(), "");
  EXPECT_EQ(CM_CORE_GetURIByObjNode(lan, {}), CM_INVALID);
}

TEST(LongPaths, RecordsGivePathsOfUpTo32768Characters) {
  std::array<char, kPathBufferSize + 10> out;
  Node* bottom = nullptr;
  {
    const NodePtr root = test::build_chain(32768, &bottom);
    EXPECT_EQ(CM_CORE_GetURIByObjNode(bottom, out), CM_OK);
    EXPECT_EQ(std::strlen(out.data()), 32768U);
    OwnedText text;
    EXPECT_EQ(CM_UTL_Node2URI(bottom, &text), CM_OK);
    EXPECT_EQ(text.view().size(), 32768U);
  }
  {
    const NodePtr root = test::build_chain(32769, &bottom);
    EXPECT_EQ(CM_CORE_GetURIByObjNode(bottom, out), CM_INVALID);
    EXPECT_STREQ(out.data(), "");
    OwnedText text;
    EXPECT_EQ(CM_UTL_Node2URI(bottom, &text), CM_INVALID);
    EXPECT_FALSE(text);
  }
}

TEST_F(Path, Node2UriFillsANewText) {
  OwnedText text;
  EXPECT_EQ(CM_UTL_Node2URI(object_at("InternetGatewayDevice.LANDevice.1."), &text), CM_OK);
  EXPECT_STREQ(text.get(), "InternetGatewayDevice.LANDevice.1.");
}

TEST_F(Path, Node2UriFillsTheTextThatItIsGiven) {
  OwnedText text;
  ASSERT_TRUE(text.assign(std::string(100, '#')));
  const char* memory = text.get();
  EXPECT_EQ(CM_UTL_Node2URI(cml_root, &text), CM_OK);
  EXPECT_EQ(text.get(), memory);
  EXPECT_STREQ(text.get(), "InternetGatewayDevice.");
}

TEST_F(Path, Node2UriNeedsEveryName) {
  OwnedText text;
  Node* lan = object_at("InternetGatewayDevice.LANDevice.1.");
  lan->parent->name.reset();
  EXPECT_EQ(CM_UTL_Node2URI(lan, &text), CM_INVALID);
  EXPECT_EQ(CM_UTL_Node2URI(lan->parent, &text), CM_INVALID);
  EXPECT_EQ(CM_UTL_Node2URI(nullptr, &text), CM_INVALID);
  EXPECT_FALSE(text);
}

TEST(Node2UriWithoutMemory, ChangesNothing) {
  bool filled = false;
  const auto operation = [&filled] {
    OwnedText text;
    const Status status = CM_UTL_Node2URI(cml_root->children, &text);
    filled = static_cast<bool>(text);
    return status;
  };
  const auto check = [&filled](Status status, const std::string& after) {
    EXPECT_EQ(status, CM_NO_MEMORY);
    EXPECT_FALSE(filled);
    EXPECT_EQ(after, kOutline);
  };
  EXPECT_EQ(test::sweep_operation(kOutline, operation, check), 2U);
}

std::string model_of(std::string path) {
  CM_CORE_GetModelUri(path.data());
  return path.c_str();
}

TEST(GetModelUri, MakesEveryInstanceTheTemplate) {
  EXPECT_EQ(model_of("InternetGatewayDevice.WANDevice.2.WANConnectionDevice.5."),
            "InternetGatewayDevice.WANDevice.0.WANConnectionDevice.0.");
  EXPECT_EQ(model_of("A.12345.0.B.+5. 6.7x."), "A.0.0.B.0.0.0.");
  EXPECT_EQ(model_of("1."), "0.");
}

TEST(GetModelUri, KeepsAllOtherPaths) {
  EXPECT_EQ(model_of("InternetGatewayDevice.WANDevice."), "InternetGatewayDevice.WANDevice.");
  EXPECT_EQ(model_of("A.00.-1.Slot10."), "A.00.-1.Slot10.");
  EXPECT_EQ(model_of("InternetGatewayDevice.WANDevice.2.Enable"),
            "InternetGatewayDevice.WANDevice.2.Enable");
  EXPECT_EQ(model_of("."), ".");
  EXPECT_EQ(model_of(".."), "..");
  EXPECT_EQ(model_of(""), "");
}

TEST(GetModelUri, KeepsLongSegments) {
  const std::string segment = std::string(400, 's') + '.';
  EXPECT_EQ(model_of("A.77." + segment + "8."), "A.0." + segment + "0.");
}

}  // namespace
}  // namespace gwconf
