#include "rpc/value_commands.h"

#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/short_name_index.h"
#include "platform/getters.h"
#include "tests/rpc/request_fixture.h"
#include "tests/support/failing_heap.h"
#include "tests/support/sandbox.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using namespace std::string_literals;
using test::framed;
using test::message;
using test::messages;
using test::parameter_at;
using test::Reply;
using test::serve;
using test::serve_bytes;
using test::value_at;

using Texts = std::vector<std::string>;

constexpr const char* kTree = R"(
InternetGatewayDevice.
  Summary = gateway
  HostNumberOfEntries = 1
  Empty =
  None
  Host.
    0.
      Name =
    1. [1]
      Name [1] = printer
  Hidden. [2]
    Name = unseen
)";

const std::string kSummary = "InternetGatewayDevice.Summary";
const std::string kName = "InternetGatewayDevice.Host.1.Name";
const std::string kHidden = "InternetGatewayDevice.Hidden.Name";

class ValueCommands : public test::RequestTest {
 protected:
  void SetUp() override {
    RequestTest::SetUp();
    load(kTree);
  }
};

/// Lookups that fail, with the code of each.
struct BadPath {
  std::string path;
  std::int32_t code;
};

std::vector<BadPath> bad_paths() {
  return {
      {"InternetGatewayDevice.Nothing", 2},
      {"InternetGatewayDevice.Host.2.Name", 2},
      {"InternetGatewayDevice", 2},
      {"", 2},
      {"InternetGatewayDevice.Host.1.", -100},
      {"InternetGatewayDevice.", -100},
      {".", -100},
      {"InternetGatewayDevice." + std::string(300, 'x') + ".Name", 2},
      {std::string(32767, 'x') + '.', -100},
      {std::string(32768, '.'), -100},
      {"InternetGatewayDevice." + std::string(32746, 'x'), 2},
  };
}

const Texts kReaders = {"2", "3", "5", "6", "7", "8", "9", "25", "26"};

TEST_F(ValueCommands, AFailedLookupAnswersTheEmptyTextBeforeItsCode) {
  for (const std::string& command : kReaders)
    for (const BadPath& bad : bad_paths())
      EXPECT_EQ(serve({command, bad.path}), (Reply{{""}, bad.code}))
          << command << " " << bad.path.substr(0, 60);
}

TEST_F(ValueCommands, AFailedLookupOfAWriteAnswersItsCodeOnly) {
  const std::string before = test::live_outline();
  for (const std::string& command : {"0"s, "23"s})
    for (const BadPath& bad : bad_paths())
      EXPECT_EQ(serve({command, bad.path, "x"}), (Reply{{}, bad.code}))
          << command << " " << bad.path.substr(0, 60);
  EXPECT_EQ(test::live_outline(), before);
}

TEST_F(ValueCommands, AnUnreadablePathAnswersTheEmptyTextAndNoResult) {
  for (const std::string& command : kReaders) {
    EXPECT_EQ(serve({command}), (Reply{{""}, 10})) << command;
    EXPECT_EQ(serve_bytes(message(command) + framed(0, "")), (Reply{{""}, 10})) << command;
    EXPECT_EQ(serve_bytes(message(command) + framed(-7, "abc\0"s)), (Reply{{""}, 10})) << command;
    EXPECT_EQ(serve_bytes(message(command) + framed(32770, kSummary)), (Reply{{""}, 10}))
        << command;
  }
  EXPECT_EQ(serve({"0"}), (Reply{{}, 10}));
}

TEST_F(ValueCommands, WithoutALiveTreeNothingIsFound) {
  release_tree();
  for (const std::string& command : kReaders)
    EXPECT_EQ(serve({command, kSummary}), (Reply{{""}, 2})) << command;
  EXPECT_EQ(serve({"0", kSummary, "x"}), (Reply{{}, 2}));
}

// --- Set ---

TEST_F(ValueCommands, SettingAValueStoresItAndMarksItUserSet) {
  for (const std::string& command : {"0"s, "23"s}) {
    load(kTree);
    EXPECT_EQ(serve({command, kName, "laptop"}), (Reply{{}, 0}));
    EXPECT_EQ(value_at(kName), "laptop");
    EXPECT_EQ(parameter_at(kName)->attributes, 9);  // writable as before, and user-set
  }
}

TEST_F(ValueCommands, SettingWhatIsThereAlreadyChangesNothing) {
  const std::string before = test::live_outline();
  for (const std::string& command : {"0"s, "23"s}) {
    EXPECT_EQ(serve({command, kName, "printer"}), (Reply{{}, 1}));
    EXPECT_EQ(serve({command, "InternetGatewayDevice.Empty", ""}), (Reply{{}, 1}));
  }
  EXPECT_EQ(test::live_outline(), before);
}

