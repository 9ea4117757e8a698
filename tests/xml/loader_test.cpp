#include "xml/loader.h"

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/paths.h"
#include "platform/getters.h"
#include "storage/settings_block.h"
#include "tests/storage/scripted_flash.h"
#include "tests/support/capture.h"
#include "tests/support/failing_heap.h"
#include "tests/support/sandbox.h"
#include "tests/support/tree_builder.h"
#include "tests/xml/full_outline.h"

namespace gwconf {
namespace {

using test::full_outline_of;
using test::live_blocks;
using test::outline_of;
using test::stdout_of;
using test::write_file;

/// What a load leaves.
struct Loaded {
  int status = 0;
  NodePtr root;
  std::string said;

  [[nodiscard]] std::string outline() const { return outline_of(root.get()); }
  [[nodiscard]] const Parameter& first() const { return *root->params; }
};

Loaded load(std::string_view text) {
  Loaded loaded;
  loaded.root = new_node();
  loaded.said = stdout_of([&] { loaded.status = VT_CM_XML2RAM(loaded.root.get(), text); });
  return loaded;
}

/// A document of one object with one parameter, which has these attributes behind its name.
Loaded load_parameter(const std::string& attributes) {
  Loaded loaded = load("<OBJECT name=\"A.\"><PARAMETER name=\"p\" " + attributes + "/></OBJECT>");
  EXPECT_EQ(loaded.status, 0) << loaded.said;
  return loaded;
}

/// The same for an object below the root.
Loaded load_object(const std::string& name, const std::string& attributes) {
  Loaded loaded =
      load("<OBJECT name=\"A.\"><OBJECT name=\"" + name + "\" " + attributes + "/></OBJECT>");
  EXPECT_EQ(loaded.status, 0) << loaded.said;
  return loaded;
}

class XmlLoader : public testing::Test {
 protected:
  void SetUp() override { blocks_ = live_blocks(); }
  void TearDown() override { EXPECT_EQ(live_blocks(), blocks_) << "blocks left"; }

