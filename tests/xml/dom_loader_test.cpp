#include "xml/dom_loader.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "core/path.h"
#include "platform/getters.h"
#include "tests/support/failing_heap.h"
#include "tests/support/tree_builder.h"
#include "tests/xml/dom_support.h"

namespace gwconf {
namespace {

using test::describe;
using test::DocumentPtr;
using test::parse_document;
using test::root_of;

/// The result of a load and the tree that it left.
struct Loaded {
  Status status;
  NodePtr root = new_node();
};

Loaded load(const std::string& content) {
  const DocumentPtr document = parse_document("<VANTREL_CML>" + content + "</VANTREL_CML>");
  Loaded loaded{};
  loaded.status = CM_XML2RAM_Default(loaded.root.get(), root_of(document));
  return loaded;
}

/// The description of a tree that must load.
std::string tree_of(const std::string& content) {
  const Loaded loaded = load(content);
  EXPECT_EQ(loaded.status, CM_OK);
  return describe(loaded.root.get());
}

/// The one parameter that an element becomes.
std::string parameter_of(const std::string& attributes) {
  return tree_of("<Element " + attributes + "/>");
}

std::string object_of(const std::string& attributes) {
  return tree_of("<Element type=\"object\" " + attributes + "/>");
}

Status is_node(const std::string& element) {
  const DocumentPtr document = parse_document(element);
  return CM_XML2RAM_IsNode(root_of(document));
}

TEST(DomIsNode, KnowsAnObjectByItsType) {
  EXPECT_EQ(is_node("<Element type=\"object\"/>"), 0);
  EXPECT_EQ(is_node("<Element type=\"OBJECT\"/>"), 0);
  EXPECT_EQ(is_node("<Element type=\"Objective\"/>"), 0);
  EXPECT_EQ(is_node("<Other name=\"a\" type=\"object\"/>"), 0);
  EXPECT_EQ(is_node("<Element type=\"objec\"/>"), -100);
  EXPECT_EQ(is_node("<Element type=\" object\"/>"), -100);
  EXPECT_EQ(is_node("<Element type=\"string\"/>"), -100);
  EXPECT_EQ(is_node("<Element type=\"\"/>"), -100);
}

TEST(DomIsNode, TellsMissingAttributesFromAMissingType) {
  EXPECT_EQ(is_node("<Element/>"), 3);
  EXPECT_EQ(is_node("<Element name=\"X.\" Type=\"object\"/>"), -100);
  EXPECT_EQ(CM_XML2RAM_IsNode(nullptr), 3);
}

TEST(DomLoader, LoadsObjectsAndParametersInOrder) {
  const Loaded loaded = load(
      "<Element name=\"InternetGatewayDevice.\" type=\"object\" sname=\"igd\">"
      "<Element name=\"HostNumberOfEntries\" type=\"unsignedInt\" value=\"2\"/>"
      "<Element name=\"Host.\" type=\"object\">"
      "<Element name=\"0.\" type=\"object\"><Element name=\"Name\" type=\"string\"/></Element>"
      "<Element name=\"1.\" type=\"object\" writable=\"1\">"
      "<Element name=\"Name\" type=\"string(64)\" value=\"printer\"/>"
      "<Element name=\"Active\" type=\"boolean\" value=\"1\"/></Element>"
      "</Element>"
      "<Element name=\"Time.\" type=\"object\"/>"
      "</Element>");
  EXPECT_EQ(loaded.status, 0);
  EXPECT_EQ(describe(loaded.root.get()),
            "InternetGatewayDevice. sname [igd]\n"
            "  HostNumberOfEntries = [2] type 4\n"
            "  Host.\n"
            "    0.\n"
            "      Name type 2\n"
            "    1. word 1\n"
            "      Name = [printer] type 2 [0:64]\n"
            "      Active = [1] type 5 [0:1]\n"
            "  Time.\n");
}

TEST(DomLoader, TakesParametersBehindObjects) {
  EXPECT_EQ(tree_of("<Element name=\"A.\" type=\"object\"/>"
                    "<Element name=\"First\" type=\"int\"/>"
                    "<Element name=\"B.\" type=\"object\"/>"
                    "<Element name=\"Second\" type=\"int\"/>"),
            "First type 3\n"
            "Second type 3\n"
            "A.\n"
            "B.\n");
}

TEST(DomLoader, GoesByTheTypeAndNotByTheName) {
  EXPECT_EQ(tree_of("<Element name=\"Dotted.\" type=\"string\"/>"
                    "<Thing name=\"Plain\" type=\"object\"/>"
                    "<OBJECT name=\"NoType.\"/>"),
            "Dotted. type 2\n"
            "NoType. type 12\n"
            "Plain\n");
}

TEST(DomLoader, LoadsAnElementWithoutChildren) {
  EXPECT_EQ(tree_of(""), "");
}

TEST(DomLoader, AppendsToWhatTheNodeHolds) {
  const NodePtr root = test::build_tree(
      "Root.\n"
      "  Old = 1\n"
      "  X.\n");
  const DocumentPtr document = parse_document(
      "<R><Element name=\"New\" value=\"2\" type=\"string\"/>"
      "<Element name=\"Y.\" type=\"object\"/></R>");
  EXPECT_EQ(CM_XML2RAM_Default(root.get(), root_of(document)), 0);
  EXPECT_EQ(test::outline_of(root.get()),
            "Root.\n"
            "  Old = 1\n"
            "  New = 2\n"
            "  X.\n"
            "  Y.\n");
}

TEST(DomLoader, SetsTheWritableBit) {
  EXPECT_EQ(object_of("name=\"X.\" writable=\"1\""), "X. word 1\n");
  EXPECT_EQ(object_of("name=\"X.\" writable=\"TRUE\""), "X. word 1\n");
  EXPECT_EQ(object_of("name=\"X.\" writable=\"0\""), "X.\n");
  EXPECT_EQ(object_of("name=\"X.\" writable=\"yes\""), "X.\n");
  EXPECT_EQ(parameter_of("name=\"P\" writable=\"true\""), "P type 12 word 1\n");
  EXPECT_EQ(parameter_of("name=\"P\" writable=\"0\""), "P type 12\n");
}

TEST(DomLoader, LeavesAnInstanceAsVirtualAsItIsWritten) {
  EXPECT_EQ(object_of("name=\"1.\" writable=\"0\""), "1.\n");
  EXPECT_EQ(object_of("name=\"0.\""), "0.\n");
}

TEST(DomLoader, SetsTheNotificationBits) {
  EXPECT_EQ(object_of("name=\"X.\" notification=\"2\""), "X. word 128\n");
  EXPECT_EQ(object_of("name=\"X.\" notification=\"1\""), "X. word 64\n");
  EXPECT_EQ(object_of("name=\"X.\" notification=\"0\""), "X. word 32\n");
  EXPECT_EQ(parameter_of("name=\"P\" notification=\"2\""), "P type 12 word 128\n");
  EXPECT_EQ(parameter_of("name=\"P\" notification=\"1\""), "P type 12 word 64\n");
  EXPECT_EQ(parameter_of("name=\"P\" notification=\"\""), "P type 12 word 32\n");
}

TEST(DomLoader, SetsTheDisabledBit) {
  EXPECT_EQ(object_of("name=\"X.\" Disabled=\"1\""), "X. word 2\n");
  EXPECT_EQ(object_of("name=\"X.\" Disabled=\"True\""), "X. word 2\n");
  EXPECT_EQ(object_of("name=\"X.\" Disabled=\"0\""), "X.\n");
  EXPECT_EQ(object_of("name=\"X.\" disabled=\"1\""), "X.\n");
  EXPECT_EQ(parameter_of("name=\"P\" Disabled=\"1\""), "P type 12 word 2\n");
  EXPECT_EQ(parameter_of("name=\"P\" Disabled=\"no\""), "P type 12\n");
}

TEST(DomLoader, TakesTheShortNameOfAnObjectOnly) {
  EXPECT_EQ(object_of("name=\"X.\" sname=\"short\""), "X. sname [short]\n");
  EXPECT_EQ(object_of("name=\"X.\" sname=\"\""), "X. sname []\n");
  EXPECT_EQ(object_of("name=\"X.\""), "X.\n");
  EXPECT_EQ(parameter_of("name=\"P\" sname=\"short\""), "P type 12\n");
}

TEST(DomLoader, BindsNoGetter) {
  ASSERT_NE(CM_platform_fn_init("GetSysUpTime"), nullptr);
  EXPECT_EQ(parameter_of("name=\"UpTime\" type=\"unsignedInt\" function=\"GetSysUpTime\""),
            "UpTime type 4\n");
}

TEST(DomLoader, IgnoresTheOtherAttributes) {
  EXPECT_EQ(object_of("name=\"X.\" Platform=\"1\" value=\"v\" enumeration=\"a,b\""), "X.\n");
  EXPECT_EQ(parameter_of("name=\"P\" Platform=\"1\" unknown=\"2\""), "P type 12\n");
}

TEST(DomLoader, ReadsTypesWithTheirLimits) {
  EXPECT_EQ(parameter_of("name=\"P\" type=\"string(4K)\""), "P type 2 [0:4096]\n");
  EXPECT_EQ(parameter_of("name=\"P\" type=\"INT[-5:10]\""), "P type 3 [-5:10]\n");
  EXPECT_EQ(parameter_of("name=\"P\" type=\"unsignedInt[1K:2K]\""), "P type 4 [1024:2]\n");
  EXPECT_EQ(parameter_of("name=\"P\" type=\"boolean\""), "P type 5 [0:1]\n");
  EXPECT_EQ(parameter_of("name=\"P\" type=\"dateTime\""), "P type 6\n");
  EXPECT_EQ(parameter_of("name=\"P\" type=\"base64(20)\""), "P type 7 [0:20]\n");
  EXPECT_EQ(parameter_of("name=\"P\" type=\"colour\""), "P type 12\n");
  EXPECT_EQ(parameter_of("name=\"P\""), "P type 12\n");
}

TEST(DomLoader, KnowsAddressesBySixCharacters) {
  EXPECT_EQ(parameter_of("name=\"P\" type=\"ipAddr\""), "P type 9 [0:15]\n");
  EXPECT_EQ(parameter_of("name=\"P\" type=\"IPADDRESS\""), "P type 9 [0:15]\n");
  EXPECT_EQ(parameter_of("name=\"P\" type=\"netmas\""), "P type 10 [0:15]\n");
  EXPECT_EQ(parameter_of("name=\"P\" type=\"macAdd\""), "P type 11 [0:17]\n");
  EXPECT_EQ(parameter_of("name=\"P\" type=\"macAd\""), "P type 12\n");
}

TEST(DomLoader, MakesAnEnumerationOfAStringOnly) {
  EXPECT_EQ(parameter_of("name=\"P\" type=\"string(8)\" enumeration=\"a,b\""),
            "P type 8 [0:8] enumeration [a,b]\n");
  EXPECT_EQ(parameter_of("name=\"P\" enumeration=\"a,b\" type=\"string\""),
            "P type 8 enumeration [a,b]\n");
  EXPECT_EQ(parameter_of("name=\"P\" type=\"string\" enumeration=\"\""),
            "P type 2 enumeration []\n");
  EXPECT_EQ(parameter_of("name=\"P\" type=\"int\" enumeration=\"1,2\""),
            "P type 3 enumeration [1,2]\n");
  EXPECT_EQ(parameter_of("name=\"P\" enumeration=\"1,2\""), "P type 12 enumeration [1,2]\n");
}

TEST(DomLoader, TellsNoValueFromTheEmptyOne) {
  EXPECT_EQ(parameter_of("name=\"P\" type=\"int\""), "P type 3\n");
  EXPECT_EQ(parameter_of("name=\"P\" type=\"int\" value=\"\""), "P = [] type 3\n");
  EXPECT_EQ(parameter_of("name=\"P\" type=\"int\" value=\"&lt;&amp;&gt;&quot;&apos;\""),
            "P = [<&>\"'] type 3\n");
}

TEST(DomLoader, LoadsARecordWithoutName) {
  EXPECT_EQ(tree_of("<Element type=\"string\"/><Element type=\"object\"/>"),
            "<none> type 2\n"
            "<none>\n");
}

TEST(DomLoader, PassesOverTheLayout) {
  const std::string laid_out =
      "\n"
      "  <Element name=\"X.\" type=\"object\">\n"
      "    <!-- the limits follow -->\n"
      "    <Element name=\"P\" type=\"int\" value=\"1\">\n"
      "    </Element>\n"
      "  </Element>\n";
  EXPECT_EQ(tree_of(laid_out),
            "X.\n"
            "  P = [1] type 3\n");
}

TEST(DomLoader, EndsAtTextBetweenElements) {
  for (const char* text : {"stray text", " &#120; ", "<![CDATA[ ]]>"}) {
    SCOPED_TRACE(text);
    const Loaded loaded = load(
        "<Element name=\"First\" type=\"int\"/>"
        "<Element name=\"X.\" type=\"object\">" +
        std::string{text} +
        "<Element name=\"P\" type=\"int\"/></Element>"
        "<Element name=\"Y.\" type=\"object\"/>");
    EXPECT_EQ(loaded.status, 3);
    EXPECT_EQ(describe(loaded.root.get()),
              "First type 3\n"
              "X.\n");
  }
}

TEST(DomLoader, DoesNotLookIntoAParameter) {
  EXPECT_EQ(tree_of("<Element name=\"P\" type=\"int\">5<Element name=\"Q\"/></Element>"),
            "P type 3\n");
}

TEST(DomLoader, PassesOverWhitespaceThatAProgramLeftInItsDocument) {
  const DocumentPtr document = parse_document("<R><Element name=\"P\" type=\"int\"/></R>");
  IXML_Node* blanks = ixmlDocument_createTextNode(document.get(), const_cast<char*>("\n  "));
  ASSERT_EQ(
      ixmlNode_insertBefore(root_of(document), blanks, ixmlNode_getFirstChild(root_of(document))),
      IXML_SUCCESS);
  const NodePtr root = new_node();
  EXPECT_EQ(CM_XML2RAM_Default(root.get(), root_of(document)), 0);
  EXPECT_EQ(describe(root.get()), "P type 3\n");
}

TEST(DomLoader, RefusesMissingArguments) {
  const DocumentPtr document = parse_document("<R><Element name=\"P\"/></R>");
  const NodePtr root = new_node();
  EXPECT_EQ(CM_XML2RAM_Default(nullptr, root_of(document)), 3);
  EXPECT_EQ(CM_XML2RAM_Default(root.get(), nullptr), 3);
  EXPECT_EQ(describe(root.get()), "");
}

TEST(DomLoader, EndsAtAnElementWithoutAttributes) {
  const Loaded loaded = load(
      "<Element name=\"First\" type=\"int\"/>"
      "<Element name=\"A.\" type=\"object\">"
      "<Element name=\"Second\" type=\"int\"/>"
      "<Element/>"
      "<Element name=\"Third\" type=\"int\"/>"
      "</Element>"
      "<Element name=\"B.\" type=\"object\"/>");
  EXPECT_EQ(loaded.status, 3);
  EXPECT_EQ(describe(loaded.root.get()),
            "First type 3\n"
            "A.\n"
            "  Second type 3\n");
}

TEST(DomSetNode, NeedsItsArgumentsAndAttributes) {
  const DocumentPtr document = parse_document("<R><A/><B name=\"X.\"/></R>");
  IXML_Node* bare = ixmlNode_getFirstChild(root_of(document));
  IXML_Node* named = ixmlNode_getNextSibling(bare);
  Node node;
  Parameter param;
  EXPECT_EQ(CM_XML2RAM_SetNode(&node, bare), 3);
  EXPECT_EQ(CM_XML2RAM_SetNode(&node, nullptr), 3);
  EXPECT_EQ(CM_XML2RAM_SetNode(nullptr, named), 3);
  EXPECT_EQ(CM_XML2RAM_SetPara(&param, bare), 3);
  EXPECT_EQ(CM_XML2RAM_SetPara(&param, nullptr), 3);
  EXPECT_EQ(CM_XML2RAM_SetPara(nullptr, named), 3);
  EXPECT_EQ(node.name.get(), nullptr);
  EXPECT_EQ(param.name.get(), nullptr);
  EXPECT_EQ(CM_XML2RAM_SetNode(&node, named), 0);
  EXPECT_STREQ(node.name.get(), "X.");
  EXPECT_EQ(CM_XML2RAM_SetPara(&param, named), 0);
  EXPECT_STREQ(param.name.get(), "X.");
}

std::string object_start(const std::string& name) {
  return "<Element type=\"object\" name=\"" + name + "\">";
}

constexpr char kEnd[] = "</Element>";

std::string repeated(const std::string& text, std::size_t times) {
  std::string all;
  all.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i)
    all += text;
  return all;
}

TEST(DomLoader, RefusesASegmentThatIsTooLong) {
  const std::string longest = std::string(254, 'a') + ".";
  EXPECT_EQ(tree_of(object_start(longest) + kEnd), longest + "\n");
  const Loaded loaded = load(object_start("a" + longest) + kEnd);
  EXPECT_EQ(loaded.status, -100);
}

/// Objects nested so that the innermost one's path is 128 * 255 characters long.
std::string nested_to_32640(const std::string& content) {
  return repeated(object_start(std::string(254, 'a') + "."), 128) + content + repeated(kEnd, 128);
}

TEST(DomLoader, RefusesAPathThatIsTooLong) {
  EXPECT_EQ(load(nested_to_32640(object_start(std::string(127, 'b') + ".") + kEnd)).status, 0);
  EXPECT_EQ(load(nested_to_32640(object_start(std::string(128, 'b') + ".") + kEnd)).status, -100);
  EXPECT_EQ(load(nested_to_32640("<Element name=\"" + std::string(128, 'p') + "\"/>")).status, 0);
  const Loaded loaded = load(
      nested_to_32640("<Element name=\"Fits\"/><Element name=\"" + std::string(129, 'p') + "\"/>"));
  EXPECT_EQ(loaded.status, -100);
  const Node* innermost = loaded.root->children;
  while (innermost->children)
    innermost = innermost->children;
  ASSERT_NE(innermost->params, nullptr);
  EXPECT_STREQ(innermost->params->name.get(), "Fits");
  EXPECT_EQ(innermost->params->next, nullptr);
}

TEST(DomLoader, CountsThePathOfTheNodeItLoadsInto) {
  const NodePtr root = test::build_tree("Root.\n  Inner.\n");
  const DocumentPtr document = parse_document(
      "<R>" + nested_to_32640("<Element name=\"" + std::string(118, 'p') + "\"/>") + "</R>");
  EXPECT_EQ(CM_XML2RAM_Default(root->children, root_of(document)), -100);
  const NodePtr shorter = test::build_tree("Root.\n  Inne.\n");
  EXPECT_EQ(CM_XML2RAM_Default(shorter->children, root_of(document)), 0);
}

/// Appends an object's element of that name, or a parameter's when `type` is not "object". The
/// library's parser takes long for documents as large as these.
IXML_Node* append(const DocumentPtr& document, IXML_Node* parent, const char* name,
                  const char* type) {
  IXML_Element* element = ixmlDocument_createElement(document.get(), const_cast<char*>("Element"));
  for (const auto& [attribute, value] : {std::pair{"name", name}, std::pair{"type", type}}) {
    if (!value) continue;
    EXPECT_EQ(
        ixmlElement_setAttribute(element, const_cast<char*>(attribute), const_cast<char*>(value)),
        IXML_SUCCESS);
  }
  EXPECT_EQ(ixmlNode_appendChild(parent, &element->n), IXML_SUCCESS);
  return &element->n;
}

Status load_nested(const char* name, std::size_t levels) {
  const DocumentPtr document = test::empty_document();
  IXML_Node* innermost = root_of(document);
  for (std::size_t level = 0; level < levels; ++level)
    innermost = append(document, innermost, name, "object");
  const NodePtr root = new_node();
  return CM_XML2RAM_Default(root.get(), root_of(document));
}

TEST(DomLoader, NestsNoDeeperThanAPathIsLong) {
  for (const char* name : {static_cast<const char*>(nullptr), "a"}) {
    Status deepest = CM_INVALID;
    Status too_deep = CM_OK;
    // The library frees a document by recursion too.
    test::on_stack(test::kProcessStack, [&] {
      deepest = load_nested(name, 32768);
      too_deep = load_nested(name, 32769);
    });
    EXPECT_EQ(deepest, 0);
    EXPECT_EQ(too_deep, -100);
  }
}

TEST(DomLoader, LoadsALongTableOnASmallStack) {
  constexpr std::size_t kRows = 5000;
  const DocumentPtr document = test::empty_document();
  for (std::size_t row = 0; row < kRows; ++row) {
    append(document, root_of(document), "1.", "object");
    append(document, root_of(document), "P", "string");
  }
  Status status = CM_INVALID;
  const NodePtr root = new_node();
  test::on_stack(std::size_t{64} << 10,
                 [&] { status = CM_XML2RAM_Default(root.get(), root_of(document)); });
  EXPECT_EQ(status, 0);
  std::size_t objects = 0;
  for (const Node* node = root->children; node; node = node->next)
    ++objects;
  EXPECT_EQ(objects, kRows);
  std::size_t params = 0;
  for (const Parameter* param = root->params; param; param = param->next)
    ++params;
  EXPECT_EQ(params, kRows);
}

TEST(DomLoader, EndsWhenTheLibraryRunsOutOfMemory) {
  const DocumentPtr document = parse_document(
      "<R><Element name=\"P\" type=\"int\"/>"
      "<Element name=\"X.\" type=\"object\"><Element name=\"Q\" type=\"int\"/></Element></R>");
  const char* const left[] = {"", "P type 3\n<none>\n", "P type 3\nX.\n"};
  for (std::size_t nth = 1; nth <= 3; ++nth) {  // one list of attributes a record
    SCOPED_TRACE(nth);
    const NodePtr root = new_node();
    const test::FailingDom library{nth};
    EXPECT_EQ(CM_XML2RAM_Default(root.get(), root_of(document)), 4);
    EXPECT_TRUE(library.fired());
    EXPECT_EQ(describe(root.get()), left[nth - 1]);
  }
  const NodePtr root = new_node();
  const test::FailingDom library{4};
  EXPECT_EQ(CM_XML2RAM_Default(root.get(), root_of(document)), 0);
  EXPECT_FALSE(library.fired());
}

TEST(DomLoader, RunsOutOfMemoryCleanly) {
  const DocumentPtr document = parse_document(
      "<R><Element name=\"First\" type=\"string\" enumeration=\"a,b\" value=\"a\"/>"
      "<Element name=\"X.\" type=\"object\" sname=\"x\">"
      "<Element name=\"Second\" type=\"int\" value=\"\"/></Element></R>");
  Status status = CM_OK;
  std::string tree;
  const std::size_t failed = test::sweep_allocations(
      [] {},
      [&] {
        const NodePtr root = new_node();
        if (!root) {
          status = CM_NO_MEMORY;
          tree.clear();
          return;
        }
        status = CM_XML2RAM_Default(root.get(), root_of(document));
        tree = describe(root.get());
      },
      [&] {
        EXPECT_EQ(status, 4);
        // What is there is whole, but for the object begun last.
        EXPECT_TRUE(tree.empty() || tree.starts_with("First = [a] type 8 enumeration [a,b]\n"))
            << tree;
        EXPECT_EQ(tree.find("Second"), std::string::npos) << tree;
      });
  // The root, three records and their seven texts, in both ways.
  EXPECT_EQ(failed, 22U);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(tree,
            "First = [a] type 8 enumeration [a,b]\n"
            "X. sname [x]\n"
            "  Second = [] type 3\n");
}

}  // namespace
}  // namespace gwconf
