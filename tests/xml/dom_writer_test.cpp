#include "xml/dom_writer.h"

#include <string>

#include <gtest/gtest.h>

#include "platform/getters.h"
#include "tests/support/failing_heap.h"
#include "tests/support/tree_builder.h"
#include "tests/xml/dom_support.h"
#include "xml/dom_loader.h"
#include "xml/value_type.h"

namespace gwconf {
namespace {

using test::build_tree;
using test::describe;
using test::DocumentPtr;
using test::empty_document;
using test::FailingDom;
using test::parse_document;
using test::printed;
using test::root_element_of;
using test::root_of;

std::int32_t write(const Node* node, const DocumentPtr& document) {
  return CM_RAM2XML_Do(node, root_element_of(document), document.get());
}

/// The document that a tree is written to.
std::string written(const NodePtr& root) {
  const DocumentPtr document = empty_document();
  EXPECT_EQ(write(root.get(), document), 0);
  return printed(document);
}

/// The one element that the first parameter, or the first child object, of a tree becomes.
std::string element_of(const NodePtr& root) {
  const std::string document = written(root);
  const std::string start = "<VANTREL_CML>\n";
  const std::string end = "</VANTREL_CML>\n";
  EXPECT_TRUE(document.starts_with(start) && document.ends_with(end)) << document;
  return document.substr(start.size(), document.size() - start.size() - end.size());
}

void assign(OwnedText& text, std::string_view source) {
  ASSERT_TRUE(text.assign(source));
}

TEST(DomWriter, WritesParametersBeforeChildObjects) {
  const NodePtr root = build_tree(
      "Root.\n"
      "  A. [1]\n"
      "    0.\n"
      "      Name\n"
      "    1. [1]\n"
      "      Name = x\n"
      "  B.\n"
      "  First = 1\n"
      "  Second = 2\n");
  EXPECT_EQ(written(root),
            "<VANTREL_CML>\n"
            "<Element name=\"First\" sname=\"\" value=\"1\" type=\"string\"></Element>\n"
            "<Element name=\"Second\" sname=\"\" value=\"2\" type=\"string\"></Element>\n"
            "<Element name=\"A.\" writable=\"1\" sname=\"\" type=\"object\">\n"
            "<Element name=\"0.\" sname=\"\" type=\"object\">\n"
            "<Element name=\"Name\" sname=\"\" value=\"\" type=\"string\"></Element>\n"
            "</Element>\n"
            "<Element name=\"1.\" writable=\"1\" sname=\"\" type=\"object\">\n"
            "<Element name=\"Name\" sname=\"\" value=\"x\" type=\"string\"></Element>\n"
            "</Element>\n"
            "</Element>\n"
            "<Element name=\"B.\" sname=\"\" type=\"object\"></Element>\n"
            "</VANTREL_CML>\n");
}

TEST(DomWriter, WritesNothingForAnEmptyObject) {
  EXPECT_EQ(written(build_tree("Root.\n")), "<VANTREL_CML></VANTREL_CML>\n");
}

TEST(DomWriter, AppendsToWhatTheElementHolds) {
  const DocumentPtr document = parse_document("<R><Old/></R>");
  EXPECT_EQ(write(build_tree("Root.\n  P = 1\n").get(), document), 0);
  EXPECT_EQ(printed(document),
            "<R>\n"
            "<Old></Old>\n"
            "<Element name=\"P\" sname=\"\" value=\"1\" type=\"string\"></Element>\n"
            "</R>\n");
}

TEST(DomWriter, WritesAllAttributesOfAParameterInOrder) {
  const NodePtr root = build_tree("Root.\n  P [131] = v\n");
  Parameter& param = *root->params;
  assign(param.sname, "short");
  assign(param.enumeration, "v,w");
  param.getter = CM_platform_fn_init("GetSysUpTime");
  ASSERT_NE(param.getter, nullptr);
  param.type = kEnumeration;
  EXPECT_EQ(element_of(root),
            "<Element name=\"P\" writable=\"1\" notification=\"2\" Disabled=\"1\" sname=\"short\" "
            "function=\"GetSysUpTime\" enumeration=\"v,w\" value=\"v\" type=\"string\">"
            "</Element>\n");
}

TEST(DomWriter, WritesAllAttributesOfAnObjectInOrder) {
  const NodePtr root = build_tree("Root.\n  X. [67]\n");
  assign(root->children->sname, "short");
  EXPECT_EQ(element_of(root),
            "<Element name=\"X.\" writable=\"1\" notification=\"1\" Disabled=\"1\" "
            "sname=\"short\" type=\"object\"></Element>\n");
}

TEST(DomWriter, WritesBitsOnlyWhenSet) {
  EXPECT_EQ(element_of(build_tree("Root.\n  P [1]\n")),
            "<Element name=\"P\" writable=\"1\" sname=\"\" value=\"\" type=\"string\">"
            "</Element>\n");
  EXPECT_EQ(element_of(build_tree("Root.\n  P [2]\n")),
            "<Element name=\"P\" Disabled=\"1\" sname=\"\" value=\"\" type=\"string\">"
            "</Element>\n");
  EXPECT_EQ(element_of(build_tree("Root.\n  P [64]\n")),
            "<Element name=\"P\" notification=\"1\" sname=\"\" value=\"\" type=\"string\">"
            "</Element>\n");
  EXPECT_EQ(element_of(build_tree("Root.\n  P [192]\n")),
            "<Element name=\"P\" notification=\"2\" sname=\"\" value=\"\" type=\"string\">"
            "</Element>\n");
  // Not switched on, user-set, user-set below: not written.
  EXPECT_EQ(element_of(build_tree("Root.\n  P [56]\n")),
            "<Element name=\"P\" sname=\"\" value=\"\" type=\"string\"></Element>\n");
  EXPECT_EQ(element_of(build_tree("Root.\n  X. [56]\n")),
            "<Element name=\"X.\" sname=\"\" type=\"object\"></Element>\n");
}

TEST(DomWriter, WritesTheFullTypeText) {
  const struct {
    ValueType type;
    std::int32_t min;
    std::int32_t max;
    const char* text;
  } cases[] = {
      {kString, 0, 64, "string(64)"},
      {kInt, -5, 0, "int[-5:]"},
      {kUnsignedInt, 0, 100, "unsignedInt[0:100]"},
      {kUnsignedInt, INT32_MIN, INT32_MIN, "unsignedInt[-2147483648:-2147483648]"},
      {kBoolean, 0, 1, "boolean"},
      {kDateTime, 0, 0, "dateTime"},
      {kBase64, 0, 20, "base64(20)"},
      {kIpAddress, 0, 15, "ipAddress"},
      {kNetmask, 0, 15, "netmask"},
      {kMacAddress, 0, 17, "macAddress"},
      {kUnknownType, 3, 4, "string"},
  };
  const NodePtr root = build_tree("Root.\n  P\n");
  for (const auto& [type, min, max, text] : cases) {
    root->params->type = type;
    root->params->min = min;
    root->params->max = max;
    EXPECT_EQ(element_of(root), std::string{"<Element name=\"P\" sname=\"\" value=\"\" type=\""} +
                                    std::string{text}.substr(0, kTypeTextSize - 1) +
                                    "\"></Element>\n");
  }
}

TEST(DomWriter, WritesACounterAsItIsStored) {
  const NodePtr root = build_tree(
      "Root.\n"
      "  HostNumberOfEntries = 7\n"
      "  Host.\n");
  EXPECT_EQ(written(root),
            "<VANTREL_CML>\n"
            "<Element name=\"HostNumberOfEntries\" sname=\"\" value=\"7\" type=\"string\">"
            "</Element>\n"
            "<Element name=\"Host.\" sname=\"\" type=\"object\"></Element>\n"
            "</VANTREL_CML>\n");
}

TEST(DomWriter, WritesAMissingNameAsTheEmptyOne) {
  const NodePtr root = build_tree("Root.\n  P\n");
  root->params->name.reset();
  EXPECT_EQ(element_of(root),
            "<Element name=\"\" sname=\"\" value=\"\" type=\"string\"></Element>\n");
}

/// The value that arrives in the document for a parameter's value.
std::string value_written(const std::string& value) {
  const NodePtr root = build_tree("Root.\n  P\n");
  assign(root->params->value, value);
  const DocumentPtr document = empty_document();
  EXPECT_EQ(write(root.get(), document), 0);
  IXML_Node* element = ixmlNode_getFirstChild(root_of(document));
  return ixmlElement_getAttribute(reinterpret_cast<IXML_Element*>(element),
                                  const_cast<char*>("value"));
}

TEST(DomWriter, CutsAValueAt32768Characters) {
  EXPECT_EQ(value_written(std::string(32768, 'a')), std::string(32768, 'a'));
  EXPECT_EQ(value_written(std::string(32768, 'a') + "b"), std::string(32768, 'a'));
  EXPECT_EQ(value_written(std::string(100000, 'a')), std::string(32768, 'a'));
}

TEST(DomWriter, CutsNoCharacterInTwo) {
  const std::string before(32766, 'a');
  EXPECT_EQ(value_written(before + "\xC3\xBC"
                                   "b"),
            before + "\xC3\xBC");
  EXPECT_EQ(value_written(before + "\xE2\x82\xAC"
                                   "b"),
            before);
  EXPECT_EQ(value_written(before + "bb\xC3\xBC"), before + "bb");
}

TEST(DomWriter, RefusesAMissingNodeOrElement) {
  const DocumentPtr document = empty_document();
  const NodePtr root = build_tree("Root.\n  P\n");
  EXPECT_EQ(CM_RAM2XML_Do(nullptr, root_element_of(document), document.get()), 3);
  EXPECT_EQ(CM_RAM2XML_Do(root.get(), nullptr, document.get()), 3);
  EXPECT_EQ(printed(document), "<VANTREL_CML></VANTREL_CML>\n");
}

TEST(DomWriter, RefusesAnElementOfAnotherDocument) {
  const DocumentPtr document = empty_document();
  const DocumentPtr other = empty_document();
  for (const auto* outline : {"Root.\n  P\n", "Root.\n  X.\n"}) {
    const NodePtr root = build_tree(outline);
    EXPECT_EQ(CM_RAM2XML_Do(root.get(), root_element_of(document), other.get()),
              IXML_WRONG_DOCUMENT_ERR);
    EXPECT_EQ(CM_RAM2XML_Do(root.get(), root_element_of(document), nullptr),
              IXML_INVALID_PARAMETER);
  }
  EXPECT_EQ(printed(document), "<VANTREL_CML></VANTREL_CML>\n");
  // The code is the one that the library itself has for it.
  IXML_Element* stray = ixmlDocument_createElement(other.get(), const_cast<char*>("E"));
  EXPECT_EQ(ixmlNode_appendChild(root_of(document), &stray->n), IXML_WRONG_DOCUMENT_ERR);
  ixmlElement_free(stray);
}

constexpr char kSmallTree[] =
    "Root.\n"
    "  P = v\n"
    "  X.\n"
    "    Q = w\n";

TEST(DomWriter, EndsWithTheFailureOfTheLibrary) {
  const NodePtr root = build_tree(kSmallTree);
  // Three elements, with four, three and four attributes.
  for (std::size_t nth = 1; nth <= 14; ++nth) {
    const DocumentPtr document = empty_document();
    const FailingDom library{nth};
    EXPECT_EQ(write(root.get(), document), IXML_INSUFFICIENT_MEMORY) << nth;
    EXPECT_TRUE(library.fired());
  }
  const DocumentPtr document = empty_document();
  const FailingDom library{15};
  EXPECT_EQ(write(root.get(), document), 0);
  EXPECT_FALSE(library.fired());
}

TEST(DomWriter, KeepsWhatWasAppendedBeforeAFailure) {
  const NodePtr root = build_tree(kSmallTree);
  const DocumentPtr document = empty_document();
  const FailingDom library{8};  // the "sname" of the object
  EXPECT_EQ(write(root.get(), document), IXML_INSUFFICIENT_MEMORY);
  EXPECT_EQ(printed(document),
            "<VANTREL_CML>\n"
            "<Element name=\"P\" sname=\"\" value=\"v\" type=\"string\"></Element>\n"
            "<Element name=\"X.\"></Element>\n"
            "</VANTREL_CML>\n");
}

TEST(DomWriter, NeedsMemoryOfItsOwnOnlyToCutAValue) {
  const NodePtr root = build_tree("Root.\n  P\n");
  assign(root->params->value, std::string(32769, 'a'));
  std::int32_t error = 0;
  DocumentPtr document;
  const std::size_t failed = test::sweep_allocations(
      [&] { document = empty_document(); }, [&] { error = write(root.get(), document); },
      [&] { EXPECT_EQ(error, IXML_INSUFFICIENT_MEMORY); });
  EXPECT_EQ(failed, 2U);
  EXPECT_EQ(error, 0);
  assign(root->params->value, std::string(32768, 'a'));
  EXPECT_EQ(test::sweep_allocations([&] { document = empty_document(); },
                                    [&] { error = write(root.get(), document); }, [] {}),
            0U);
  EXPECT_EQ(error, 0);
}

/// Writes a tree, prints the document, parses the text and loads it again.
NodePtr round_trip(const Node* node) {
  const DocumentPtr document = empty_document();
  EXPECT_EQ(write(node, document), 0);
  const DocumentPtr parsed = parse_document(printed(document));
  NodePtr root = new_node();
  EXPECT_EQ(CM_XML2RAM_Default(root.get(), root_of(parsed)), 0);
  return root;
}

TEST(DomRoundTrip, GivesTheSameTree) {
  // Built by the loader, so that every field is one that a document can hold.
  const DocumentPtr document = parse_document(
      "<VANTREL_CML>"
      "<Element name=\"InternetGatewayDevice.\" sname=\"igd\" type=\"object\">"
      "<Element name=\"HostNumberOfEntries\" type=\"unsignedInt[0:10]\" value=\"1\"/>"
      "<Element name=\"Special\" type=\"string(64)\" writable=\"1\" notification=\"2\" "
      "value=\"&lt;a href=&quot;x&quot;&gt; &amp;amp; it&apos;s \\ 100%\"/>"
      "<Element name=\"Utf8\" type=\"string\" value=\"\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80\"/>"
      "<Element name=\"Lines\" type=\"string\" value=\"one&#10;two&#9;three \"/>"
      "<Element name=\"Empty\" type=\"string\" value=\"\"/>"
      "<Element name=\"Mode\" type=\"string\" enumeration=\"a,b &amp; c\" value=\"a\" "
      "Disabled=\"1\"/>"
      "<Element name=\"Level\" type=\"int[-5:]\" notification=\"1\" value=\"-5\"/>"
      "<Element name=\"Flag\" type=\"boolean\" value=\"0\"/>"
      "<Element name=\"When\" type=\"dateTime\" value=\"0001-01-01T00:00:00Z\"/>"
      "<Element name=\"Key\" type=\"base64(20)\" value=\"QQ==\"/>"
      "<Element name=\"Ip\" type=\"ipAddress\" value=\"192.0.2.1\"/>"
      "<Element name=\"Mask\" type=\"netmask\" value=\"255.255.255.0\"/>"
      "<Element name=\"Mac\" type=\"macAddress\" value=\"00:00:5E:00:53:01\"/>"
      "<Element name=\"Host.\" sname=\"\" type=\"object\" notification=\"1\">"
      "<Element name=\"0.\" sname=\"\" type=\"object\" Disabled=\"1\"/>"
      "<Element name=\"1.\" sname=\"&quot;h1&quot;\" type=\"object\" writable=\"1\">"
      "<Element name=\"Name\" type=\"string\" value=\"printer\"/></Element>"
      "</Element></Element></VANTREL_CML>");
  const NodePtr first = new_node();
  ASSERT_EQ(CM_XML2RAM_Default(first.get(), root_of(document)), 0);
  const char* const tree =
      "InternetGatewayDevice. sname [igd]\n"
      "  HostNumberOfEntries = [1] type 4 [0:10]\n"
      "  Special = [<a href=\"x\"> &amp; it's \\ 100%] type 2 [0:64] word 129\n"
      "  Utf8 = [\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80] type 2\n"
      "  Lines = [one\ntwo\tthree ] type 2\n"
      "  Empty = [] type 2\n"
      "  Mode = [a] type 8 word 2 enumeration [a,b & c]\n"
      "  Level = [-5] type 3 [-5:0] word 64\n"
      "  Flag = [0] type 5 [0:1]\n"
      "  When = [0001-01-01T00:00:00Z] type 6\n"
      "  Key = [QQ==] type 7 [0:20]\n"
      "  Ip = [192.0.2.1] type 9 [0:15]\n"
      "  Mask = [255.255.255.0] type 10 [0:15]\n"
      "  Mac = [00:00:5E:00:53:01] type 11 [0:17]\n"
      "  Host. word 64 sname []\n"
      "    0. word 2 sname []\n"
      "    1. word 1 sname [\"h1\"]\n"
      "      Name = [printer] type 2\n";
  EXPECT_EQ(describe(first.get()), tree);
  EXPECT_EQ(describe(round_trip(first.get()).get()), tree);
}

TEST(DomRoundTrip, LosesWhatTheDialectDoesNotCarry) {
  const NodePtr root = build_tree(
      "Root.\n"
      "  NoValue [8]\n"
      "  Live [32] = 1\n"
      "  X. [48]\n");
  Parameter& live = *root->params->next;
  live.type = kUnknownType;
  live.getter = CM_platform_fn_init("GetSysUpTime");
  assign(live.sname, "short");
  EXPECT_EQ(describe(root.get()),
            "NoValue type 12 word 8\n"
            "Live = [1] type 12 word 32 sname [short] getter GetSysUpTime\n"
            "X. word 48\n");
  EXPECT_EQ(describe(round_trip(root.get()).get()),
            "NoValue = [] type 2\n"
            "Live = [1] type 2\n"
            "X. sname []\n");
}

TEST(DomRoundTrip, KeepsTheLongestValue) {
  const NodePtr root = build_tree("Root.\n  P\n");
  std::string value;
  while (value.size() < 32768)
    value += "<&\"'>abc";
  assign(root->params->value, value);
  EXPECT_EQ(round_trip(root.get())->params->value.view(), value);
}

TEST(DomWriter, WritesATreeAsDeepAsAPathIsLong) {
  constexpr std::size_t kLevels = 32768;
  const NodePtr root = new_node();
  Node* node = root.get();
  for (std::size_t level = 0; level < kLevels; ++level) {
    node->children = new_node().release();
    node->children->parent = node;
    node = node->children;
  }
  std::int32_t error = -1;
  std::size_t levels = 0;
  // The library frees a document by recursion too.
  test::on_stack(test::kProcessStack, [&] {
    const DocumentPtr document = empty_document();
    error = write(root.get(), document);
    for (IXML_Node* element = ixmlNode_getFirstChild(root_of(document)); element;
         element = ixmlNode_getFirstChild(element))
      ++levels;
  });
  EXPECT_EQ(error, 0);
  EXPECT_EQ(levels, kLevels);
}

}  // namespace
}  // namespace gwconf