 private:
  std::size_t blocks_ = 0;
};

// ------------------------------------------------------------------------------- structure

struct Structure {
  const char* name;
  const char* document;
  int status;
  const char* outline;  // of what is linked by then, when it fails
};

void PrintTo(const Structure& structure, std::ostream* out) {
  *out << structure.name;
}

class XmlStructure : public XmlLoader, public testing::WithParamInterface<Structure> {};

TEST_P(XmlStructure, IsTaken) {
  const Loaded loaded = load(GetParam().document);
  EXPECT_EQ(loaded.status, GetParam().status);
  EXPECT_EQ(loaded.outline(), GetParam().outline);
  EXPECT_EQ(loaded.said, "");
}

class XmlRefusal : public XmlStructure {};

TEST_P(XmlRefusal, StopsTheLoad) {
  const Loaded loaded = load(GetParam().document);
  EXPECT_EQ(loaded.status, GetParam().status);
  EXPECT_EQ(loaded.outline(), GetParam().outline);
  EXPECT_NE(loaded.said, "");
}

std::string name_of(const testing::TestParamInfo<Structure>& tested) {
  return tested.param.name;
}

constexpr const char* kJustRoot = "A.\n";
constexpr const char* kOneParameter =
    "A.\n"
    "  p\n";
constexpr const char* kOneChild =
    "A.\n"
    "  B.\n";
constexpr const char* kParameterOfChild =
    "A.\n"
    "  B.\n"
    "    p\n";

const std::vector<Structure> kAccepted = {
    {"ObjectStartAndEnd", R"(<OBJECT name="A."></OBJECT>)", 0, kJustRoot},
    {"ObjectEmptyElement", R"(<OBJECT name="A."/>)", 0, kJustRoot},
    {"ParameterStartAndEnd", R"(<OBJECT name="A."><PARAMETER name="p"></PARAMETER></OBJECT>)", 0,
     kOneParameter},
    {"ParameterEmptyElement", R"(<OBJECT name="A."><PARAMETER name="p"/></OBJECT>)", 0,
     kOneParameter},
    {"TagsInAnyCase", R"(<object name="A."><Parameter name="p"></pARAMETER></Object>)", 0,
     kOneParameter},
    {"ElementsByTheirNames",
     R"(<Element name="A."><Element name="p"></Element><Element name="B."></Element></Element>)", 0,
     "A.\n"
     "  p\n"
     "  B.\n"},
    {"ElementsClosedAtOnce",
     R"(<Element name="A."><Element name="p"/><Element name="B."/></Element>)", 0,
     "A.\n"
     "  p\n"
     "  B.\n"},
    {"ElementEndClosesAnObjectTag", R"(<OBJECT name="A."><PARAMETER name="p"></Element></Element>)",
     0, kOneParameter},
    {"AnyTagWithANameFirst", R"(<Thing name="A."><Other name="p"/></Element>)", 0, kOneParameter},
    {"MixedDialects",
     R"(<DATAMODEL><OBJECT name="A."><Element name="p"></Element>)"
     R"(<Element name="B."><PARAMETER name="q"/></Element></OBJECT></DATAMODEL>)",
     0,
     "A.\n"
     "  p\n"
     "  B.\n"
     "    q\n"},
    {"TagsAroundTheRoot", R"(<DATAMODEL version="1"><OBJECT name="A."/></DATAMODEL>)", 0,
     kJustRoot},
    {"OtherTagsAroundTheRoot", R"(<VANTREL_CML><Element name="A."></Element></VANTREL_CML>)", 0,
     kJustRoot},
    {"OtherTagsBetween", R"(<OBJECT name="A."><x><PARAMETER name="p"/></x><y/></OBJECT>)", 0,
     kOneParameter},
    {"EndOfAnyOtherTagClosesNothing", R"(<Thing name="A."></Thing></Element>)", 0, kJustRoot},
    {"ElementStartWithoutAName", R"(<OBJECT name="A."><Element></OBJECT>)", 0, kJustRoot},
    {"ElementEmptyWithoutAName", R"(<OBJECT name="A."><Element/></OBJECT>)", 0, kJustRoot},
    {"ElementWhoseNameIsNotFirst",
     R"(<OBJECT name="A."><Element type="object" name="B."></OBJECT>)", 0, kJustRoot},
    {"TagWhoseNameIsWrittenOtherwise", R"(<OBJECT name="A."><x NAME="B."/></OBJECT>)", 0,
     kJustRoot},
    {"ObjectTagWhoseNameIsNotFirst", R"(<OBJECT type="object" name="A."/>)", 0, kJustRoot},
    {"ObjectTagWhoseNameHasNoDot", R"(<OBJECT name="A"/>)", 0, "A\n"},
    {"ParameterTagWhoseNameHasADot", R"(<OBJECT name="A."><PARAMETER name="p."/></OBJECT>)", 0,
     "A.\n"
     "  p.\n"},
    {"RecordsWithoutNames", R"(<OBJECT><PARAMETER/><OBJECT></OBJECT></OBJECT>)", 0,
     "<none>\n"
     "  <none>\n"
     "  <none>\n"},
    {"HeaderIgnoredWithItsName", R"(<?xml name="B."?><OBJECT name="A."/>)", 0, kJustRoot},
    {"CommentWithDashesIsOneComment", "<OBJECT name=\"A.\"><!-- -- <OBJECT> - ->--></OBJECT>", 0,
     kJustRoot},
    {"SiblingsInOrder",
     R"(<OBJECT name="A."><OBJECT name="B."/><OBJECT name="C."><OBJECT name="D."/></OBJECT>)"
     R"(<OBJECT name="E."></OBJECT></OBJECT>)",
     0,
     "A.\n"
     "  B.\n"
     "  C.\n"
     "    D.\n"
     "  E.\n"},
    {"ParametersInOrder",
     R"(<OBJECT name="A."><PARAMETER name="c"/><PARAMETER name="a"/><PARAMETER name="b"/></OBJECT>)",
     0,
     "A.\n"
     "  c\n"
     "  a\n"
     "  b\n"},
    {"SiblingsThatShareAName",
     R"(<OBJECT name="A."><OBJECT name="B."/><OBJECT name="B."/></OBJECT>)", 0,
     "A.\n"
     "  B.\n"
     "  B.\n"},
    {"ParameterBehindAChildIsTheChilds",
     R"(<OBJECT name="A."><OBJECT name="B."/><PARAMETER name="p"/></OBJECT>)", 0,
     kParameterOfChild},
    {"ParametersBehindAChildFollowItsOwn",
     R"(<OBJECT name="A."><OBJECT name="B."><PARAMETER name="q"/></OBJECT>)"
     R"(<PARAMETER name="p"/><PARAMETER name="r"/><OBJECT name="C."/></OBJECT>)",
     0,
     "A.\n"
     "  B.\n"
     "    q\n"
     "    p\n"
     "    r\n"
     "  C.\n"},
    {"ParameterBehindTheRootIsTheRoots", R"(<OBJECT name="A."></OBJECT><PARAMETER name="p"/>)", 0,
     kOneParameter},
    {"ParameterLeftOpenBehindTheRoot", R"(<OBJECT name="A."></OBJECT><PARAMETER name="p">)", 0,
     kOneParameter},
    {"BlanksBetweenMarkup",
     "\r\n\t <OBJECT\n name = \"A.\"\t>\r\n <PARAMETER name =\n\"p\" />\n</OBJECT >\n", 0,
     kOneParameter},
};

INSTANTIATE_TEST_SUITE_P(Accepted, XmlStructure, testing::ValuesIn(kAccepted), name_of);

// Every item is in its place, but the document is not whole.
const std::vector<Structure> kIncomplete = {
    {"TwoRoots", R"(<OBJECT name="A."/><OBJECT name="B."/>)", -100, kJustRoot},
    {"RootNeverClosed", R"(<OBJECT name="A.">)", -100, kJustRoot},
    {"RootNeverClosedBehindAChild", R"(<OBJECT name="A."><OBJECT name="B."/>)", -100, kOneChild},
    {"ChildNeverClosed", R"(<OBJECT name="A."><OBJECT name="B."></OBJECT>)", -100, kOneChild},
    {"ElementEndInAnotherCase", R"(<Element name="A."></ELEMENT>)", -100, kJustRoot},
};

INSTANTIATE_TEST_SUITE_P(Incomplete, XmlStructure, testing::ValuesIn(kIncomplete), name_of);

const std::vector<Structure> kRefused = {
    {"OneEndTooMany", R"(<OBJECT name="A."></OBJECT></OBJECT>)", -100, kJustRoot},
    {"OneEndTooManyBehindAChild", R"(<OBJECT name="A."><OBJECT name="B."/></OBJECT></OBJECT>)",
     -100, kOneChild},
    {"EndBeforeAnything", R"(</OBJECT><OBJECT name="A."/>)", -100, "<none>\n"},
    {"ParameterBeforeAnything", R"(<PARAMETER name="p"/><OBJECT name="A."/>)", -100, "<none>\n"},
    {"ParameterInAParameter",
     R"(<OBJECT name="A."><PARAMETER name="p"><PARAMETER name="q"/></PARAMETER></OBJECT>)", -100,
     kOneParameter},
    {"ObjectInAParameter",
     R"(<OBJECT name="A."><PARAMETER name="p"><OBJECT name="B."/></PARAMETER></OBJECT>)", -100,
     kOneParameter},
    {"ObjectEndInAParameter", R"(<OBJECT name="A."><PARAMETER name="p"></OBJECT>)", -100,
     kOneParameter},
    {"ParameterEndWithoutAParameter", R"(<OBJECT name="A."></PARAMETER></OBJECT>)", -100,
     kJustRoot},
    {"ParameterClosedTwice", R"(<OBJECT name="A."><PARAMETER name="p"/></PARAMETER></OBJECT>)",
     -100, kOneParameter},
    {"ParameterBehindAChildWithChildren",
     R"(<OBJECT name="A."><OBJECT name="B."><OBJECT name="C."/></OBJECT><PARAMETER name="p"/></OBJECT>)",
     -100,
     "A.\n"
     "  B.\n"
     "    C.\n"},
    {"ParameterBehindTheRootWithChildren",
     R"(<OBJECT name="A."><OBJECT name="B."/></OBJECT><PARAMETER name="p"/>)", -100, kOneChild},
    {"ObjectWithAValue", R"(<OBJECT name="A."><OBJECT name="B." value="1"/></OBJECT>)", -100,
     kOneChild},
    {"ObjectWithAnEmptyValue", R"(<OBJECT name="A." value=""/>)", -100, kJustRoot},
    {"ObjectWithAnEnumeration", R"(<OBJECT name="A." enumeration="a,b"/>)", -100, kJustRoot},
    {"ObjectWithAnEmptyEnumeration", R"(<OBJECT name="A." enumeration=""/>)", -100, kJustRoot},
    {"TextBetweenTags", R"(<OBJECT name="A."><PARAMETER name="p">1</PARAMETER></OBJECT>)", -100,
     kOneParameter},
    {"SingleQuotes", R"(<OBJECT name="A."><PARAMETER name='p'/></OBJECT>)", -100, kJustRoot},
    {"TwentyOneAttributes",
     R"(<OBJECT name="A." a="" b="" c="" d="" e="" f="" g="" h="" i="" j="" k="" l="" m="" n="" o="")"
     R"( p="" q="" r="" s="" t=""/>)",
     -100, "<none>\n"},
};

INSTANTIATE_TEST_SUITE_P(Refused, XmlRefusal, testing::ValuesIn(kRefused), name_of);

TEST_F(XmlLoader, NoObjectIsNoDocument) {
  for (const char* text : {"", " \r\n\t", "<!-- nothing -->", "<?xml version=\"1.0\"?>",
                           "<DATAMODEL></DATAMODEL>", "<DATAMODEL/>"}) {
    const Loaded loaded = load(text);
    EXPECT_EQ(loaded.status, -100) << text;
    EXPECT_EQ(loaded.outline(), "<none>\n") << text;
    EXPECT_EQ(loaded.said, "") << text;
  }
}

TEST_F(XmlLoader, ASecondRootHangsBehindTheFirst) {
  const Loaded loaded =
      load(R"(<OBJECT name="A."/><OBJECT name="B."><PARAMETER name="p"/></OBJECT>)");
  EXPECT_EQ(loaded.status, -100);
  ASSERT_NE(loaded.root->next, nullptr);
  EXPECT_EQ(outline_of(loaded.root->next),
            "B.\n"
            "  p\n");
}

TEST_F(XmlLoader, ARefusedItemIsTold) {
  EXPECT_EQ(load(R"(<OBJECT name="A."></PARAMETER></OBJECT>)").said,
            "\n</PARAMETER>[FUNC]call_xml_parser [LINE]44\n");
}

TEST_F(XmlLoader, EveryLoadStartsAnew) {
  EXPECT_EQ(load(R"(<OBJECT name="A."><PARAMETER name="p">)").status, -100);
  EXPECT_EQ(load(R"(<OBJECT name="A."><OBJECT name="B."/>)").status, -100);
  const Loaded loaded = load(R"(<OBJECT name="A."><PARAMETER name="p"/></OBJECT>)");
  EXPECT_EQ(loaded.status, 0);
  EXPECT_EQ(loaded.outline(), kOneParameter);
}

// ------------------------------------------------------------------------------ attributes

TEST_F(XmlLoader, TakesEveryAttributeOfAParameter) {
  const Loaded loaded = load(
      R"(<OBJECT name="A."><PARAMETER name="UpTime" type="unsignedInt[1:9]" value="7" writable="1")"
      R"( notification="2" function="GetSysUpTime" sname="ut" Disabled="1" Platform="1" other="x"/>)"
      R"(</OBJECT>)");
  EXPECT_EQ(loaded.status, 0);
  EXPECT_EQ(full_outline_of(loaded.root.get()),
            "A.\n"
            "  UpTime [129] 4(1..9) GetSysUpTime = 7\n");
}

TEST_F(XmlLoader, TakesEveryAttributeOfAnObject) {
  const Loaded loaded =
      load_object("B.", R"(type="object" writable="true" notification="1" function="GetSysUpTime")"
                        R"( sname="b" Disabled="1" Platform="1" other="x")");
  EXPECT_EQ(full_outline_of(loaded.root.get()),
            "A.\n"
            "  B. [65]\n");
}

TEST_F(XmlLoader, ABareParameterHasNothing) {
  EXPECT_EQ(full_outline_of(load_parameter("").root.get()),
            "A.\n"
            "  p 12(0..0)\n");
}

TEST_F(XmlLoader, AnEmptyValueIsNotNone) {
  const Loaded loaded = load_parameter(R"(value="")");
  ASSERT_TRUE(loaded.first().value);
  EXPECT_STREQ(loaded.first().value.get(), "");
}

struct WordRow {
  const char* attributes;
  std::uint16_t word;
};

TEST_F(XmlLoader, SetsTheAttributeWord) {
  constexpr WordRow kRows[] = {
      {R"(writable="1")", 1},       {R"(writable="true")", 1},    {R"(writable="TRUE")", 1},
      {R"(writable="0")", 0},       {R"(writable="")", 0},        {R"(writable="yes")", 0},
      {R"(notification="2")", 128}, {R"(notification="1")", 64},  {R"(notification="0")", 32},
      {R"(notification="")", 32},   {R"(notification="on")", 32}, {R"(Disabled="1")", 0},
      {R"(Platform="1")", 0},
  };
  for (const WordRow& row : kRows) {
    EXPECT_EQ(load_parameter(row.attributes).first().attributes, row.word) << row.attributes;
    EXPECT_EQ(load_object("B.", row.attributes).root->children->attributes, row.word)
        << row.attributes;
  }
}

TEST_F(XmlLoader, AnInstanceIsAlwaysWritable) {
  for (const char* name : {"0.", "1.", "12.", "65536."}) {
    EXPECT_EQ(load_object(name, R"(writable="0")").root->children->attributes, 1) << name;
    EXPECT_EQ(load_object(name, "").root->children->attributes, 1) << name;
    EXPECT_EQ(load_object(name, R"(notification="2")").root->children->attributes, 129) << name;
  }
  for (const char* name : {"B.", "Line1.", "-1.", "0", "x0."})
    EXPECT_EQ(load_object(name, R"(writable="0")").root->children->attributes, 0) << name;
}

struct TypeRow {
  const char* type;
  const char* line;
};

TEST_F(XmlLoader, ReadsTypes) {
  constexpr TypeRow kRows[] = {
      {"string", "p 2(0..0)"},
      {"string(64)", "p 2(0..64)"},
      {"int", "p 3(0..0)"},
      {"INT[1:5]", "p 3(1..5)"},
      {"unsignedInt[:10]", "p 4(0..10)"},
      {"boolean", "p 5(0..1)"},
      {"dateTime", "p 6(0..0)"},
      {"base64(10)", "p 7(0..10)"},
      {"ipAddress", "p 9(0..15)"},
      {"netmask", "p 10(0..15)"},
      {"macAddress", "p 11(0..17)"},
      {"ipAddr", "p 12(0..0)"},  // the whole name counts here
      {"netmas", "p 12(0..0)"},
      {"macAddr", "p 12(0..0)"},
      {"object", "p 12(0..0)"},
      {"", "p 12(0..0)"},
  };
  for (const TypeRow& row : kRows) {
    const Loaded loaded = load_parameter("type=\"" + std::string{row.type} + "\"");
    EXPECT_EQ(full_outline_of(loaded.root.get()), "A.\n  " + std::string{row.line} + "\n")
        << row.type;
  }
}

TEST_F(XmlLoader, AnEnumerationIsATypeOfItsOwn) {
  EXPECT_EQ(full_outline_of(load_parameter(R"a(type="string(8)" enumeration="a,b")a").root.get()),
            "A.\n"
            "  p 8(0..8) {a,b}\n");
  EXPECT_EQ(full_outline_of(load_parameter(R"(type="int[1:5]" enumeration="1,5")").root.get()),
            "A.\n"
            "  p 8(1..5) {1,5}\n");
  EXPECT_EQ(full_outline_of(load_parameter(R"(enumeration="a,b")").root.get()),
            "A.\n"
            "  p 8(0..0) {a,b}\n");
}

TEST_F(XmlLoader, AnEmptyEnumerationIsKeptAndChangesNothing) {
  EXPECT_EQ(full_outline_of(load_parameter(R"(type="string" enumeration="")").root.get()),
            "A.\n"
            "  p 2(0..0) {}\n");
}

TEST_F(XmlLoader, AttributesCountInDocumentOrder) {
  EXPECT_EQ(full_outline_of(load_parameter(R"a(enumeration="a,b" type="string(8)")a").root.get()),
            "A.\n"
            "  p 2(0..8) {a,b}\n");
  EXPECT_EQ(full_outline_of(load_parameter(R"(value="1" name="q" value="2" enumeration="a")"
                                           R"( enumeration="b" notification="2" notification="0")")
                                .root.get()),
            "A.\n"
            "  q [160] 8(0..0) {b} = 2\n");
}

TEST_F(XmlLoader, AGetterIsBoundByItsExactName) {
  EXPECT_EQ(load_parameter(R"(function="GetSysUpTime")").first().getter,
            CM_platform_fn_init("GetSysUpTime"));
  for (const char* unknown : {"GetNothing", "getsysuptime", "GetSysUpTimes", ""})
    EXPECT_EQ(load_parameter("function=\"" + std::string{unknown} + "\"").first().getter, nullptr)
        << unknown;
}

TEST_F(XmlLoader, ValuesAreDecoded) {
  EXPECT_STREQ(load_parameter(R"(value="say \"hello\" \\ C:\\")").first().value.get(),
               R"(say "hello" \ C:\)");
  EXPECT_STREQ(load_parameter("value=\"two\nlines &amp; <tags>\"").first().value.get(),
               "two\nlines &amp; <tags>");
}

TEST_F(XmlLoader, InstallsItsCallbacks) {
  xml_line_process = nullptr;
  xml_line_error = nullptr;
  EXPECT_EQ(load(R"(<OBJECT name="A."/>)").status, 0);
  EXPECT_EQ(xml_line_process, VT_CM_XML2RAM_LineProcess);
  EXPECT_EQ(xml_line_error, VT_CM_XML2RAM_LineError);
}

// ----------------------------------------------------------------------------------- bounds

/// Objects of these name lengths inside each other, and in the innermost a parameter with a name of
/// `leaf` characters, or none.
std::string nested(const std::vector<std::size_t>& lengths, std::size_t leaf = 0) {
  std::string text;
  for (const std::size_t length : lengths)
    text += "<OBJECT name=\"" + std::string(length - 1, 'n') + ".\">";
  if (leaf > 0) text += "<PARAMETER name=\"" + std::string(leaf, 'p') + "\"/>";
  for (std::size_t i = 0; i < lengths.size(); ++i)
    text += "</OBJECT>";
  return text;
}

TEST_F(XmlLoader, ASegmentHolds255Characters) {
  EXPECT_EQ(load(nested({2, 255})).status, 0);
  EXPECT_EQ(load(nested({2, 256})).status, -100);
  EXPECT_EQ(load(nested({256})).status, -100);
}

TEST_F(XmlLoader, APathHolds32768Characters) {
  std::vector<std::size_t> lengths(128, 255);  // 32,640
  lengths.push_back(128);
  EXPECT_EQ(load(nested(lengths)).status, 0);
  lengths.back() = 129;
  EXPECT_EQ(load(nested(lengths)).status, -100);
}

TEST_F(XmlLoader, APathWithItsParameterHolds32768Characters) {
  const std::vector<std::size_t> lengths(128, 255);
  EXPECT_EQ(load(nested(lengths, 128)).status, 0);
  EXPECT_EQ(load(nested(lengths, 129)).status, -100);
}

TEST_F(XmlLoader, ThePathShrinksWithEveryEnd) {
  std::string rows;
  for (int i = 0; i < 300; ++i)
    rows += nested({255, 200}, 300);
  EXPECT_EQ(load("<OBJECT name=\"A.\">" + rows + "</OBJECT>").status, 0);
}

TEST_F(XmlLoader, NamelessObjectsDoNotNestWithoutBound) {
  const auto nameless = [](int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i)
      text += "<OBJECT>";
    for (int i = 0; i < depth; ++i)
      text += "</OBJECT>";
    return text;
  };
  EXPECT_EQ(load(nameless(32'768)).status, 0);
  EXPECT_EQ(load(nameless(32'769)).status, -100);
}

// --------------------------------------------------------------------------- texts and files

class XmlLoaderFiles : public XmlLoader {
 protected:
  void SetUp() override {
    test::clear_sandbox();
    test::flash() = {};
    XmlLoader::SetUp();
  }

  static Loaded load_file(const std::string& path) {
    Loaded loaded;
    loaded.root = new_node();
    loaded.said =
        stdout_of([&] { loaded.status = VT_CM_XMLFILE2RAM(loaded.root.get(), path.c_str()); });
    return loaded;
  }

  /// CM_XML2RAM into a record that is in use.
  static Loaded load_source(const char* source) {
    Loaded loaded;
    loaded.root = new_node();
    loaded.root->attributes = 0xFFFF;
    loaded.said = stdout_of([&] { loaded.status = CM_XML2RAM(loaded.root.get(), source); });
    return loaded;
  }

  static void store(const std::string& partition, const std::string& text) {
    ASSERT_EQ(CM_UTL_SetMTDBlockSettings(partition.c_str(), text.c_str()), CM_OK);
  }

  static void damage(const std::string& partition) {
    std::string block = test::read_file(partition);
    block.back() = static_cast<char>(block.back() ^ 1);
    write_file(partition, block);
  }

  /// A document of exactly `size` bytes: one object, and white space.
  static std::string document_of(std::size_t size) {
    std::string text = R"(<OBJECT name="A."><PARAMETER name="p"/></OBJECT>)";
    text.resize(size, '\n');
    return text;
  }

  const std::string file = test::sandbox_root() + "/tmp/configuration.xml";
  const std::string primary = paths().primary_partition;
  const std::string backup = paths().backup_partition;
  const std::string primary_told = "[CM_XML2RAM]xml file<" + primary + "> to RAM ret=";

  static constexpr const char* kSaved =
      "<DATAMODEL>\n<OBJECT name=\"P.\">\n</OBJECT>\n</DATAMODEL>\n";
  static constexpr const char* kOlder =
      "<DATAMODEL>\n<OBJECT name=\"B.\">\n</OBJECT>\n</DATAMODEL>\n";
};

TEST_F(XmlLoaderFiles, LoadsAFile) {
  write_file(file, R"(<OBJECT name="A."><PARAMETER name="p"/></OBJECT>)");
  const Loaded loaded = load_file(file);
  EXPECT_EQ(loaded.status, 0);
  EXPECT_EQ(loaded.outline(), kOneParameter);
  EXPECT_EQ(loaded.said, "");
}

TEST_F(XmlLoaderFiles, AMissingFileHoldsNoObject) {
  const Loaded loaded = load_file(file);
  EXPECT_EQ(loaded.status, -100);
  EXPECT_EQ(loaded.outline(), "<none>\n");
  EXPECT_EQ(loaded.said, "[FUNC]call_xml_file_parser [LINE]104\n");
}

TEST_F(XmlLoaderFiles, AFolderHoldsNoObject) {
  const Loaded loaded = load_file(test::sandbox_root() + "/tmp");
  EXPECT_EQ(loaded.status, -100);
  EXPECT_EQ(loaded.outline(), "<none>\n");
}

TEST_F(XmlLoaderFiles, AFileMayHoldTwoMebibytes) {
  write_file(file, document_of(2'097'152));
  const Loaded loaded = load_file(file);
  EXPECT_EQ(loaded.status, 0);
  EXPECT_EQ(loaded.outline(), kOneParameter);
}

TEST_F(XmlLoaderFiles, AFileAboveTwoMebibytesIsNotParsed) {
  write_file(file, document_of(2'097'153));
  const Loaded loaded = load_file(file);
  EXPECT_EQ(loaded.status, -100);
  EXPECT_EQ(loaded.outline(), "<none>\n");
  EXPECT_EQ(loaded.said, "[FUNC]call_xml_file_parser [LINE]94\n");
}

TEST_F(XmlLoaderFiles, AFileThatDoesNotParseIsTold) {
  write_file(file, R"(<OBJECT name="A.">text</OBJECT>)");
  const Loaded loaded = load_file(file);
  EXPECT_EQ(loaded.status, -100);
  EXPECT_EQ(loaded.outline(), kJustRoot);
  EXPECT_EQ(loaded.said,
            "[FUNC]typeParse [RET]NODE_FORMART_ERR\n"
            "[FUNC]nodeParse [RET]-1\n"
            "[FUNC]call_xml_parser [LINE]35\n"
            "[FUNC]call_xml_file_parser [LINE]109\n");
}

TEST_F(XmlLoaderFiles, AnUnknownModeLoadsNothing) {
  const NodePtr root = new_node();
  for (const std::int32_t mode : {-1, 2, 3})
    EXPECT_EQ(VT_CM_XML2RAM_Parse(root.get(), mode, R"(<OBJECT name="A."/>)"), -1);
  EXPECT_EQ(outline_of(root.get()), "<none>\n");
}

TEST_F(XmlLoaderFiles, TheTwoModesParse) {
  write_file(file, R"(<OBJECT name="F."/>)");
  NodePtr root = new_node();
  EXPECT_EQ(VT_CM_XML2RAM_Parse(root.get(), kLoadFile, file), 0);
  EXPECT_EQ(outline_of(root.get()), "F.\n");
  root = new_node();
  EXPECT_EQ(VT_CM_XML2RAM_Parse(root.get(), kLoadBuffer, R"(<OBJECT name="A."/>)"), 0);
  EXPECT_EQ(outline_of(root.get()), "A.\n");
}

TEST_F(XmlLoaderFiles, TheTextEndsWithItsLength) {
  const std::string_view text = R"(<OBJECT name="A."/><OBJECT name="B."/>)";
  EXPECT_EQ(load({text.data(), text.size() / 2}).status, 0);
}

TEST_F(XmlLoaderFiles, NoSourceIsThePrimarySettings) {
  store(primary, kSaved);
  store(backup, kOlder);
  const Loaded loaded = load_source(nullptr);
  EXPECT_EQ(loaded.status, 0);
  EXPECT_EQ(loaded.outline(), "P.\n");
  EXPECT_EQ(loaded.said, primary_told + "0\n");
}

TEST_F(XmlLoaderFiles, TheBackupServesForAMissingPrimary) {
  store(backup, kOlder);
  const Loaded loaded = load_source(nullptr);
  EXPECT_EQ(loaded.status, 0);
  EXPECT_EQ(loaded.outline(), "B.\n");
  EXPECT_EQ(loaded.said, primary_told + "0\n");  // by the primary's name
}

TEST_F(XmlLoaderFiles, TheBackupServesForAnErasedPrimary) {
  write_file(primary, std::string(65'536, '\xFF'));
  store(backup, kOlder);
  const Loaded loaded = load_source(nullptr);
  EXPECT_EQ(loaded.status, 0);
  EXPECT_EQ(loaded.outline(), "B.\n");
  EXPECT_EQ(loaded.said, primary_told + "0\n");
}

TEST_F(XmlLoaderFiles, TheBackupServesForADamagedPrimary) {
  store(primary, kSaved);
  damage(primary);
  store(backup, kOlder);
  const Loaded loaded = load_source(nullptr);
  EXPECT_EQ(loaded.status, 0);
  EXPECT_EQ(loaded.outline(), "B.\n");
  EXPECT_EQ(loaded.said, primary_told + "0\n");
}

TEST_F(XmlLoaderFiles, TheBackupDoesNotServeForATextThatDoesNotLoad) {
  store(primary, "<DATAMODEL>\n");
  store(backup, kOlder);
  const Loaded loaded = load_source(nullptr);
  EXPECT_EQ(loaded.status, 156);
  EXPECT_EQ(loaded.outline(), "<none>\n");
  EXPECT_EQ(loaded.said, primary_told + "-100\n");
}

TEST_F(XmlLoaderFiles, AnEmptyTextDoesNotLoad) {
  store(primary, "");
  const Loaded loaded = load_source(nullptr);
  EXPECT_EQ(loaded.status, 156);
  EXPECT_EQ(loaded.said, primary_told + "-100\n");
}

TEST_F(XmlLoaderFiles, WithoutSavedSettingsThereIsNothingToUse) {
  Loaded loaded = load_source(nullptr);
  EXPECT_EQ(loaded.status, 3);
  EXPECT_EQ(loaded.root->attributes, 0);
  EXPECT_EQ(loaded.said, "Fail to decompress default settings\n");

  store(primary, kSaved);
  damage(primary);
  store(backup, kOlder);
  damage(backup);
  loaded = load_source(nullptr);
  EXPECT_EQ(loaded.status, 3);
  EXPECT_EQ(loaded.outline(), "<none>\n");
  EXPECT_EQ(loaded.said, "Fail to decompress default settings\n");
}

TEST_F(XmlLoaderFiles, ThePrimaryByItsPathIsThePrimaryAlone) {
  store(primary, kSaved);
  const Loaded loaded = load_source(paths().primary_partition);
  EXPECT_EQ(loaded.status, 0);
  EXPECT_EQ(loaded.outline(), "P.\n");
  EXPECT_EQ(loaded.said, "");
}

TEST_F(XmlLoaderFiles, ThePrimaryByItsPathHasNoBackup) {
  store(backup, kOlder);
  Loaded loaded = load_source(primary.c_str());  // another text of the same content
  EXPECT_EQ(loaded.status, 3);
  EXPECT_EQ(loaded.outline(), "<none>\n");
  EXPECT_EQ(loaded.said, "");

  store(primary, kSaved);
  damage(primary);
  loaded = load_source(primary.c_str());
  EXPECT_EQ(loaded.status, 3);
  EXPECT_EQ(loaded.said, "");
}

TEST_F(XmlLoaderFiles, ThePrimaryByItsPathMayNotLoad) {
  store(primary, R"(<OBJECT name="A."></PARAMETER>)");
  const Loaded loaded = load_source(primary.c_str());
  EXPECT_EQ(loaded.status, 156);
  EXPECT_EQ(loaded.outline(), kJustRoot);
  EXPECT_EQ(loaded.said, "\n</PARAMETER>[FUNC]call_xml_parser [LINE]44\n");
}

TEST_F(XmlLoaderFiles, TheBackupByItsPathIsAFile) {
  store(backup, kOlder);
  EXPECT_EQ(load_source(backup.c_str()).status, 156);
  write_file(backup, kOlder);
  const Loaded loaded = load_source(backup.c_str());
  EXPECT_EQ(loaded.status, 0);
  EXPECT_EQ(loaded.outline(), "B.\n");
}

TEST_F(XmlLoaderFiles, AnyOtherSourceIsAFile) {
  write_file(file, kSaved);
  Loaded loaded = load_source(file.c_str());
  EXPECT_EQ(loaded.status, 0);
  EXPECT_EQ(loaded.outline(), "P.\n");
  EXPECT_EQ(loaded.said, "");

  loaded = load_source((file + "x").c_str());
  EXPECT_EQ(loaded.status, 156);
  EXPECT_EQ(loaded.root->attributes, 0);
}

TEST_F(XmlLoaderFiles, WithoutARootNothingIsRead) {
  EXPECT_EQ(CM_XML2RAM(nullptr, file.c_str()), 156);
}

// ---------------------------------------------------------------------------------- memory

constexpr const char* kSweptDocument =
    R"(<?xml version="1.0"?><DATAMODEL><OBJECT name="A." type="object">)"
    R"a(<PARAMETER name="p" type="string(9)" value="say \"a\"" enumeration="a\\b,c" writable="1"/>)a"
    R"(<OBJECT name="1."><PARAMETER name="q" function="GetSysUpTime"></PARAMETER></OBJECT>)"
    R"(<Element name="B."></Element></OBJECT></DATAMODEL>)";

/// What a swept load left; the tree is gone by then.
struct Swept {
  int result = 0;
  std::string tree;
};

/// Runs `load` with every allocation failing once and hands each outcome to `check`. Returns the
/// number of failing runs and, in `last`, the outcome with enough memory.
std::size_t sweep(const std::function<int(Node*)>& load,
                  const std::function<void(const Swept&)>& check, Swept* last) {
  NodePtr root;
  std::size_t runs = 0;
  static_cast<void>(stdout_of([&] {
    runs = test::sweep_allocations([&] { root = new_node(); },
                                   [&] {
                                     last->result = load(root.get());
                                     last->tree = full_outline_of(root.get());
                                     root.reset();
                                   },
                                   [&] { check(*last); });
  }));
  return runs;
}

constexpr const char* kSweptTree =
    "A.\n"
    "  p [1] 8(0..9) {a\\b,c} = say \"a\"\n"
    "  1. [1]\n"
    "    q 12(0..0) GetSysUpTime\n"
    "  B.\n";

TEST_F(XmlLoader, AFailedAllocationFailsTheLoad) {
  Swept last;
  const std::size_t runs = sweep([](Node* root) { return VT_CM_XML2RAM(root, kSweptDocument); },
                                 [](const Swept& swept) { EXPECT_EQ(swept.result, -100); }, &last);
  EXPECT_GT(runs, 60U);
  EXPECT_EQ(last.result, 0);
  EXPECT_EQ(last.tree, kSweptTree);
}

TEST_F(XmlLoaderFiles, AFailedAllocationLeavesTheBackupToServe) {
  store(primary, kSweptDocument);
  store(backup, kOlder);
  Swept last;
  sweep([](Node* root) { return CM_XML2RAM(root, nullptr); },
        [](const Swept& swept) {
          if (swept.result == 0)
            EXPECT_EQ(swept.tree, "B.\n");
          else
            EXPECT_TRUE(swept.result == 3 || swept.result == 156) << swept.result;
        },
        &last);
  EXPECT_EQ(last.result, 0);
  EXPECT_EQ(last.tree, kSweptTree);
}

TEST_F(XmlLoaderFiles, AFailedAllocationFailsTheLoadOfAFile) {
  write_file(file, kSweptDocument);
  Swept last;
  sweep([this](Node* root) { return int{CM_XML2RAM(root, file.c_str())}; },
        [](const Swept& swept) { EXPECT_EQ(swept.result, 156); }, &last);
  EXPECT_EQ(last.result, 0);
  EXPECT_EQ(last.tree, kSweptTree);
}

// ------------------------------------------------------------------------------------ scale

std::string parameters_of(int count) {
  std::string text;
  for (int i = 0; i < count; ++i)
    text += R"(<PARAMETER name="p" type="int" value="1" writable="1"/>)";
  return text;
}

/// How many allocations a load takes, by finding the first one that never comes.
std::size_t allocations_of(const std::string& text) {
  const auto reaches = [&text](std::size_t nth) {
    const NodePtr root = new_node();
    const test::FailingHeap heap{nth, test::FailingHeap::Kind::kOnce};
    static_cast<void>(VT_CM_XML2RAM(root.get(), text));
    return heap.fired();
  };
  std::size_t reached = 0;
  std::size_t missed = 1'000'000;
  static_cast<void>(stdout_of([&] {
    while (missed - reached > 1) {
      const std::size_t middle = (reached + missed) / 2;
      (reaches(middle) ? reached : missed) = middle;
    }
  }));
  return reached;
}

TEST_F(XmlLoader, EveryParameterTakesTheSameAllocations) {
  const auto document = [](int parameters) {
    return "<OBJECT name=\"A.\">" + parameters_of(parameters) + "</OBJECT>";
  };
  const std::size_t none = allocations_of(document(0));
  const std::size_t one = allocations_of(document(1)) - none;
  // The record, and of the item its tag, four names and four values.
  EXPECT_EQ(one, 10U);
  EXPECT_EQ(allocations_of(document(100)) - none, 100 * one);
  EXPECT_EQ(allocations_of(document(2'000)) - none, 2'000 * one);
}

TEST_F(XmlLoader, LongListsAreNotWalkedForEachAddition) {
  constexpr int kMany = 200'000;  // walked each time, this would take minutes
  std::string text = "<OBJECT name=\"A.\">" + parameters_of(kMany);
  for (int i = 0; i < kMany; ++i)
    text += R"(<OBJECT name="1."/>)";
  const Loaded loaded = load(text + "</OBJECT>");
  EXPECT_EQ(loaded.status, 0);
  int parameters = 0;
  for (const Parameter* param = loaded.root->params; param; param = param->next)
    ++parameters;
  EXPECT_EQ(parameters, kMany);
  int objects = 0;
  for (const Node* node = loaded.root->children; node; node = node->next)
    ++objects;
  EXPECT_EQ(objects, kMany);
}

// --------------------------------------------------------------------------------- the model

struct Census {
  int parameters = 0;
  int without_type = 0;
  std::vector<std::string> getters;
};

void count(const Node* node, Census* census) {
  for (; node; node = node->next) {
    for (const Parameter* param = node->params; param; param = param->next) {
      ++census->parameters;
      if (param->type == kUnknownType) ++census->without_type;
      if (param->getter) census->getters.emplace_back(param->getter->name);
    }
    count(node->children, census);
  }
}

/// The values of every attribute `function` in a text, in order.
std::vector<std::string> functions_in(const std::string& text) {
  const std::string start = " function=\"";
  std::vector<std::string> names;
  for (std::size_t at = text.find(start); at != std::string::npos; at = text.find(start, at)) {
    at += start.size();
    names.push_back(text.substr(at, text.find('"', at) - at));
  }
  return names;
}

TEST_F(XmlLoaderFiles, TheSampleModelLoads) {
  const std::string model = GWCONF_MODEL;
  const Loaded loaded = load_file(model);
  EXPECT_EQ(loaded.status, 0);
  EXPECT_EQ(loaded.said, "");
  EXPECT_EQ(loaded.root->name.view(), "InternetGatewayDevice.");
  Census census;
  count(loaded.root.get(), &census);
  EXPECT_GE(census.parameters, 900);
  EXPECT_EQ(census.without_type, 0);
  EXPECT_GE(census.getters.size(), 75U);
  EXPECT_EQ(census.getters, functions_in(test::read_file(model)));
}

}  // namespace
}  // namespace gwconf
