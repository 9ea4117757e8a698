#include "xml/dom_overlay.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/failing_heap.h"
#include "tests/support/tree_builder.h"
#include "tests/xml/dom_support.h"

namespace gwconf {
namespace {

using test::build_tree;
using test::DocumentPtr;
using test::outline_of;
using test::parse_document;
using test::root_of;

constexpr char kTree[] =
    "Root.\n"
    "  Mode [8] = old\n"
    "  Comment = old\n"
    "  Host.\n"
    "    0.\n"
    "      Name = old\n"
    "    1. [1]\n"
    "      Name = old\n"
    "      Port\n"
    "  Time. [2]\n"
    "    Server [96] = old\n";

/// The result of an overlay on kTree, and the tree afterwards.
struct Overlaid {
  Status status;
  std::string tree;
};

Overlaid overlay(const std::string& content) {
  const NodePtr root = build_tree(kTree);
  const DocumentPtr document = parse_document("<VANTREL_CML>" + content + "</VANTREL_CML>");
  Overlaid overlaid{};
  overlaid.status = CM_XML2RAM_CustomizedSettings(root.get(), root_of(document));
  overlaid.tree = outline_of(root.get());
  return overlaid;
}

TEST(DomOverlay, CopiesTheValuesOfTheElementsOfTheSameName) {
  const Overlaid overlaid = overlay(
      "<Element name=\"Comment\" value=\"new &amp; shiny\"/>"
      "<Element name=\"Host.\" type=\"object\">"
      "<Element name=\"1.\" type=\"object\"><Element name=\"Port\" value=\"80\"/></Element>"
      "</Element>"
      "<Element name=\"Time.\" type=\"object\"><Element name=\"Server\" value=\"\"/></Element>");
  EXPECT_EQ(overlaid.status, 0);
  EXPECT_EQ(overlaid.tree,
            "Root.\n"
            "  Mode [8] = old\n"
            "  Comment = new & shiny\n"
            "  Host.\n"
            "    0.\n"
            "      Name = old\n"
            "    1. [1]\n"
            "      Name = old\n"
            "      Port = 80\n"
            "  Time. [2]\n"
            "    Server [96] =\n");
}

TEST(DomOverlay, TakesAValueAwayWhereTheElementHasNone) {
  const Overlaid overlaid = overlay("<Element name=\"Mode\"/>");
  EXPECT_EQ(overlaid.status, 0);
  EXPECT_EQ(overlaid.tree,
            "Root.\n"
            "  Mode [8]\n"
            "  Comment = old\n"
            "  Host.\n"
            "    0.\n"
            "      Name = old\n"
            "    1. [1]\n"
            "      Name = old\n"
            "      Port\n"
            "  Time. [2]\n"
            "    Server [96] = old\n");
}

TEST(DomOverlay, IgnoresElementsThatTheTreeLacks) {
  const Overlaid overlaid = overlay(
      "text"
      "<Element/>"
      "<Element value=\"nameless\"/>"
      "<Element name=\"mode\" value=\"other case\"/>"
      "<Element name=\"Server\" value=\"of another object\"/>"
      "<Element name=\"New\" value=\"1\"/>"
      "<Element name=\"New.\" type=\"object\"><Element name=\"P\" value=\"1\"/></Element>"
      "<Element name=\"Host.\" type=\"object\">"
      "<Element name=\"2.\" type=\"object\"><Element name=\"Name\" value=\"1\"/></Element>"
      "</Element>");
  EXPECT_EQ(overlaid.status, 0);
  EXPECT_EQ(overlaid.tree, kTree);
}

TEST(DomOverlay, TakesNoAttributeButTheValue) {
  const NodePtr root = build_tree("Root.\n  P [64] = old\n");
  root->params->type = kInt;
  root->params->min = -5;
  root->params->max = 5;
  const DocumentPtr document = parse_document(
      "<R><Element name=\"P\" writable=\"1\" notification=\"2\" Disabled=\"1\" sname=\"p\" "
      "function=\"GetSysUpTime\" enumeration=\"a,b\" value=\"7\" type=\"string(3)\"/></R>");
  EXPECT_EQ(CM_XML2RAM_CustomizedSettings(root.get(), root_of(document)), 0);
  EXPECT_EQ(test::describe(root.get()), "P = [7] type 3 [-5:5] word 64\n");
}

TEST(DomOverlay, TakesTheFirstElementOfAName) {
  const NodePtr root = build_tree("Root.\n  P = old\n");
  const DocumentPtr document = parse_document(
      "<R><Element name=\"P\" value=\"first\"/><Element name=\"P\" value=\"second\"/></R>");
  EXPECT_EQ(CM_XML2RAM_CustomizedSettings(root.get(), root_of(document)), 0);
  EXPECT_EQ(outline_of(root.get()), "Root.\n  P = first\n");
}

TEST(DomOverlay, ServesEveryRecordOfAName) {
  const NodePtr root = build_tree("Root.\n  P = a\n  P = b\n");
  const DocumentPtr document = parse_document("<R><Element name=\"P\" value=\"new\"/></R>");
  EXPECT_EQ(CM_XML2RAM_CustomizedSettings(root.get(), root_of(document)), 0);
  EXPECT_EQ(outline_of(root.get()), "Root.\n  P = new\n  P = new\n");
}

TEST(DomOverlay, LeavesRecordsWithoutNameAlone) {
  const NodePtr root = build_tree("Root.\n  P = old\n  X.\n    Q = old\n");
  root->params->name.reset();
  root->children->name.reset();
  const DocumentPtr document = parse_document(
      "<R><Element name=\"\" value=\"new\"><Element name=\"Q\" value=\"new\"/></Element></R>");
  EXPECT_EQ(CM_XML2RAM_CustomizedSettings(root.get(), root_of(document)), 0);
  EXPECT_EQ(outline_of(root.get()), "Root.\n  <none> = old\n  <none>\n    Q = old\n");
}

TEST(DomOverlay, RefusesMissingArgumentsAndAnEmptyElement) {
  const NodePtr root = build_tree(kTree);
  const DocumentPtr document = parse_document("<R><Element name=\"Mode\" value=\"new\"/></R>");
  EXPECT_EQ(CM_XML2RAM_CustomizedSettings(nullptr, root_of(document)), 3);
  EXPECT_EQ(CM_XML2RAM_CustomizedSettings(root.get(), nullptr), 3);
  const DocumentPtr childless = parse_document("<R a=\"1\"/>");
  EXPECT_EQ(CM_XML2RAM_CustomizedSettings(root.get(), root_of(childless)), 3);
  EXPECT_EQ(outline_of(root.get()), kTree);
}

TEST(DomOverlay, EndsAtAnObjectWhoseElementIsEmpty) {
  const Overlaid overlaid = overlay(
      "<Element name=\"Host.\" type=\"object\">"
      "<Element name=\"0.\" type=\"object\"><Element name=\"Name\" value=\"taken\"/></Element>"
      "<Element name=\"1.\" type=\"object\"/>"
      "</Element>"
      "<Element name=\"Time.\" type=\"object\"><Element name=\"Server\" value=\"new\"/></Element>"
      "<Element name=\"Mode\" value=\"new\"/>");
  EXPECT_EQ(overlaid.status, 3);
  EXPECT_EQ(overlaid.tree,
            "Root.\n"
            "  Mode [8] = old\n"
            "  Comment = old\n"
            "  Host.\n"
            "    0.\n"
            "      Name = taken\n"
            "    1. [1]\n"
            "      Name = old\n"
            "      Port\n"
            "  Time. [2]\n"
            "    Server [96] = old\n");
}

TEST(DomOverlay, KeepsTheOldValueWithoutMemory) {
  const DocumentPtr document = parse_document(
      "<R><Element name=\"X.\"><Element name=\"P\" value=\"new\"/></Element>"
      "<Element name=\"Q\" value=\"new\"/></R>");
  constexpr char kBefore[] = "Root.\n  Q = old\n  X.\n    P = old\n";
  NodePtr root;
  Status status = CM_OK;
  std::string tree;
  std::vector<std::string> trees;
  const std::size_t failed = test::sweep_allocations([&] { root = build_tree(kBefore); },
                                                     [&] {
                                                       status = CM_XML2RAM_CustomizedSettings(
                                                           root.get(), root_of(document));
                                                       tree = outline_of(root.get());
                                                       root.reset();
                                                     },
                                                     [&] {
                                                       EXPECT_EQ(status, 4);
                                                       trees.push_back(tree);
                                                     });
  EXPECT_EQ(failed, 4U);
  const std::string half = "Root.\n  Q = old\n  X.\n    P = new\n";
  EXPECT_EQ(trees, (std::vector<std::string>{kBefore, half, kBefore, half}));
  EXPECT_EQ(status, 0);
  EXPECT_EQ(tree, "Root.\n  Q = new\n  X.\n    P = new\n");
}

TEST(DomOverlay, EndsWhenTheLibraryRunsOutOfMemory) {
  const DocumentPtr document = parse_document(
      "<R><Element name=\"X.\"><Element name=\"P\" value=\"new\"/></Element>"
      "<Element name=\"Q\" value=\"new\"/></R>");
  constexpr char kBefore[] = "Root.\n  Q = old\n  X.\n    P = old\n";
  for (std::size_t nth = 1; nth <= 2; ++nth) {  // one list of children an object
    SCOPED_TRACE(nth);
    const NodePtr root = build_tree(kBefore);
    const test::FailingDom library{nth};
    EXPECT_EQ(CM_XML2RAM_CustomizedSettings(root.get(), root_of(document)), 4);
    EXPECT_TRUE(library.fired());
    EXPECT_EQ(outline_of(root.get()), kBefore);
  }
  const NodePtr root = build_tree(kBefore);
  const test::FailingDom library{3};
  EXPECT_EQ(CM_XML2RAM_CustomizedSettings(root.get(), root_of(document)), 0);
  EXPECT_FALSE(library.fired());
  EXPECT_EQ(outline_of(root.get()), "Root.\n  Q = new\n  X.\n    P = new\n");
}

}  // namespace
}  // namespace gwconf
