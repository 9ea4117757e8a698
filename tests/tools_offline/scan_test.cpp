#include "tools/offline/scan.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <span>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/offline/loaded_tree.h"
#include "tools/offline/outline.h"

namespace gwconf::test {
namespace {

using namespace gwconf::tool;
using testing::ElementsAre;

/// The names of a loaded tree's records in the order in which they stand in its text.
std::vector<std::string> names_of(const LoadedTree& tree) {
  std::vector<std::string> names;
  NodeWalk walk{tree.root()};
  do {
    names.emplace_back(walk.get()->name.view());
    for (const Parameter* param = walk.get()->params; param; param = param->next)
      names.emplace_back(param->name.view());
  } while (walk.next());
  return names;
}

std::vector<std::string> names_of(const Outline& outline) {
  std::vector<std::string> names;
  for (const Element& element : outline.elements)
    names.emplace_back(element.name);
  return names;
}

/// Texts tried, and those of them that load.
struct Tally {
  std::size_t texts = 0;
  std::size_t loaded = 0;
};

/// Expects the scan to know what the daemon's loader makes of a text.
void expect_agreement(const std::string& text, Tally& tally) {
  const Scan scanned = scan(text);
  const Outline outline = outline_of(scanned);
  const LoadedTree tree{text};
  const bool loads = tree.state() == LoadedTree::State::kLoaded;
  ++tally.texts;
  tally.loaded += loads;
  ASSERT_EQ(verdict_of(scanned, outline).loads, loads) << text;
  if (!loads) return;
  ASSERT_EQ(names_of(outline), names_of(tree)) << text;
}

/// All sequences of up to `most` pieces.
void expect_agreement_on_all(std::span<const std::string> pieces, int most, const std::string& text,
                             Tally& tally) {
  expect_agreement(text, tally);
  if (most == 0 || testing::Test::HasFatalFailure()) return;
  for (const std::string& piece : pieces)
    expect_agreement_on_all(pieces, most - 1, text + piece, tally);
}

void expect_agreement_on_some(std::span<const std::string> pieces, int count, std::size_t longest,
                              Tally& tally) {
  std::mt19937 source{20260131};
  for (; count > 0 && !testing::Test::HasFatalFailure(); --count) {
    std::string text;
    for (std::size_t length = source() % (longest + 1); length > 0; --length)
      text += pieces[source() % pieces.size()];
    expect_agreement(text, tally);
  }
}

const std::vector<std::string> kTags = {
    "<DATAMODEL>",
    R"(<OBJECT name="A.">)",
    "</object>",
    R"(<OBJECT name="B."/>)",
    R"(<PARAMETER name="p"/>)",
    R"(<PARAMETER name="q">)",
    "</PARAMETER>",
    R"(<Element name="C.">)",
    R"(<any name="r">)",
    "</Element>",
    R"(<Element type="object">)",
    R"(<OBJECT name="V." value="1">)",
    "<!-- -->",
};

const std::vector<std::string> kCharacters = {
    "<", ">", "/", "?", "!--", "-->", "A", " \n", "=", "\"", "\\", "'", R"(n="v")", "<?x", "OBJECT",
};

TEST(ScanAgreement, OnAllShortSequencesOfTags) {
  Tally tally;
  expect_agreement_on_all(kTags, 4, "", tally);
  EXPECT_EQ(tally.texts, 30'941U);
  EXPECT_GT(tally.loaded, 100U);
}

TEST(ScanAgreement, OnLongerSequencesOfTags) {
  Tally tally;
  expect_agreement_on_some(kTags, 40'000, 9, tally);
  EXPECT_GT(tally.loaded, 100U);
}

TEST(ScanAgreement, OnAllShortSequencesOfCharacters) {
  Tally tally;
  expect_agreement_on_all(kCharacters, 3, "", tally);
  EXPECT_EQ(tally.texts, 3616U);
}

TEST(ScanAgreement, OnOneTagMadeOfPieces) {
  Tally tally;
  const std::vector<std::string> pieces = {"<OBJECT", " ",  R"(a="1")", "/>", "/",  ">",
                                           "=",       "\"", "\\",       "</", "--", "<!--"};
  expect_agreement_on_all(pieces, 4, "<OBJECT", tally);
  expect_agreement_on_some(pieces, 20'000, 8, tally);
  EXPECT_GT(tally.loaded, 20U);
}

TEST(ScanAgreement, AtTheBounds) {
  Tally tally;
  std::string attributes;
  for (int count = 1; count <= 22; ++count) {
    attributes += " a" + std::to_string(count) + "=\"\"";
    expect_agreement("<OBJECT" + attributes + "/>", tally);
    expect_agreement("<?xml" + attributes + "?><OBJECT/>", tally);
    expect_agreement("<OBJECT><PARAMETER" + attributes + "/></OBJECT>", tally);
  }
  EXPECT_EQ(tally.loaded, 60U);
  for (const std::size_t length : {254U, 255U, 256U})
    expect_agreement("<OBJECT name=\"" + std::string(length - 1, 'A') + ".\"/>", tally);
  EXPECT_EQ(tally.loaded, 62U);
}

/// A chain of objects whose path has `length` characters, with a parameter in the last one.
std::string chain(std::size_t length, const std::string& innermost) {
  std::string text;
  std::size_t depth = 0;
  while (length > 0) {
    const std::size_t segment = std::min<std::size_t>(length, 255);
    text += "<OBJECT name=\"" + std::string(segment - 1, 'A') + ".\">";
    length -= segment;
    ++depth;
  }
  text += innermost;
  for (; depth > 0; --depth)
    text += "</OBJECT>";
  return text;
}

TEST(ScanAgreement, AtTheLengthOfAPath) {
  Tally tally;
  for (const std::size_t length : {32'767U, 32'768U, 32'769U})
    expect_agreement(chain(length, ""), tally);
  EXPECT_EQ(tally.loaded, 2U);
  for (const char* innermost :
       {R"(<PARAMETER name="pq"/>)", R"(<PARAMETER name="p"/>)", "<PARAMETER/>",
        R"(<OBJECT name="o."/><PARAMETER name="p"/>)", R"(<OBJECT name="o."/><OBJECT name="p."/>)"})
    expect_agreement(chain(32'766, innermost), tally);
  EXPECT_EQ(tally.loaded, 6U);
}

TEST(ScanAgreement, OnObjectsWithoutAName) {
  Tally tally;
  for (const std::size_t depth : {1U, 100U, 32'768U, 32'769U}) {
    std::string text;
    for (std::size_t i = 0; i < depth; ++i)
      text += "<OBJECT>";
    for (std::size_t i = 0; i < depth; ++i)
      text += "</OBJECT>";
    expect_agreement(text, tally);
  }
  EXPECT_EQ(tally.loaded, 3U);
}

TEST(ScanAgreement, OnTheReadersCorpus) {
  Tally tally;
  for (const auto& entry : std::filesystem::directory_iterator{GWCONF_READER_CORPUS}) {
    std::ifstream file{entry.path(), std::ios::binary};
    const std::string bytes{std::istreambuf_iterator<char>{file}, {}};
    expect_agreement(bytes.substr(0, bytes.find('\0')), tally);
  }
  EXPECT_GT(tally.texts, 30U);
}

TEST(Scan, PlacesOfAnItem) {
  const std::string text = R"(  <!-- c --><OBJECT  name = "A\"." x="">)";
  const Scan scanned = scan(text);
  EXPECT_FALSE(scanned.fault);
  ASSERT_EQ(scanned.items.size(), 2U);
  EXPECT_EQ(scanned.items[0].kind, kXmlComment);
  EXPECT_EQ(scanned.items[0].at, 2U);
  EXPECT_EQ(scanned.items[0].end, 12U);
  const ScannedItem& item = scanned.items[1];
  EXPECT_EQ(item.kind, kXmlBegin);
  EXPECT_EQ(item.name, "OBJECT");
  EXPECT_EQ(item.at, 12U);
  EXPECT_EQ(item.end, text.size());
  ASSERT_EQ(item.attributes.size(), 2U);
  EXPECT_EQ(item.attributes[0].raw, R"(A\".)");
  EXPECT_EQ(item.attributes[0].raw.data() - text.data(), 29);
  EXPECT_EQ(item.attributes[0].value, "A\".");
  EXPECT_EQ(item.find("x")->value, "");
  EXPECT_EQ(item.find("y"), nullptr);
}

TEST(Scan, TheLastOfAnAttributeCounts) {
  const Scan scanned = scan(R"(<A a="1" a="2"/>)");
  EXPECT_EQ(scanned.items[0].find("a")->value, "2");
}

TEST(Scan, GoesUpToTheFirstFault) {
  const Scan scanned = scan("<A/><B/>text<C/>");
  EXPECT_EQ(scanned.items.size(), 2U);
  ASSERT_TRUE(scanned.fault);
  EXPECT_EQ(scanned.fault->rule, Rule::kTextOutsideTags);
  EXPECT_EQ(scanned.fault->at, 8U);
  EXPECT_EQ(scanned.fault->length, 4U);
}

TEST(Scan, PlacesInDecodedValues) {
  EXPECT_EQ(raw_index(R"(a\"b\\c)", 0), 0U);
  EXPECT_EQ(raw_index(R"(a\"b\\c)", 1), 1U);
  EXPECT_EQ(raw_index(R"(a\"b\\c)", 2), 3U);
  EXPECT_EQ(raw_index(R"(a\"b\\c)", 4), 6U);
  EXPECT_EQ(raw_index(R"(a\"b\\c)", 99), 7U);
}

TEST(LoadedTree, SaysNothingOnStandardOutput) {
  testing::internal::CaptureStdout();
  const LoadedTree tree{"text"};
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(tree.state(), LoadedTree::State::kRefused);
  EXPECT_EQ(tree.diagnostics(),
            "[FUNC]typeParse [RET]NODE_FORMART_ERR\n"
            "[FUNC]nodeParse [RET]-1\n"
            "[FUNC]call_xml_parser [LINE]35\n");
}

TEST(LoadedTree, TellsEmptySettingsFromBrokenOnes) {
  for (const char* text : {"", " \n", "<DATAMODEL>\n</DATAMODEL>\n", "<?xml?><!-- -->"})
    EXPECT_EQ(LoadedTree{text}.state(), LoadedTree::State::kEmpty) << text;
  for (const char* text : {"x", "<OBJECT>", "</OBJECT>", "<DATAMODEL", "<PARAMETER/>"})
    EXPECT_EQ(LoadedTree{text}.state(), LoadedTree::State::kRefused) << text;
}

TEST(LoadedTree, IsLiveUntilItEnds) {
  LoadedTree first{R"(<OBJECT name="A."/>)"};
  first.make_live();
  {
    LoadedTree second{R"(<OBJECT name="B."/>)"};
    second.make_live();
    EXPECT_EQ(cml_root, second.root());
  }
  EXPECT_EQ(cml_root, nullptr);
  first.make_live();
  EXPECT_EQ(cml_root, first.root());
}

TEST(NodeWalk, GoesThroughATree) {
  const LoadedTree tree{R"(<OBJECT name="A."><OBJECT name="B."><OBJECT name="C."/></OBJECT>)"
                        R"(<OBJECT name="D."/></OBJECT>)"};
  EXPECT_THAT(names_of(tree), ElementsAre("A.", "B.", "C.", "D."));
  NodeWalk walk{tree.root()->children};
  EXPECT_TRUE(walk.next());
  EXPECT_EQ(walk.get()->name.view(), "C.");
  EXPECT_FALSE(walk.next_outside());
}

}  // namespace
}  // namespace gwconf::test