TEST_F(ValueCommands, TheEmptyTextIsANewValueWhereThereIsNone) {
  EXPECT_EQ(serve({"0", "InternetGatewayDevice.None", ""}), (Reply{{}, 0}));
  EXPECT_EQ(value_at("InternetGatewayDevice.None"), "");
  EXPECT_EQ(parameter_at("InternetGatewayDevice.None")->attributes, 8);
}

TEST_F(ValueCommands, ACounterIsSetButNotMarked) {
  const std::string counter = "InternetGatewayDevice.HostNumberOfEntries";
  EXPECT_EQ(serve({"0", counter, "5"}), (Reply{{}, 0}));
  EXPECT_EQ(value_at(counter), "5");
  EXPECT_EQ(parameter_at(counter)->attributes, 0);
}

TEST_F(ValueCommands, OnlyAnEndingMakesACounter) {
  load("A.\n  NumberOfEntriesMax = 1\n  NumberOfEntries = 1\n");
  EXPECT_EQ(serve({"0", "A.NumberOfEntriesMax", "2"}), (Reply{{}, 0}));
  EXPECT_EQ(parameter_at("A.NumberOfEntriesMax")->attributes, 8);
  EXPECT_EQ(serve({"0", "A.NumberOfEntries", "2"}), (Reply{{}, 0}));
  EXPECT_EQ(parameter_at("A.NumberOfEntries")->attributes, 0);
}

TEST_F(ValueCommands, AnAmpersandIsStoredEscapedAndReadAsSent) {
  EXPECT_EQ(serve({"0", kName, "a & b"}), (Reply{{}, 0}));
  EXPECT_EQ(value_at(kName), "a &amp; b");
  EXPECT_EQ(serve({"2", kName}), (Reply{{"a & b"}, 0}));
  EXPECT_EQ(serve({"0", kName, "a & b"}), (Reply{{}, 1}));
  EXPECT_EQ(serve({"32", kName}).answers.at(0),
            "<VANTREL_CML>\n"
            "\t<Element name=\"Name\" writable=\"1\" value=\"a &amp; b\" type=\"string\"/>\n"
            "</VANTREL_CML>\n");
}

TEST_F(ValueCommands, EveryByteButNulComesBackAsSent) {
  std::string all;
  for (int c = 1; c < 256; ++c)
    all += static_cast<char>(c);
  EXPECT_EQ(serve({"0", kName, all}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"2", kName}), (Reply{{all}, 0}));
  // What looks escaped is a text like any other.
  EXPECT_EQ(serve({"0", kName, "&amp;&#65;&lt"}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"2", kName}), (Reply{{"&amp;&#65;&lt"}, 0}));
}

TEST_F(ValueCommands, PercentSignsAreText) {
  EXPECT_EQ(serve({"0", kName, "100%s %d %n %%"}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"2", kName}), (Reply{{"100%s %d %n %%"}, 0}));
}

TEST_F(ValueCommands, TheLongestValueIsOneMessage) {
  const std::string longest(32768, 'x');
  EXPECT_EQ(serve({"0", kName, longest}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"2", kName}), (Reply{{longest}, 0}));
  EXPECT_EQ(serve({"0", kName, longest + 'x'}), (Reply{{}, 10}));
  EXPECT_EQ(value_at(kName), longest);
}

TEST_F(ValueCommands, AValueWhoseEscapedFormPassesTheBoundIsRefused) {
  const std::string before = test::live_outline();
  // "&amp;" takes five characters: 6,554 of them are 32,770.
  EXPECT_EQ(serve({"0", kName, std::string(6554, '&')}), (Reply{{}, -100}));
  EXPECT_EQ(serve({"0", kName, std::string(32768, '<')}), (Reply{{}, -100}));
  EXPECT_EQ(test::live_outline(), before);
  const std::string fits = std::string(6553, '&') + "abc";  // 32,768
  EXPECT_EQ(serve({"0", kName, fits}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"2", kName}), (Reply{{fits}, 0}));
}

TEST_F(ValueCommands, NothingButTheListedChecksStopsASet) {
  Parameter* name = parameter_at(kHidden);  // read-only, below a disabled object
  name->type = kUnsignedInt;
  name->min = 1;
  name->max = 5;
  EXPECT_EQ(serve({"0", kHidden, "not a number"}), (Reply{{}, 0}));
  EXPECT_EQ(value_at(kHidden), "not a number");
  EXPECT_EQ(name->attributes, 8);
  name->type = kEnumeration;
  ASSERT_TRUE(name->enumeration.assign("On,Off"));
  EXPECT_EQ(serve({"0", kHidden, "Between"}), (Reply{{}, 0}));
  name->attributes = 2;  // disabled itself
  EXPECT_EQ(serve({"0", kHidden, "On"}), (Reply{{}, 0}));
  EXPECT_EQ(value_at(kHidden), "On");
}

