#include "xml/reader.h"

#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services.h"
#include "tests/support/capture.h"
#include "tests/support/failing_heap.h"
#include "tests/support/sandbox.h"

namespace gwconf {
namespace {

using test::FailingHeap;
using test::live_blocks;
using test::stdout_of;
using testing::ElementsAre;
using testing::IsEmpty;

using Attributes = std::vector<std::pair<std::string, std::string>>;

/// What a record holds, compared and printed as a whole.
struct Item {
  std::int32_t type;
  std::string name;
  Attributes attributes;

  bool operator==(const Item&) const = default;
};

void PrintTo(const Item& item, std::ostream* out) {
  *out << item.type << " " << item.name;
  for (const auto& [name, value] : item.attributes)
    *out << " " << name << "=[" << value << "]";
}

Item item_of(const xml_node& node) {
  Item item{node.type, node.name.c_str(), {}};
  for (std::int32_t i = 0; i < node.attr_count; ++i)
    item.attributes.emplace_back(node.attrs[i].name.c_str(), node.attrs[i].value.c_str());
  return item;
}

std::vector<Item> seen;
std::size_t refused_from;  // the callback refuses the item of this number and all behind it
int errors;
OwnedText taken;

std::int32_t record_item(xml_node* item) {
  if (seen.size() + 1 >= refused_from) return -1;
  seen.push_back(item_of(*item));
  return 0;
}

void count_error() {
  ++errors;
}

class XmlReader : public testing::Test {
 protected:
  XmlReader() { start(); }
  ~XmlReader() override {
    xml_line_process = nullptr;
    xml_line_error = nullptr;
    taken.reset();
  }

