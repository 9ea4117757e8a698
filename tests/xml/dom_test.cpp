#include "xml/dom.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "core/owned_text.h"
#include "tests/support/failing_heap.h"
#include "tests/xml/dom_support.h"

namespace gwconf {
namespace {

using test::DocumentPtr;
using test::FailingDom;
using test::FailingHeap;
using test::live_blocks;
using test::parse_document;
using test::root_of;

OwnedText text_of(const char* source) {
  OwnedText text;
  EXPECT_TRUE(text.assign(std::string_view{source}));
  return text;
}

/// GetAttr on the root element of a document, with an old text.
OwnedText get_attr(const DocumentPtr& document, const char* old, const char* name) {
  return OwnedText::adopt(CM_XML2RAM_GetAttr(old ? text_of(old).release() : nullptr,
                                             attributes_of(root_of(document)).get(), name));
}

TEST(GetAttr, CopiesTheValue) {
  const DocumentPtr document = parse_document("<E name=\"a &amp; b\" value=\"\"/>");
  EXPECT_STREQ(get_attr(document, nullptr, "name").get(), "a & b");
  EXPECT_STREQ(get_attr(document, nullptr, "value").get(), "");
}

TEST(GetAttr, ReplacesTheOldText) {
  const DocumentPtr document = parse_document("<E name=\"new\"/>");
  const std::size_t before = live_blocks();
  {
    const OwnedText text = get_attr(document, "old", "name");
    EXPECT_STREQ(text.get(), "new");
    EXPECT_EQ(live_blocks(), before + 1);
  }
  EXPECT_EQ(live_blocks(), before);
}

TEST(GetAttr, GivesNothingForAMissingAttribute) {
  const DocumentPtr document = parse_document("<E name=\"new\"/>");
  const std::size_t before = live_blocks();
  EXPECT_EQ(get_attr(document, nullptr, "Name").get(), nullptr);
  EXPECT_EQ(get_attr(document, "old", "value").get(), nullptr);
  EXPECT_EQ(CM_XML2RAM_GetAttr(text_of("old").release(), nullptr, "name"), nullptr);
  EXPECT_EQ(live_blocks(), before);
}

TEST(GetAttr, GivesNothingWithoutMemory) {
  const DocumentPtr document = parse_document("<E name=\"new\"/>");
  const DomAttributesPtr attributes = attributes_of(root_of(document));
  OwnedText old = text_of("old");
  const std::size_t before = live_blocks();
  const FailingHeap heap{1, FailingHeap::Kind::kOnce};
  EXPECT_EQ(CM_XML2RAM_GetAttr(old.release(), attributes.get(), "name"), nullptr);
  EXPECT_TRUE(heap.fired());
  EXPECT_EQ(live_blocks(), before - 1);
}

TEST(IxmlGetAttr, DoesNotCopy) {
  const DocumentPtr document = parse_document("<E a=\"1\" name=\"X.\"/>");
  const std::size_t before = live_blocks();
  const char* value = CM_UTL_IXML_GetAttr(root_of(document), "name");
  EXPECT_STREQ(value, "X.");
  EXPECT_EQ(value,
            ixmlElement_getAttribute(test::root_element_of(document), const_cast<char*>("name")));
  EXPECT_EQ(live_blocks(), before);
}

TEST(IxmlGetAttr, GivesNothingWhereThereIsNoSuchAttribute) {
  const DocumentPtr document = parse_document("<E name=\"X.\">text<B/></E>");
  EXPECT_EQ(CM_UTL_IXML_GetAttr(root_of(document), "value"), nullptr);
  IXML_Node* text = ixmlNode_getFirstChild(root_of(document));
  ASSERT_EQ(text->nodeType, eTEXT_NODE);
  EXPECT_EQ(CM_UTL_IXML_GetAttr(text, "name"), nullptr);
  EXPECT_EQ(CM_UTL_IXML_GetAttr(ixmlNode_getNextSibling(text), "name"), nullptr);
  EXPECT_EQ(CM_UTL_IXML_GetAttr(nullptr, "name"), nullptr);
}

TEST(IxmlGetAttr, TakesAnAttributeWithoutValueForEmpty) {
  const DocumentPtr document = parse_document("<E/>");
  IXML_Node* attribute = ixml_createNodeEx(eATTRIBUTE_NODE, "name", document.get());
  ASSERT_NE(attribute, nullptr);
  ASSERT_EQ(attribute->nodeValue, nullptr);
  ASSERT_EQ(ixmlElement_setAttributeNode(test::root_element_of(document),
                                         reinterpret_cast<IXML_Attr*>(attribute), nullptr),
            IXML_SUCCESS);
  EXPECT_STREQ(CM_UTL_IXML_GetAttr(root_of(document), "name"), "");
}

TEST(Lists, AreNoneWhereThereIsNothing) {
  const DocumentPtr document = parse_document("<R a=\"1\"><E/></R>");
  EXPECT_TRUE(child_nodes_of(root_of(document)));
  EXPECT_TRUE(attributes_of(root_of(document)));
  IXML_Node* childless = ixmlNode_getFirstChild(root_of(document));
  EXPECT_FALSE(child_nodes_of(childless));
  EXPECT_FALSE(attributes_of(childless));
  EXPECT_FALSE(child_nodes_of(nullptr));
  EXPECT_FALSE(attributes_of(nullptr));
}

/// The attribute "n" of the node that is found among the children of the root; "<none>" for none.
std::string found_in(const DocumentPtr& document, const char* name, const char* value) {
  const DomListPtr list = child_nodes_of(root_of(document));
  IXML_Node* node = CM_XML_GetNodeByAttribute(list.get(), name, value);
  return node ? CM_UTL_IXML_GetAttr(node, "n") : "<none>";
}

TEST(GetNodeByAttribute, FindsTheFirstOfExactlyThatValue) {
  const DocumentPtr document = parse_document(
      "<R>text<E/><E n=\"1\" name=\"ab\"/><E n=\"2\" name=\"a\"/><E n=\"3\" name=\"a\"/>"
      "<E n=\"4\" other=\"c\"/><E n=\"5\" name=\"\"/></R>");
  EXPECT_EQ(found_in(document, "name", "a"), "2");
  EXPECT_EQ(found_in(document, "name", "ab"), "1");
  EXPECT_EQ(found_in(document, "name", ""), "5");
  EXPECT_EQ(found_in(document, "other", "c"), "4");
  EXPECT_EQ(found_in(document, "name", "A"), "<none>");
  EXPECT_EQ(found_in(document, "name", "c"), "<none>");
  EXPECT_EQ(found_in(document, "Name", "a"), "<none>");
  EXPECT_EQ(found_in(document, "name", nullptr), "<none>");
}

TEST(GetNodeByAttribute, FindsNothingInNoList) {
  EXPECT_EQ(CM_XML_GetNodeByAttribute(nullptr, "name", "a"), nullptr);
  const DocumentPtr document = parse_document("<R/>");
  EXPECT_EQ(found_in(document, "name", "a"), "<none>");
}

TEST(GetNodeByAttribute, LooksAtTheChildrenOnly) {
  const DocumentPtr document =
      parse_document("<R name=\"a\"><E name=\"b\"><E n=\"1\" name=\"a\"/></E></R>");
  EXPECT_EQ(found_in(document, "name", "a"), "<none>");
}

struct FreeDomNode {
  void operator()(IXML_Node* node) const { ixmlNode_free(node); }
};
using DomNodePtr = std::unique_ptr<IXML_Node, FreeDomNode>;

DomNodePtr create(int kind, const char* name, IXML_Document* document) {
  return DomNodePtr{ixml_createNodeEx(static_cast<IXML_NODE_TYPE>(kind), name, document)};
}

TEST(CreateNodeEx, MakesTheFourKinds) {
  const DocumentPtr document = parse_document("<R/>");
  const DomNodePtr element = create(1, "Element", document.get());
  ASSERT_TRUE(element);
  EXPECT_EQ(element->nodeType, eELEMENT_NODE);
  EXPECT_STREQ(element->nodeName, "Element");
  EXPECT_EQ(element->ownerDocument, document.get());
  const DomNodePtr attribute = create(2, "name", document.get());
  ASSERT_TRUE(attribute);
  EXPECT_EQ(attribute->nodeType, eATTRIBUTE_NODE);
  EXPECT_STREQ(attribute->nodeName, "name");
  const DomNodePtr text = create(3, "words", document.get());
  ASSERT_TRUE(text);
  EXPECT_EQ(text->nodeType, eTEXT_NODE);
  EXPECT_STREQ(text->nodeValue, "words");
  const DomNodePtr made = create(9, nullptr, nullptr);
  ASSERT_TRUE(made);
  EXPECT_EQ(made->nodeType, eDOCUMENT_NODE);
}

TEST(CreateNodeEx, MakesNothingElse) {
  const DocumentPtr document = parse_document("<R/>");
  for (const int kind : {0, 4, 5, 6, 7, 8, 10, 11, 12})
    EXPECT_FALSE(create(kind, "x", document.get())) << kind;
  for (const int kind : {1, 2, 3}) {
    EXPECT_FALSE(create(kind, nullptr, document.get())) << kind;
    EXPECT_FALSE(create(kind, "x", nullptr)) << kind;
  }
  const FailingDom library{1};
  EXPECT_FALSE(create(1, "x", document.get()));
  EXPECT_TRUE(library.fired());
}

}  // namespace
}  // namespace gwconf