TEST_F(ValueCommands, AnUnreadableValueChangesNothing) {
  const std::string before = test::live_outline();
  EXPECT_EQ(serve({"0", kName}), (Reply{{}, 10}));
  for (const std::int32_t length : {0, -1, 32770})
    EXPECT_EQ(serve_bytes(messages({"0", kName}) + framed(length, "abc\0"s)), (Reply{{}, 10}))
        << length;
  EXPECT_EQ(test::live_outline(), before);
}

TEST_F(ValueCommands, AValueWithoutNulEndsWhereTheBufferSays) {
  // The path before it is longer: its rest ends the text.
  EXPECT_EQ(serve_bytes(messages({"0", kName}) + framed(3, "abc")), (Reply{{}, 0}));
  EXPECT_EQ(value_at(kName), "abc" + kName.substr(3));
  EXPECT_EQ(serve_bytes(messages({"0", kName}) + framed(32769, std::string(32769, 'x'))),
            (Reply{{}, 0}));
  EXPECT_EQ(value_at(kName), std::string(32768, 'x'));
}

TEST_F(ValueCommands, OutOfMemoryKeepsTheOldValue) {
  const std::string before = test::live_outline();
  release_tree();
  Reply reply;
  std::string after;
  const std::size_t failures = test::sweep_allocations([] { load(kTree); },
                                                       [&] {
                                                         reply = serve({"0", kName, "laptop"});
                                                         after = test::live_outline();
                                                         release_tree();
                                                       },
                                                       [&] {
                                                         EXPECT_EQ(reply, (Reply{{}, 4}));
                                                         EXPECT_EQ(after, before);
                                                       });
  EXPECT_EQ(failures, 2u);
}

// --- Get ---

TEST_F(ValueCommands, AStoredValueIsAnsweredUnescaped) {
  for (const std::string& command : {"2"s, "25"s}) {
    EXPECT_EQ(serve({command, kName}), (Reply{{"printer"}, 0}));
    EXPECT_EQ(serve({command, "InternetGatewayDevice.Empty"}), (Reply{{""}, 0}));
    EXPECT_EQ(serve({command, "InternetGatewayDevice.None"}), (Reply{{""}, 0}));
  }
  ASSERT_TRUE(parameter_at(kName)->value.assign("&lt;&#x20AC;&bogus;"));
  EXPECT_EQ(serve({"2", kName}), (Reply{{"<\xE2\x82\xAC&bogus;"}, 0}));
}

TEST_F(ValueCommands, ADisabledObjectReadsEmpty) {
  EXPECT_EQ(serve({"2", kHidden}), (Reply{{""}, 0}));
  EXPECT_EQ(serve({"25", kHidden}), (Reply{{""}, 0}));
  // Its other facts are there.
  EXPECT_EQ(serve({"3", kHidden}), (Reply{{"Name"}, 0}));
  EXPECT_EQ(serve({"8", kHidden}), (Reply{{kHidden}, 0}));
}

TEST_F(ValueCommands, OnlyTheParametersOwnObjectCountsAsDisabled) {
  load("A. [2]\n  B.\n    Name = seen\n  Off [2] = hidden\n");
  EXPECT_EQ(serve({"2", "A.B.Name"}), (Reply{{"seen"}, 0}));
  load("A.\n  Off [2] = shown\n");
  EXPECT_EQ(serve({"2", "A.Off"}), (Reply{{"shown"}, 0}));
}

TEST_F(ValueCommands, AValueTooLongForAMessageReadsEmpty) {
  ASSERT_TRUE(parameter_at(kName)->value.assign(std::string(32769, 'x')));
  EXPECT_EQ(serve({"2", kName}), (Reply{{""}, 0}));
}

std::string getter_path;
std::int32_t getter_size;

Status answer_markup(const char* path, char* out, std::int32_t size) {
  getter_path = path;
  getter_size = size;
  // The buffer comes zeroed.
  std::snprintf(out, static_cast<std::size_t>(size), "%s<&amp;%%s>", out[0] == '\0' ? "" : "dirty");
  return CM_OK;
}

Status answer_longest(const char* /*path*/, char* out, std::int32_t size) {
  std::fill_n(out, size - 1, 'g');
  return CM_OK;
}