  static void start() {
    seen.clear();
    refused_from = 1'000'000'000;
    errors = 0;
    xml_line_process = record_item;
    xml_line_error = count_error;
  }
};

std::string spaces(std::size_t count) {
  return std::string(count, ' ');
}

TEST_F(XmlReader, SkipsFourKindsOfWhiteSpace) {
  EXPECT_EQ(skip_white_space(""), 0U);
  EXPECT_EQ(skip_white_space("a "), 0U);
  EXPECT_EQ(skip_white_space(" \t\r\n a"), 5U);
  EXPECT_EQ(skip_white_space("\n\n"), 2U);
  EXPECT_EQ(skip_white_space(" \va"), 1U);
  EXPECT_EQ(skip_white_space(" \fa"), 1U);
  EXPECT_EQ(skip_white_space(std::string_view{" \0 ", 3}), 1U);
}

TEST_F(XmlReader, ReadsTheLongestName) {
  OwnedText name;
  EXPECT_EQ(nameParse("AZaz09._-=", &name), 9);
  EXPECT_STREQ(name.get(), "AZaz09._-");
  EXPECT_EQ(nameParse(" \t\r\nx>", &name), 5);
  EXPECT_STREQ(name.get(), "x");
  EXPECT_EQ(nameParse("to the end", &name), 2);
  EXPECT_EQ(nameParse("end", &name), 3);
  EXPECT_STREQ(name.get(), "end");
}

TEST_F(XmlReader, ANameThatIsNotThereIsToldByTheResultAlone) {
  for (const char* text : {"", "  ", "=", " >a", ":a", "/a", "\xC3\xA4"}) {
    SCOPED_TRACE(text);
    OwnedText name;
    ASSERT_TRUE(name.assign("before"));
    std::int32_t result = 0;
    EXPECT_EQ(stdout_of([&] { result = nameParse(text, &name); }), "");
    EXPECT_EQ(result, -1);
    EXPECT_FALSE(name);
  }
}

TEST_F(XmlReader, ANameWithoutMemoryIsToldByTheResultAlone) {
  OwnedText name;
  ASSERT_TRUE(name.assign("before"));
  std::int32_t result = 0;
  const FailingHeap heap{1, FailingHeap::Kind::kOnce};
  EXPECT_EQ(stdout_of([&] { result = nameParse("a", &name); }), "");
  EXPECT_EQ(result, -2);
  EXPECT_FALSE(name);
}

TEST_F(XmlReader, ReadsAnAttribute) {
  const struct {
    const char* text;
    std::int32_t used;
    const char* name;
    const char* value;
  } cases[] = {
      {R"(name="v")", 8, "name", "v"},
      {R"(name="")", 7, "name", ""},
      {R"( name = "v" next="w")", 11, "name", "v"},
      {"name\t\r\n=\n\"v\">", 12, "name", "v"},
      {R"(a="1"b="2")", 5, "a", "1"},
      {R"(a="x'y<z>&amp;/ ")", 17, "a", "x'y<z>&amp;/ "},
      {"a=\"line\nline\"", 13, "a", "line\nline"},
      {R"(a="say \"hi\"" b="2")", 14, "a", R"(say "hi")"},
      {R"(a="c:\\" b="2")", 8, "a", R"(c:\)"},
      {R"(a="\\\"")", 8, "a", R"(\")"},
      {R"(a="\n")", 6, "a", "n"},
      {"a=\"\xC3\xA4\"", 6, "a", "\xC3\xA4"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    OwnedText name;
    OwnedText value;
    EXPECT_EQ(attrParse(c.text, &name, &value), c.used);
    EXPECT_STREQ(name.get(), c.name);
    EXPECT_STREQ(value.get(), c.value);
  }
}

TEST_F(XmlReader, ReadsWhatTheEncoderWrites) {
  for (const char* written :
       {"", "plain", "\"", "\\", "say \"hi\"", "\\\"\\", "a\nb\r\t", "<&'>", "\xFF"}) {
    SCOPED_TRACE(written);
    const OwnedText encoded = OwnedText::adopt(string_encode('"', written));
    OwnedText name;
    OwnedText value;
    ASSERT_GT(attrParse(std::string{"a="} + encoded.c_str() + " />", &name, &value), 0);
    EXPECT_STREQ(value.get(), written);
  }
}

TEST_F(XmlReader, TellsWhatIsWrongWithAnAttribute) {
  constexpr const char* kEquals = "[FUNC]attrParse [RET]-1 [LINE]186\n";
  constexpr const char* kQuote = "[FUNC]attrParse [RET]-1 [LINE]195\n";
  const struct {
    const char* text;
    const char* output;
  } cases[] = {
      {"", ""},
      {"  ", ""},
      {"=\"v\"", ""},
      {">", ""},
      {"a", kEquals},
      {"a ", kEquals},
      {"a>", kEquals},
      {"a b=\"v\"", kEquals},
      {"a\"v\"", kEquals},
      {"a=", kEquals},
      {"a =", kEquals},
      {"a= ", kQuote},
      {"a==\"v\"", kQuote},
      {"a=v", kQuote},
      {"a='v'", kQuote},
      {"a=\"", kQuote},
      {"a=\"v", kQuote},
      {"a=\"v'", kQuote},
      {"a=\"v\\", kQuote},
      {"a=\"v\\\"", kQuote},
      {"a=\"v\\\\\\\"", kQuote},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    OwnedText name;
    OwnedText value;
    ASSERT_TRUE(name.assign("before"));
    ASSERT_TRUE(value.assign("before"));
    std::int32_t result = 0;
    EXPECT_EQ(stdout_of([&] { result = attrParse(c.text, &name, &value); }), c.output);
    EXPECT_EQ(result, -1);
    EXPECT_FALSE(name);
    EXPECT_FALSE(value);
  }
}

TEST_F(XmlReader, AnAttributeWithoutMemory) {
  constexpr const char* kNoValue = "[FUNC]attrParse [RET]-2 [LINE]195\n";
  const char* outputs[] = {"", kNoValue, kNoValue};  // the name, the raw value, the decoded value
  for (std::size_t nth = 1; nth <= 3; ++nth) {
    SCOPED_TRACE(nth);
    OwnedText name;
    OwnedText value;
    std::int32_t result = 0;
    std::string output;
    bool fired = false;
    {
      const FailingHeap heap{nth, FailingHeap::Kind::kOnce};
      output = stdout_of([&] { result = attrParse(R"(a="\"")", &name, &value); });
      fired = heap.fired();
    }
    EXPECT_TRUE(fired);
    EXPECT_EQ(output, outputs[nth - 1]);
    EXPECT_EQ(result, -2);
    EXPECT_FALSE(name);
    EXPECT_FALSE(value);
  }
}

TEST_F(XmlReader, ReadsEachKindOfItem) {
  const struct {
    const char* text;
    std::int32_t used;
    Item item;
  } cases[] = {
      {"<a>", 3, {2, "a", {}}},
      {"< a >b", 5, {2, "a", {}}},
      {" \t\r\n<a>\n", 7, {2, "a", {}}},
      {"<a\n>", 4, {2, "a", {}}},
      {R"(<OBJECT name="A." type="object" >)",
       33,
       {2, "OBJECT", {{"name", "A."}, {"type", "object"}}}},
      {"<a/>", 4, {6, "a", {}}},
      {"<a />", 5, {6, "a", {}}},
      {R"(<a b="1"/><c>)", 10, {6, "a", {{"b", "1"}}}},
      {R"(<a b="1"c="2">)", 14, {2, "a", {{"b", "1"}, {"c", "2"}}}},
      {R"(<a b = "1" >)", 12, {2, "a", {{"b", "1"}}}},
      {R"(<a b="1" b="2">)", 15, {2, "a", {{"b", "1"}, {"b", "2"}}}},
      {R"(<a b="/>">)", 10, {2, "a", {{"b", "/>"}}}},
      {R"(<a b="\"/>\"">)", 14, {2, "a", {{"b", "\"/>\""}}}},
      {"</a>", 4, {4, "a", {}}},
      {"</ a\n >", 7, {4, "a", {}}},
      {"<?xml?>", 7, {1, "xml", {}}},
      {R"(<?xml version="1.0" encoding="UTF-8" ?>)",
       39,
       {1, "xml", {{"version", "1.0"}, {"encoding", "UTF-8"}}}},
      {"<!---->", 7, {8, "", {}}},
      {"<!-- a -- b --->c-->", 16, {8, "", {}}},
      {"<!--<a>&'\"-->", 13, {8, "", {}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    xml_node node;
    std::int32_t used = 0;
    EXPECT_EQ(stdout_of([&] { used = nodeParse(c.text, &node); }), "");
    EXPECT_EQ(used, c.used);
    EXPECT_EQ(item_of(node), c.item);
  }
}

TEST_F(XmlReader, ACommentHasNoName) {
  xml_node node;
  ASSERT_EQ(nodeParse("<!-- x -->", &node), 10);
  EXPECT_FALSE(node.name);
}

const std::string kTypeFailed = "[FUNC]typeParse [RET]NODE_FORMART_ERR\n";
const std::string kHeadFailed = "[FUNC]nodeTypeAParse [RET]-1\n";
const std::string kEndFailed = "[FUNC]nodeTypeCParse [RET]-1\n";
const std::string kCommentFailed = "[FUNC]nodeTypeDParse [RET]-1\n";
const std::string kNodeFailed = "[FUNC]nodeParse [RET]-1\n";

std::string tag_failed(const std::string& line) {
  return "[FUNC]nodeTypeBParse [RET]-1 [LINE]" + line + "\n";
}

std::string attr_failed(const std::string& line) {
  return "[FUNC]attrParse [RET]-1 [LINE]" + line + "\n";
}

TEST_F(XmlReader, TellsWhatIsWrongWithAnItem) {
  const struct {
    const char* text;
    std::string output;
  } cases[] = {
      {"", kTypeFailed + kNodeFailed},
      {" \n", kTypeFailed + kNodeFailed},
      {"text", kTypeFailed + kNodeFailed},
      {" >", kTypeFailed + kNodeFailed},
      {"&lt;a>", kTypeFailed + kNodeFailed},
      {"\v<a>", kTypeFailed + kNodeFailed},
      // start tags
      {"<", tag_failed("363") + kNodeFailed},
      {"<>", tag_failed("363") + kNodeFailed},
      {"< />", tag_failed("363") + kNodeFailed},
      {"<<a>", tag_failed("363") + kNodeFailed},
      {"<!", tag_failed("363") + kNodeFailed},
      {"<!-", tag_failed("363") + kNodeFailed},
      {"<!DOCTYPE a>", tag_failed("363") + kNodeFailed},
      {"<![CDATA[a]]>", tag_failed("363") + kNodeFailed},
      {"<a", tag_failed("0") + kNodeFailed},
      {"<a b=\"1\"", tag_failed("0") + kNodeFailed},
      {"<a ", tag_failed("395") + kNodeFailed},
      {"<a b=\"1\" ", tag_failed("395") + kNodeFailed},
      {"<a /", tag_failed("395") + kNodeFailed},
      {"<a / >", tag_failed("395") + kNodeFailed},
      {"<a ?>", tag_failed("395") + kNodeFailed},
      {"<a:b>", tag_failed("395") + kNodeFailed},
      {"<a =\"1\">", tag_failed("395") + kNodeFailed},
      {"<a b=\"1\" & c=\"2\">", tag_failed("395") + kNodeFailed},
      {"<a<b>", tag_failed("395") + kNodeFailed},
      {"<a b", attr_failed("186") + tag_failed("395") + kNodeFailed},
      {"<a b>", attr_failed("186") + tag_failed("395") + kNodeFailed},
      {"<a b=", attr_failed("186") + tag_failed("395") + kNodeFailed},
      {"<a b= ", attr_failed("195") + tag_failed("395") + kNodeFailed},
      {"<a b=1>", attr_failed("195") + tag_failed("395") + kNodeFailed},
      {"<a b='1'>", attr_failed("195") + tag_failed("395") + kNodeFailed},
      {"<a b=\"1>", attr_failed("195") + tag_failed("395") + kNodeFailed},
      {"<a b=\"1\\\">", attr_failed("195") + tag_failed("395") + kNodeFailed},
      {"<a b=\"1\" c>", attr_failed("186") + tag_failed("395") + kNodeFailed},
      // end tags
      {"</", kEndFailed + kNodeFailed},
      {"</>", kEndFailed + kNodeFailed},
      {"</a", kEndFailed + kNodeFailed},
      {"</a ", kEndFailed + kNodeFailed},
      {"</a/>", kEndFailed + kNodeFailed},
      {"</a b=\"1\">", kEndFailed + kNodeFailed},
      // comments
      {"<!--", kCommentFailed + kNodeFailed},
      {"<!-->", kCommentFailed + kNodeFailed},
      {"<!--->", kCommentFailed + kNodeFailed},
      {"<!-- a -- >", kCommentFailed + kNodeFailed},
      {"<!-- a --", kCommentFailed + kNodeFailed},
      // headers
      {"<?", kHeadFailed + kNodeFailed},
      {"<?\?>", kHeadFailed + kNodeFailed},
      {"<?xml", kHeadFailed + kNodeFailed},
      {"<?xml ", kHeadFailed + kNodeFailed},
      {"<?xml ?", kHeadFailed + kNodeFailed},
      {"<?xml ? >", kHeadFailed + kNodeFailed},
      {"<?xml version=\"1.0\">", kHeadFailed + kNodeFailed},
      {"<?xml version=\"1.0\"/>", kHeadFailed + kNodeFailed},
      {"<?xml version?>", attr_failed("186") + kHeadFailed + kNodeFailed},
      {"<?xml version='1.0'?>", attr_failed("195") + kHeadFailed + kNodeFailed},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const std::size_t before = live_blocks();
    xml_node node;
    ASSERT_TRUE(node.name.assign("before"));
    std::int32_t result = 0;
    EXPECT_EQ(stdout_of([&] { result = nodeParse(c.text, &node); }), c.output);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(item_of(node), (Item{0, "", {}}));
    EXPECT_EQ(live_blocks(), before) << "the record holds texts";
  }
}

std::string tag_with_attributes(const char* open, int count, const char* close) {
  std::string text = open;
  for (int i = 1; i <= count; ++i)
    text += " a" + std::to_string(i) + "=\"" + std::to_string(i) + "\"";
  return text + close;
}

TEST_F(XmlReader, ATagCarriesTwentyAttributes) {
  xml_node node;
  ASSERT_GT(nodeParse(tag_with_attributes("<t", 20, ">"), &node), 0);
  EXPECT_EQ(node.attr_count, 20);
  EXPECT_STREQ(node.attrs[0].name.get(), "a1");
  EXPECT_STREQ(node.attrs[19].name.get(), "a20");
  EXPECT_STREQ(node.attrs[19].value.get(), "20");

  std::int32_t result = 0;
  EXPECT_EQ(stdout_of([&] { result = nodeParse(tag_with_attributes("<t", 21, ">"), &node); }),
            tag_failed("395") + kNodeFailed);
  EXPECT_EQ(result, -1);
  EXPECT_EQ(item_of(node), (Item{0, "", {}}));
}

TEST_F(XmlReader, AHeaderCarriesTwentyAttributes) {
  xml_node node;
  ASSERT_GT(nodeParse(tag_with_attributes("<?t", 20, "?>"), &node), 0);
  EXPECT_EQ(node.attr_count, 20);
  std::int32_t result = 0;
  EXPECT_EQ(stdout_of([&] { result = nodeParse(tag_with_attributes("<?t", 21, "?>"), &node); }),
            kHeadFailed + kNodeFailed);
  EXPECT_EQ(result, -1);
}

TEST_F(XmlReader, AnItemWithoutMemory) {
  const struct {
    const char* text;
    std::size_t nth;
    std::string output;
  } cases[] = {
      {"<a b=\"1\">", 1, "[FUNC]nodeTypeBParse [RET]-2 [LINE]363\n" + kNodeFailed},
      {"<a b=\"1\">", 2, "[FUNC]nodeTypeBParse [RET]-2 [LINE]395\n" + kNodeFailed},
      {"<a b=\"1\">", 3,
       "[FUNC]attrParse [RET]-2 [LINE]195\n"
       "[FUNC]nodeTypeBParse [RET]-2 [LINE]395\n" +
           kNodeFailed},
      {"<a b=\"\\\"\"/>", 4,
       "[FUNC]attrParse [RET]-2 [LINE]195\n"
       "[FUNC]nodeTypeBParse [RET]-2 [LINE]395\n" +
           kNodeFailed},
      {"</a>", 1, "[FUNC]nodeTypeCParse [RET]-2\n" + kNodeFailed},
      {"<?a b=\"1\"?>", 1, "[FUNC]nodeTypeAParse [RET]-2\n" + kNodeFailed},
      {"<?a b=\"1\"?>", 2, "[FUNC]nodeTypeAParse [RET]-2\n" + kNodeFailed},
      {"<?a b=\"1\"?>", 3,
       "[FUNC]attrParse [RET]-2 [LINE]195\n"
       "[FUNC]nodeTypeAParse [RET]-2\n" +
           kNodeFailed},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.text << " " << c.nth);
    const std::size_t before = live_blocks();
    xml_node node;
    std::int32_t result = 0;
    std::string output;
    {
      const FailingHeap heap{c.nth, FailingHeap::Kind::kOnce};
      output = stdout_of([&] { result = nodeParse(c.text, &node); });
    }
    EXPECT_EQ(output, c.output);
    EXPECT_EQ(result, -2);
    EXPECT_EQ(item_of(node), (Item{0, "", {}}));
    EXPECT_EQ(live_blocks(), before);
  }
}

TEST_F(XmlReader, EveryAllocationOfAnItemMayFail) {
  const struct {
    const char* text;
    std::size_t allocations;
  } cases[] = {
      {R"(<a b="1" c="\"" d="\\">)", 9},
      {R"(<?a b="1" c="\""?>)", 6},
      {"</a>", 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    std::int32_t result = 0;
    Item left{};
    const std::size_t failing_runs = test::sweep_allocations([] {},
                                                             [&] {
                                                               xml_node node;
                                                               result = nodeParse(c.text, &node);
                                                               left = item_of(node);
                                                             },
                                                             [&] {
                                                               EXPECT_EQ(result, -2);
                                                               EXPECT_EQ(left, (Item{0, "", {}}));
                                                             });
    EXPECT_EQ(failing_runs, 2 * c.allocations);  // once, and with all that follow
    EXPECT_GT(result, 0);
  }
}

TEST_F(XmlReader, ARecordIsUsedAgainAndAgain) {
  xml_node node;
  ASSERT_GT(nodeParse(R"(<a x="1" y="2" z="3">)", &node), 0);
  ASSERT_GT(nodeParse(R"(<b w="4">)", &node), 0);
  EXPECT_EQ(item_of(node), (Item{2, "b", {{"w", "4"}}}));
  EXPECT_FALSE(node.attrs[1].name);
  EXPECT_FALSE(node.attrs[1].value);
  EXPECT_FALSE(node.attrs[2].name);
}

TEST_F(XmlReader, ClearsARecord) {
  const std::size_t before = live_blocks();
  xml_node node;
  for (auto* clear : {init_xml_node, free_xml_node}) {
    ASSERT_GT(nodeParse(tag_with_attributes("<a", 20, "/>"), &node), 0);
    ASSERT_EQ(live_blocks(), before + 41);
    clear(&node);
    EXPECT_EQ(live_blocks(), before);
    EXPECT_EQ(item_of(node), (Item{0, "", {}}));
    EXPECT_FALSE(node.name);
    EXPECT_FALSE(node.attrs[19].name);
    EXPECT_FALSE(node.attrs[19].value);
    clear(&node);
  }
}

TEST_F(XmlReader, PrintsItems) {
  const struct {
    const char* text;
    const char* output;
    const char* label;
  } cases[] = {
      {"<?xml version=\"1.0\"?>", "\n<?xml version=\"1.0\"?>", " HEAD"},
      {"<a  b=\"1\"  c = \"%s\" >", "\n<a b=\"1\" c=\"%s\">", " BEGIN"},
      {"</ a >", "\n</a>", " END"},
      {"<a b=\"\\\"\"  />", "\n<a b=\"\"\"/>", " BEGIN|END"},
      {"<!-- a -->", "", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    xml_node node;
    ASSERT_GT(nodeParse(c.text, &node), 0);
    EXPECT_EQ(stdout_of([&] { dump_xml_node(&node); }), c.output);
    EXPECT_STREQ(xml_item_label(node.type), c.label);
  }
  const xml_node none;
  EXPECT_EQ(stdout_of([&] { dump_xml_node(&none); }), "");
  EXPECT_STREQ(xml_item_label(none.type), "");
}

TEST_F(XmlReader, PrintsAValueThatWasTakenOverAsEmpty) {
  xml_node node;
  ASSERT_GT(nodeParse("<a b=\"1\">", &node), 0);
  node.attrs[0].value.reset();
  EXPECT_EQ(stdout_of([&] { dump_xml_node(&node); }), "\n<a b=\"\">");
}

TEST_F(XmlReader, ABlankTextHasNoItems) {
  for (const char* text : {"", " ", " \t\r\n\n"}) {
    std::int32_t result = -1;
    EXPECT_EQ(stdout_of([&] { result = call_xml_parser(text); }), "");
    EXPECT_EQ(result, 0);
  }
  EXPECT_EQ(call_xml_parser({}), 0);
  EXPECT_THAT(seen, IsEmpty());
  EXPECT_EQ(errors, 0);
}

TEST_F(XmlReader, HandsOverItemByItem) {
  constexpr const char* kText =
      "\n<?xml version=\"1.0\"?>\n"
      "<!-- a -- b -->\n"
      "<DATAMODEL>\n"
      "\t<OBJECT name=\"A.\" type=\"object\" ><PARAMETER name=\"P\" value=\"say \\\"hi\\\"\" />\r\n"
      "</OBJECT>\n"
      "</DATAMODEL>\n \n";
  std::int32_t result = -1;
  EXPECT_EQ(stdout_of([&] { result = call_xml_parser(kText); }), "");
  EXPECT_EQ(result, 0);
  EXPECT_EQ(errors, 0);
  EXPECT_THAT(seen, ElementsAre(Item{1, "xml", {{"version", "1.0"}}}, Item{8, "", {}},
                                Item{2, "DATAMODEL", {}},
                                Item{2, "OBJECT", {{"name", "A."}, {"type", "object"}}},
                                Item{6, "PARAMETER", {{"name", "P"}, {"value", "say \"hi\""}}},
                                Item{4, "OBJECT", {}}, Item{4, "DATAMODEL", {}}));
}

TEST_F(XmlReader, NeedsNoNesting) {
  EXPECT_EQ(call_xml_parser("</a><b></c>"), 0);
  EXPECT_THAT(seen, ElementsAre(Item{4, "a", {}}, Item{2, "b", {}}, Item{4, "c", {}}));
}

TEST_F(XmlReader, NeedsNoCallbacks) {
  xml_line_process = nullptr;
  xml_line_error = nullptr;
  EXPECT_EQ(call_xml_parser("<a></a>"), 0);
  std::int32_t result = 0;
  EXPECT_EQ(stdout_of([&] { result = call_xml_parser("<a>x"); }),
            kTypeFailed + kNodeFailed + "[FUNC]call_xml_parser [LINE]35\n");
  EXPECT_EQ(result, -1);
}

TEST_F(XmlReader, TextBetweenTagsStopsTheParse) {
  std::int32_t result = 0;
  EXPECT_EQ(stdout_of([&] { result = call_xml_parser("<a>value</a><b>"); }),
            kTypeFailed + kNodeFailed + "[FUNC]call_xml_parser [LINE]35\n");
  EXPECT_EQ(result, -1);
  EXPECT_EQ(errors, 1);
  EXPECT_THAT(seen, ElementsAre(Item{2, "a", {}}));
}

TEST_F(XmlReader, ANulIsNoWhiteSpace) {
  EXPECT_EQ(call_xml_parser({"<a>\0", 4}), -1);
  EXPECT_EQ(errors, 1);
}

TEST_F(XmlReader, TheCallbackStopsTheParse) {
  const std::size_t before = live_blocks();
  refused_from = 3;
  std::int32_t result = 0;
  EXPECT_EQ(stdout_of([&] { result = call_xml_parser("<a/><b/><c d=\"1\" /><e/>"); }),
            "\n<c d=\"1\"/>[FUNC]call_xml_parser [LINE]44\n");
  EXPECT_EQ(result, -1);
  EXPECT_EQ(errors, 1);
  EXPECT_THAT(seen, ElementsAre(Item{6, "a", {}}, Item{6, "b", {}}));
  EXPECT_EQ(live_blocks(), before);
}

TEST_F(XmlReader, TheRecordIsFreeWhenTheErrorIsTold) {
  static std::size_t blocks_at_error;
  const std::size_t before = live_blocks();
  refused_from = 1;
  xml_line_error = [] { blocks_at_error = live_blocks(); };
  EXPECT_EQ(call_xml_parser("<a b=\"1\">"), -1);
  EXPECT_EQ(blocks_at_error, before);
}

TEST_F(XmlReader, ACallbackThatReturnsMoreThanZeroGoesOn) {
  xml_line_process = [](xml_node* item) {
    seen.push_back(item_of(*item));
    return std::int32_t{7};
  };
  EXPECT_EQ(call_xml_parser("<a/><b/>"), 0);
  EXPECT_EQ(seen.size(), 2U);
}

TEST_F(XmlReader, AValueMayBeTakenOver) {
  const std::size_t before = live_blocks();
  xml_line_process = [](xml_node* item) {
    if (item->attr_count == 2) taken = std::move(item->attrs[1].value);
    return std::int32_t{0};
  };
  EXPECT_EQ(call_xml_parser(R"(<a b="1" c="keep"/><d e="2" /><f/>)"), 0);
  EXPECT_STREQ(taken.get(), "keep");
  EXPECT_EQ(live_blocks(), before + 1);
  taken.reset();
}

TEST_F(XmlReader, EveryAllocationOfAParseMayFail) {
  const std::vector<Item> all{{1, "xml", {{"v", "1"}}},
                              {8, "", {}},
                              {2, "A", {{"b", "\""}, {"c", "3"}}},
                              {6, "D", {{"e", "\\"}}},
                              {4, "A", {}}};
  std::int32_t result = 0;
  const std::size_t failing_runs = test::sweep_allocations(
      start,
      [&] {
        result = call_xml_parser(
            "<?xml v=\"1\"?><!-- x --><A b=\"\\\"\" c=\"3\">\n<D e=\"\\\\\" />\n</A>\n");
      },
      [&] {
        EXPECT_EQ(result, -1);
        EXPECT_EQ(errors, 1);
        ASSERT_LT(seen.size(), all.size());
        EXPECT_TRUE(std::equal(seen.begin(), seen.end(), all.begin()));
      });
  // 14 texts: four names, four attributes of two, two decoded values.
  EXPECT_EQ(failing_runs, 28U);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(seen, all);
}

class XmlFile : public XmlReader {
 protected:
  XmlFile() { test::clear_sandbox(); }

  const std::string path = test::sandbox_root() + "/tmp/document.xml";

  std::int32_t parse(std::string* output) {
    std::int32_t result = 1;
    *output = stdout_of([&] { result = call_xml_file_parser(path.c_str()); });
    return result;
  }
};

TEST_F(XmlFile, IsParsed) {
  test::write_file(path, "<a b=\"1\"/>\n");
  std::string output;
  EXPECT_EQ(parse(&output), 0);
  EXPECT_EQ(output, "");
  EXPECT_THAT(seen, ElementsAre(Item{6, "a", {{"b", "1"}}}));
}

TEST_F(XmlFile, IsParsedUpToItsFirstNul) {
  test::write_file(path, {"<a/>\0<b/>", 9});
  std::string output;
  EXPECT_EQ(parse(&output), 0);
  EXPECT_THAT(seen, ElementsAre(Item{6, "a", {}}));
}

TEST_F(XmlFile, MayBeEmpty) {
  test::write_file(path, "");
  std::string output;
  EXPECT_EQ(parse(&output), 0);
  EXPECT_EQ(output, "");
  EXPECT_THAT(seen, IsEmpty());
}

TEST_F(XmlFile, ThatIsMissingCountsAsEmpty) {
  std::string output;
  EXPECT_EQ(parse(&output), 0);
  EXPECT_EQ(output, "[FUNC]call_xml_file_parser [LINE]104\n");
  EXPECT_THAT(seen, IsEmpty());
  EXPECT_EQ(errors, 0);
}

TEST_F(XmlFile, ThatIsMalformedFailsAfterItsItems) {
  test::write_file(path, "<a/><b");
  std::string output;
  EXPECT_EQ(parse(&output), -1);
  EXPECT_EQ(output, tag_failed("0") + kNodeFailed +
                        "[FUNC]call_xml_parser [LINE]35\n"
                        "[FUNC]call_xml_file_parser [LINE]109\n");
  EXPECT_THAT(seen, ElementsAre(Item{6, "a", {}}));
  EXPECT_EQ(errors, 1);
}

TEST_F(XmlFile, MayHoldTwoMebibytes) {
  test::write_file(path, "<a/>" + spaces(2'097'152 - 8) + "<b/>");
  std::string output;
  EXPECT_EQ(parse(&output), 0);
  EXPECT_EQ(output, "");
  EXPECT_THAT(seen, ElementsAre(Item{6, "a", {}}, Item{6, "b", {}}));
}

TEST_F(XmlFile, OfOneByteMoreIsRefusedUnread) {
  test::write_file(path, "<a/>" + spaces(2'097'153 - 8) + "<b/>");
  std::string output;
  EXPECT_EQ(parse(&output), -1);
  EXPECT_EQ(output, "[FUNC]call_xml_file_parser [LINE]94\n");
  EXPECT_THAT(seen, IsEmpty());
  EXPECT_EQ(errors, 0);
}

TEST_F(XmlFile, OfAnySizeAboveIsRefused) {
  test::write_file(path, "<a/>");
  std::filesystem::resize_file(path, 2'147'483'647);  // sparse
  std::string output;
  EXPECT_EQ(parse(&output), -1);
  EXPECT_EQ(output, "[FUNC]call_xml_file_parser [LINE]94\n");
}

TEST_F(XmlFile, WithoutMemoryIsRefused) {
  test::write_file(path, "<a/>");
  std::string output;
  const FailingHeap heap{1, FailingHeap::Kind::kOnce};
  EXPECT_EQ(parse(&output), -1);
  EXPECT_EQ(output, "[FUNC]call_xml_file_parser [LINE]94\n");
  EXPECT_THAT(seen, IsEmpty());
}

TEST_F(XmlFile, EveryAllocationMayFail) {
  test::write_file(path, "<a b=\"\\\"\"/>");
  std::int32_t result = 0;
  EXPECT_EQ(
      test::sweep_allocations(
          start, [&] { result = call_xml_file_parser(path.c_str()); },
          [&] {
            EXPECT_EQ(result, -1);
            EXPECT_THAT(seen, IsEmpty());
          }),
      10U);  // 5 texts: the file, the tag's name, the attribute's two texts and its decoded value
  EXPECT_EQ(result, 0);
}

TEST_F(XmlFile, ThatIsAFolderOrAPipeCountsAsMissing) {
  constexpr const char* kMissing = "[FUNC]call_xml_file_parser [LINE]104\n";
  std::string output;
  std::filesystem::create_directory(path);
  EXPECT_EQ(parse(&output), 0);
  EXPECT_EQ(output, kMissing);
  std::filesystem::remove(path);

  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);  // with nobody at its other end
  EXPECT_EQ(parse(&output), 0);
  EXPECT_EQ(output, kMissing);
  EXPECT_THAT(seen, IsEmpty());
}

// Two mebibytes of what could make a careless reader start over and over; the time a test may take
// is the bound.
TEST_F(XmlReader, ReadsEveryTextOnce) {
  constexpr std::size_t kSize = 2'097'152;
  const auto repeated = [](std::string_view part) {
    std::string text;
    while (text.size() + part.size() <= kSize)
      text += part;
    return text;
  };
  EXPECT_EQ(call_xml_parser("<!--" + repeated("-")), -1);
  EXPECT_EQ(call_xml_parser("<!--" + repeated("--")), -1);
  EXPECT_EQ(call_xml_parser("<a b=\"" + repeated("\\\"")), -1);
  EXPECT_EQ(call_xml_parser("<a b=\"" + repeated("\\")), -1);
  EXPECT_EQ(call_xml_parser("<" + repeated("a")), -1);
  EXPECT_EQ(call_xml_parser("<a " + repeated("b")), -1);
  EXPECT_EQ(call_xml_parser("<a" + repeated(" ")), -1);
  EXPECT_THAT(seen, IsEmpty());

  EXPECT_EQ(call_xml_parser("<a b=\"" + repeated("\\\"") + "\">"), 0);
  EXPECT_EQ(seen.at(0).attributes.at(0).second, std::string(kSize / 2, '"'));
  seen.clear();
  EXPECT_EQ(call_xml_parser(repeated("<a/>")), 0);
  EXPECT_EQ(seen.size(), kSize / 4);
}

}  // namespace
}  // namespace gwconf