Status write_and_fail(const char* /*path*/, char* out, std::int32_t size) {
  std::snprintf(out, static_cast<std::size_t>(size), "half an answer");
  return CM_INVALID;
}

const GetterRow kMarkup{"Markup", answer_markup};
const GetterRow kLongest{"Longest", answer_longest};
const GetterRow kFailing{"Failing", write_and_fail};

TEST_F(ValueCommands, AGetterIsAskedWithThePathAsReceivedAndAnsweredAsItStands) {
  parameter_at(kName)->getter = &kMarkup;
  const std::string roundabout = "InternetGatewayDevice.InternetGatewayDevice.Host.1.1.Name";
  for (const std::string& command : {"2"s, "25"s}) {
    EXPECT_EQ(serve({command, roundabout}), (Reply{{"<&amp;%s>"}, 0}));
    EXPECT_EQ(getter_path, roundabout);
    EXPECT_EQ(getter_size, 32769);
  }
}

TEST_F(ValueCommands, AValueSetBesideAGetterIsKeptAndNeverReadBack) {
  parameter_at(kName)->getter = &kMarkup;
  EXPECT_EQ(serve({"0", kName, "stored"}), (Reply{{}, 0}));
  EXPECT_EQ(value_at(kName), "stored");
  EXPECT_EQ(serve({"2", kName}), (Reply{{"<&amp;%s>"}, 0}));
}

TEST_F(ValueCommands, AGetterThatFailsReadsEmpty) {
  parameter_at(kName)->getter = &kFailing;
  EXPECT_EQ(serve({"2", kName}), (Reply{{""}, 0}));
}

TEST_F(ValueCommands, AGetterMayFillTheWholeAnswer) {
  parameter_at(kName)->getter = &kLongest;
  EXPECT_EQ(serve({"2", kName}), (Reply{{std::string(32768, 'g')}, 0}));
}

TEST_F(ValueCommands, AGetterBelowADisabledObjectIsNotAsked) {
  parameter_at(kHidden)->getter = &kMarkup;
  getter_path = "not asked";
  EXPECT_EQ(serve({"2", kHidden}), (Reply{{""}, 0}));
  EXPECT_EQ(getter_path, "not asked");
}

TEST_F(ValueCommands, AGetterNamedByAFileIsAsked) {
  load_xml(
      "<DATAMODEL><OBJECT name=\"A.\"><PARAMETER name=\"Link\" value=\"stored\" "
      "function=\"COM_GetWANPhysicalLinkStatus\"/><PARAMETER name=\"Unknown\" value=\"stored\" "
      "function=\"GetNothing\"/></OBJECT></DATAMODEL>");
  EXPECT_EQ(serve({"2", "A.Link"}), (Reply{{"Up"}, 0}));
  EXPECT_EQ(value_at("A.Link"), "stored");
  EXPECT_EQ(serve({"2", "A.Unknown"}), (Reply{{"stored"}, 0}));
}

// --- The other facts ---

TEST_F(ValueCommands, TheNameIsTheLastComponent) {
  for (const std::string& command : {"3"s, "26"s}) {
    EXPECT_EQ(serve({command, kName}), (Reply{{"Name"}, 0}));
    EXPECT_EQ(serve({command, kSummary}), (Reply{{"Summary"}, 0}));
  }
}

TEST_F(ValueCommands, ThePathIsTheTreesOwn) {
  EXPECT_EQ(serve({"8", kName}), (Reply{{kName}, 0}));
  EXPECT_EQ(serve({"8", "InternetGatewayDevice.InternetGatewayDevice.Host.Host.1.1.Name"}),
            (Reply{{kName}, 0}));
}

struct TypeRow {
  const char* type;
  const char* code;
  const char* min;
  const char* max;
};

TEST_F(ValueCommands, TypeCodesAndLimitsOfEveryType) {
  const TypeRow rows[] = {
      {"string(64)", "2", "0", "64"},
      {"string", "2", "0", "0"},
      {"int[-5:10]", "3", "-5", "10"},
      {"int[-2147483648:2147483647]", "3", "-2147483648", "2147483647"},
      {"unsignedInt[1:]", "4", "1", "0"},
      {"boolean", "5", "0", "1"},
      {"dateTime", "6", "0", "0"},
      {"base64(128)", "7", "0", "128"},
      {"ipAddress", "9", "0", "15"},
      {"netmask", "10", "0", "15"},
      {"macAddress", "11", "0", "17"},
      {"nonsense", "12", "0", "0"},
  };
  for (const TypeRow& row : rows) {
    SCOPED_TRACE(row.type);
    load_xml("<DATAMODEL><OBJECT name=\"A.\"><PARAMETER name=\"B\" type=\""s + row.type +
             "\" value=\"\"/></OBJECT></DATAMODEL>");
    EXPECT_EQ(serve({"5", "A.B"}), (Reply{{row.code}, 0}));
    EXPECT_EQ(serve({"6", "A.B"}), (Reply{{row.max}, 0}));
    EXPECT_EQ(serve({"7", "A.B"}), (Reply{{row.min}, 0}));
    EXPECT_EQ(serve({"9", "A.B"}), (Reply{{""}, 0}));
  }
  load_xml(
      "<DATAMODEL><OBJECT name=\"A.\"><PARAMETER name=\"B\" type=\"string\" value=\"On\" "
      "enumeration=\"On,Off\"/></OBJECT></DATAMODEL>");
  EXPECT_EQ(serve({"5", "A.B"}), (Reply{{"8"}, 0}));
  EXPECT_EQ(serve({"9", "A.B"}), (Reply{{"On,Off"}, 0}));
}

TEST_F(ValueCommands, AnEnumerationIsAnsweredAsStored) {
  ASSERT_TRUE(parameter_at(kName)->enumeration.assign("a%d,b &amp; c,"));
  EXPECT_EQ(serve({"9", kName}), (Reply{{"a%d,b &amp; c,"}, 0}));
  EXPECT_EQ(serve({"9", kSummary}), (Reply{{""}, 0}));
}

TEST_F(ValueCommands, AnEnumerationIsCutToAMessage) {
  ASSERT_TRUE(parameter_at(kName)->enumeration.assign(std::string(32768, 'e')));
  EXPECT_EQ(serve({"9", kName}), (Reply{{std::string(32768, 'e')}, 0}));
  ASSERT_TRUE(parameter_at(kName)->enumeration.assign(std::string(40000, 'e')));
  EXPECT_EQ(serve({"9", kName}), (Reply{{std::string(32768, 'e')}, 0}));
}

// --- The short-name index ---

TEST_F(ValueCommands, AnEmptyShortNameIndexIsTenHeadersAndTheEmptyText) {
  const Texts headers = {"Hash index : 0\n",
                         "Hash index : 1\n",
                         "Hash index : 2\n",
                         "Hash index : 3\n",
                         "Hash index : 4\n",
                         "Hash index : 5\n",
                         "Hash index : 6\n",
                         "Hash index : 7\n",
                         "Hash index : 8\n",
                         "Hash index : 9\n",
                         ""};
  EXPECT_EQ(serve({"22"}), (Reply{headers, 0}));
}

TEST_F(ValueCommands, ShortNamesAreListedInChainOrderWithTheirCurrentValues) {
  const auto insert = [](const char* key, Parameter* param) {
    ASSERT_EQ(CM_HASH_Insert(hashroot_sname, kShortNameBuckets, key, param), CM_OK);
  };
  insert("ab", parameter_at(kName));     // 97 + 98: bucket 5
  insert("ba", parameter_at(kSummary));  // the same, in front
  insert("", parameter_at("InternetGatewayDevice.None"));
  insert("%s", parameter_at(kSummary));  // 37 + 115: bucket 2
  insert("none", nullptr);               // 110 + 111 + 110 + 101: bucket 2, in front
  ASSERT_EQ(serve({"0", kName, "now & then"}), (Reply{{}, 0}));
  EXPECT_EQ(
      serve({"22"}),
      (Reply{{"Hash index : 0\n", "\t  = \n", "Hash index : 1\n", "Hash index : 2\n",
              "\t none = \n", "\t %s = gateway\n", "Hash index : 3\n", "Hash index : 4\n",
              "Hash index : 5\n", "\t ba = gateway\n", "\t ab = now &amp; then\n",
              "Hash index : 6\n", "Hash index : 7\n", "Hash index : 8\n", "Hash index : 9\n", ""},
             0}));
}

TEST_F(ValueCommands, AShortNameLineIsCutToAMessage) {
  ASSERT_EQ(serve({"0", kName, std::string(32768, 'v')}), (Reply{{}, 0}));
  ASSERT_EQ(CM_HASH_Insert(hashroot_sname, kShortNameBuckets, "", parameter_at(kName)), CM_OK);
  const Reply reply = serve({"22"});
  ASSERT_EQ(reply.answers.size(), 12u);
  EXPECT_EQ(reply.answers[1], "\t  = " + std::string(32763, 'v'));
}

TEST_F(ValueCommands, TheDumpReadsNoArgument) {
  EXPECT_EQ(serve_bytes(message("22") + framed(-1, "")).result, 0);
}

}  // namespace
}  // namespace gwconf
