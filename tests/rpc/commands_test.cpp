#include "rpc/commands.h"

#include <array>
#include <bit>
#include <chrono>
#include <filesystem>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "core/paths.h"
#include "rpc/attribute_commands.h"
#include "rpc/configuration_commands.h"
#include "rpc/export.h"
#include "rpc/instance_commands.h"
#include "rpc/notification.h"
#include "rpc/server.h"
#include "rpc/value_commands.h"
#include "tests/rpc/request_fixture.h"
#include "tests/storage/scripted_flash.h"
#include "tests/support/failing_heap.h"
#include "tests/support/sandbox.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using namespace std::string_literals;
using test::Connection;
using test::framed;
using test::message;
using test::messages;
using test::Reply;
using test::serve;
using test::serve_bytes;

TEST(CommandTable, HasTheHandlersUnderTheirNumbers) {
  CM_RPC_PROCESS_FUNCTABLE.fill(CM_RPC_RPOCESS_Commit);
  fill_command_table();
  const std::array<Handler, 34> expected = {
      CM_RPC_RPOCESS_SetParameterValues,               // 0
      CM_RPC_RPOCESS_SetParameterAttributes,           // 1
      CM_RPC_RPOCESS_GetParameterValues,               // 2
      CM_RPC_RPOCESS_GetParameterNames,                // 3
      CM_RPC_RPOCESS_GetParameterAttributes,           // 4
      CM_RPC_RPOCESS_GetParameterDataType,             // 5
      CM_RPC_RPOCESS_GetParameterMaxLen,               // 6
      CM_RPC_RPOCESS_GetParameterMinLen,               // 7
      CM_RPC_RPOCESS_GetParameterURI,                  // 8
      CM_RPC_RPOCESS_GetParameterEnumeration,          // 9
      CM_RPC_RPOCESS_AddInstance,                      // 10
      CM_RPC_RPOCESS_AddVirtualInstance,               // 11
      CM_RPC_RPOCESS_DelInstance,                      // 12
      CM_RPC_RPOCESS_DelNode,                          // 13
      CM_RPC_RPOCESS_InsertInstance,                   // 14
      CM_RPC_RPOCESS_InsertVirtualInstance,            // 15
      CM_RPC_RPOCESS_VirtualInstanceCheck,             // 16
      CM_RPC_RPOCESS_GetInstanceList,                  // 17
      CM_RPC_RPOCESS_InstanceReArrange,                // 18
      CM_RPC_RPOCESS_Commit,                           // 19
      CM_RPC_RPOCESS_Reset2Default,                    // 20
      CM_RPC_RPOCESS_NodeMove,                         // 21
      CM_RPC_RPOCESS_SNameDump,                        // 22
      CM_RPC_RPOCESS_SetParameterValues,               // 23
      CM_RPC_RPOCESS_SetParameterAttributes,           // 24
      CM_RPC_RPOCESS_GetParameterValues,               // 25
      CM_RPC_RPOCESS_GetParameterNames,                // 26
      CM_RPC_RPOCESS_GetParameterAttributes,           // 27
      nullptr,                                         // 28
      CM_RPC_RPOCESS_SaveCfg,                          // 29
      CM_RPC_RPOCESS_Restore,                          // 30
      CM_RPC_RPOCESS_TR069_GetNodeXML,                 // 31
      CM_RPC_RPOCESS_TR069_GetParameterXML,            // 32
      CM_RPC_RPOCESS_TR069_Notification_Registration,  // 33
  };
  EXPECT_EQ(CM_RPC_PROCESS_FUNCTABLE, expected);
}

TEST(CommandTable, TheNumbersOfTheProtocol) {
  const std::array numbers = {
      kSetValue,
      kSetAttribute,
      kGetValue,
      kGetName,
      kGetAttributes,
      kGetType,
      kGetMax,
      kGetMin,
      kGetPath,
      kGetEnumeration,
      kAddInstance,
      kAddVirtualInstance,
      kDeleteInstance,
      kDeleteNode,
      kInsertInstance,
      kInsertVirtualInstance,
      kCheckVirtual,
      kListInstances,
      kRearrange,
      kCommit,
      kReset,
      kMove,
      kDumpShortNames,
      kSetValueAgain,
      kSetAttributeAgain,
      kGetValueAgain,
      kGetNameAgain,
      kGetAttributesAgain,
  };
  for (std::size_t i = 0; i < numbers.size(); ++i)
    EXPECT_EQ(static_cast<std::size_t>(numbers[i]), i);
  EXPECT_EQ(kSaveFile, 29);
  EXPECT_EQ(kRestoreFile, 30);
  EXPECT_EQ(kExportNode, 31);
  EXPECT_EQ(kExportParameter, 32);
  EXPECT_EQ(kRegisterListener, 33);
  EXPECT_EQ(kCommandCount, 34);
}

TEST(CommandTable, TheResultCodes) {
  const std::pair<Status, std::int32_t> codes[] = {
      {CM_OK, 0},
      {CM_UNCHANGED, 1},
      {CM_NOT_FOUND, 2},
      {CM_UNUSABLE, 3},
      {CM_NO_MEMORY, 4},
      {CM_EXISTS, 5},
      {CM_REFUSED, 7},
      {CM_STOP, 8},
      {CM_NOT_READY, 9},
      {CM_UNREADABLE, 10},
      {CM_NO_SERVER, 11},
      {CM_TIMED_OUT, 12},
      {CM_CUT_FAILURE, 156},
      {CM_INVALID, -100},
  };
  for (const auto& [code, number] : codes)
    EXPECT_EQ(std::int32_t{code}, number);
}

TEST(CommandTable, TheGlobalsOfTheInterfaceAreThere) {
  EXPECT_EQ(CM_RPC_CMD, 0u);
  EXPECT_EQ(CM_EventType, 0u);
  EXPECT_EQ(CM_AttrType, 0u);
}

constexpr const char* kTree = R"(
InternetGatewayDevice.
  Summary [1] = gateway
  HostNumberOfEntries = 2
  Host.
    0. [1]
      Name = new
    1. [1]
      Name [1] = first
    3. [9]
      Name [1] = third
  Other.
    1. [9]
      Name = other
  X_VT_MiscCfg.
    DeletedDefaultInstances.
      0. [1]
        URI =
)";

/// The same for what reads the defaults.
const std::string kDefaults =
    "<DATAMODEL><OBJECT name=\"InternetGatewayDevice.\">"
    "<PARAMETER name=\"Summary\" value=\"default\"/></OBJECT></DATAMODEL>";
const std::string kSaved =
    "<DATAMODEL><OBJECT name=\"InternetGatewayDevice.\">"
    "<PARAMETER name=\"Summary\" value=\"restored\"/></OBJECT></DATAMODEL>";

const std::string kSummary = "InternetGatewayDevice.Summary";
const std::string kHost = "InternetGatewayDevice.Host.";

/// A request that succeeds on kTree, one for each command. Files lie in the folder the test runs
/// in: a path that is cut short names nothing outside.
struct Sample {
  std::vector<std::string> texts;
  std::set<std::int32_t> without_memory;  ///< the codes when an allocation fails
  bool reports_every_failure = true;      ///< and none of them is 0
};

void PrintTo(const Sample& sample, std::ostream* out) {
  *out << "command " << sample.texts[0];
}

std::vector<Sample> samples() {
  return {
      {{"0", kSummary, "changed"}, {4}},
      {{"1", kSummary, "7,1"}, {}},
      {{"2", kSummary}, {}},
      {{"3", kSummary}, {}},
      {{"4", kSummary}, {}},
      {{"5", kSummary}, {}},
      {{"6", kSummary}, {}},
      {{"7", kSummary}, {}},
      {{"8", kSummary}, {}},
      {{"9", kSummary}, {}},
      // The counter and the record of deleted instances are kept as far as memory allows.
      {{"10", kHost, "2"}, {4, -100, 0}, false},
      {{"11", kHost, "2"}, {4, -100, 0}, false},
      {{"12", kHost, "1"}, {0}, false},
      {{"13", kHost}, {}},
      {{"14", kHost, "1"}, {4, -100, 0}, false},
      {{"15", kHost, "1"}, {4, -100, 0}, false},
      {{"16", kHost}, {}},
      {{"17", kHost}, {}},
      {{"18", "2", "0", kHost}, {4}},
      // The first of two writes is not looked at, and flash is not reported.
      {{"19"}, {0, 156}, false},
      {{"20"}, {0, -100, 156}, false},
      {{"21", "InternetGatewayDevice.Other.", kHost + "3."}, {0}, false},
      {{"22"}, {}},
      {{"23", kSummary, "changed"}, {4}},
      {{"24", kSummary, "7,1"}, {}},
      {{"25", kSummary}, {}},
      {{"26", kSummary}, {}},
      {{"27", kSummary}, {}},
      {{"29", "saved"}, {-100}},
      // A merge tells nothing.
      {{"30", "restore"}, {4, -100, 156, 0}, false},
      {{"31", kHost}, {-100}},
      {{"32", kSummary}, {-100}},
      {{"33", "1234567", "10", "changes"}, {-100}},
  };
}

class Commands : public test::RequestTest {
 protected:
  void SetUp() override {
    RequestTest::SetUp();
    folder_before_ = std::filesystem::current_path();
    std::filesystem::current_path(sandbox("/tmp"));
    start_anew();
  }
  void TearDown() override {
    std::filesystem::current_path(folder_before_);
    RequestTest::TearDown();
  }

  static void start_anew() {
    load(kTree);
    test::write_file(paths().defaults, kDefaults);
    test::write_file(sandbox("/tmp/restore"), kSaved);
    test::flash() = {};
  }

  static void end() {
    release_tree();
    test::clear_registration();
  }

  /// The next client is served as if nothing had been.
  static void expect_service() {
    start_anew();
    EXPECT_EQ(serve({"2", kSummary}), (Reply{{"gateway"}, 0}));
  }

 private:
  std::filesystem::path folder_before_;
};

TEST_F(Commands, EverySampleSucceedsWithAsManyAnswersAsItsClientExpects) {
  const std::set<std::string> one = {"2",  "3",  "4",  "5",  "6",  "7",  "8", "9",
                                     "16", "17", "25", "26", "27", "31", "32"};
  for (const Sample& sample : samples()) {
    const std::string& number = sample.texts[0];
    start_anew();
    const Reply reply = serve(sample.texts);
    EXPECT_EQ(reply.result, 0) << number;
    EXPECT_EQ(reply.answers.size(), number == "22"         ? 11u
                                    : one.contains(number) ? 1u
                                                           : 0u)
        << number;
    end();
  }
}

TEST_F(Commands, TheSecondNumbersReachTheSameHandlers) {
  for (int number = 0; number <= 4; ++number) {
    Sample sample = samples()[static_cast<std::size_t>(number)];
    for (const bool succeeds : {true, false}) {
      if (!succeeds) sample.texts[1] = "InternetGatewayDevice.Nothing";
      sample.texts[0] = std::to_string(number);
      start_anew();
      const Reply first = serve(sample.texts);
      const std::string first_tree = test::live_outline();
      sample.texts[0] = std::to_string(number + 23);
      start_anew();
      EXPECT_EQ(serve(sample.texts), first) << number;
      EXPECT_EQ(test::live_outline(), first_tree) << number;
    }
  }
}

// --- The command message ---

TEST_F(Commands, NumbersWithoutAHandlerAreRefused) {
  const std::string before = test::live_outline();
  for (const char* number : {"28", "34", "35", "100", "2147483647", "4294967298",
                             "99999999999999999999", "-1", "-2", "-34", "-2147483648", "028"})
    EXPECT_EQ(serve({number, kSummary, "x"}), (Reply{{}, -100})) << number;
  EXPECT_EQ(test::live_outline(), before);
}

TEST_F(Commands, WhatIsNoNumberIsCommandZero) {
  for (const std::string& number :
       {""s, "x"s, "Get"s, "-"s, "+"s, " "s, "0x2"s, "x2"s, "0"s, "-0"s, "00"s, "\xFF"s}) {
    start_anew();
    EXPECT_EQ(serve({number, kSummary, "by command zero"}), (Reply{{}, 0})) << number;
    EXPECT_EQ(test::value_at(kSummary), "by command zero") << number;
  }
}

TEST_F(Commands, ANumberIsReadAsFarAsItGoes) {
  for (const char* number : {"2", "02", "+2", " 2", "\t\n2", "2x", "2.9", "2,5", "2 3"})
    EXPECT_EQ(serve({number, kSummary}), (Reply{{"gateway"}, 0})) << number;
}

TEST_F(Commands, AnUnreadableCommandIsNotAnswered) {
  EXPECT_EQ(serve_bytes(""), (Reply{{}, 10}));
  for (const std::int32_t length : {0, -1, -2147483647, 32770, 65536, 2147483647})
    EXPECT_EQ(serve_bytes(framed(length, "2\0"s) + message(kSummary)), (Reply{{}, 10})) << length;
}

TEST_F(Commands, TheLongestCommandMessageIsTaken) {
  EXPECT_EQ(serve_bytes(framed(32769, "2" + std::string(32767, ' ') + '\0') + message(kSummary)),
            (Reply{{"gateway"}, 0}));
  EXPECT_EQ(serve_bytes(framed(32770, "2" + std::string(32768, ' ') + '\0') + message(kSummary)),
            (Reply{{}, 10}));
  // Without its NUL it ends with the buffer.
  EXPECT_EQ(serve_bytes(framed(32769, std::string(32769, '2'))), (Reply{{}, -100}));
}

TEST_F(Commands, ACommandWithoutNulEndsInTheCleanBuffer) {
  EXPECT_EQ(serve_bytes(framed(1, "2") + message(kSummary)), (Reply{{"gateway"}, 0}));
}

TEST_F(Commands, MessagesBeyondTheLastAreNotRead) {
  EXPECT_EQ(serve({"2", kSummary, "more", "and more"}), (Reply{{"gateway"}, 0}));
}

// --- Clients that stop anywhere ---

/// Where the last message of a request begins.
std::size_t last_message_of(const std::vector<std::string>& texts) {
  return messages(texts).size() - message(texts.back()).size();
}

class EveryCommand : public Commands, public ::testing::WithParamInterface<Sample> {};

TEST_P(EveryCommand, CutAfterAnyByteDoesNothingOrWhatItsMessagesSay) {
  const std::vector<std::string>& texts = GetParam().texts;
  const std::string whole = messages(texts);
  // The changes that a handler may make before its last message has begun: none. A registration
  // stays partial, but lies outside the tree.
  for (std::size_t k = 0; k < whole.size(); ++k) {
    for (const bool vanishes : {false, true}) {
      SCOPED_TRACE(std::to_string(k) + (vanishes ? " bytes, then gone" : " bytes"));
      start_anew();
      const std::string before = test::live_outline();
      Connection connection;
      connection.send(std::string_view{whole}.substr(0, k));
      if (vanishes)
        connection.vanish();
      else
        connection.finish();
      const Reply reply = connection.serve();
      EXPECT_TRUE(std::set<std::int32_t>({0, 1, 2, 5, 7, 10, 156, -100}).contains(reply.result))
          << reply;
      if (k <= last_message_of(texts)) {
        EXPECT_NE(reply.result, 0);
        EXPECT_EQ(test::live_outline(), before);
        if (k < 4) {
          EXPECT_EQ(reply, (Reply{{}, 10}));
        }
      }
      end();
    }
  }
  expect_service();
}

TEST_P(EveryCommand, OutOfMemoryIsReportedAsDocumentedAndServiceGoesOn) {
  const Sample& sample = GetParam();
  end();
  Reply reply;
  std::set<std::int32_t> results;
  const std::size_t failures = test::sweep_allocations([] { start_anew(); },
                                                       [&] {
                                                         reply = serve(sample.texts);
                                                         end();
                                                       },
                                                       [&] {
                                                         results.insert(reply.result);
                                                         expect_service();
                                                         end();
                                                       });
  for (const std::int32_t result : results)
    EXPECT_TRUE(sample.without_memory.contains(result)) << result;
  EXPECT_EQ(failures == 0, sample.without_memory.empty()) << failures << " failing runs";
  if (sample.reports_every_failure) {
    EXPECT_FALSE(results.contains(0));
  }
}

TEST_P(EveryCommand, ArgumentsOfAnyKindAreSurvived) {
  const std::vector<std::string>& texts = GetParam().texts;
  const std::vector<std::string> bodies = {
      message(""),
      message("x"),
      message("."),
      message(".."),
      message("-1"),
      message("0"),
      message("-2147483649"),
      message("99999999999"),
      message("%s%n%d"),
      message("\xFF\xFE"),
      message("InternetGatewayDevice"),
      message("InternetGatewayDevice."),
      message("InternetGatewayDevice.Host"),
      message("InternetGatewayDevice.Host.0."),
      message("InternetGatewayDevice.Host.00."),
      message("InternetGatewayDevice.Host.-1."),
      message(std::string(32768, 'x')),
      message(std::string(32767, 'x') + '.'),
      message(std::string(32768, '.')),
      message(std::string(32768, '1')),
      framed(1, "x"),
      framed(5, "12345"),
      framed(6, "123456"),
      framed(7, "1234567"),
      framed(32769, std::string(32769, 'x')),
      framed(32769, std::string(32769, '.')),
      framed(100, "cut"),
      framed(0, ""),
      framed(-1, "x"),
      framed(-2147483647, "x"),
      framed(32770, "x"),
      framed(2147483647, "x"),
      "\x02"s,
      "\x02\0\0"s,
  };
  for (std::size_t place = 1; place < texts.size(); ++place) {
    for (std::size_t kind = 0; kind < bodies.size(); ++kind) {
      SCOPED_TRACE("argument " + std::to_string(place) + " of kind " + std::to_string(kind));
      start_anew();
      std::string bytes;
      for (std::size_t i = 0; i < texts.size(); ++i)
        bytes += i == place ? bodies[kind] : message(texts[i]);
      const Reply reply = serve_bytes(bytes);
      EXPECT_TRUE(std::set<std::int32_t>({0, 1, 2, 5, 7, 10, -100}).contains(reply.result))
          << reply;
      end();
    }
  }
  expect_service();
}

INSTANTIATE_TEST_SUITE_P(Commands, EveryCommand, ::testing::ValuesIn(samples()),
                         [](const auto& test) { return "Command" + test.param.texts[0]; });

struct Cut {
  std::size_t bytes;
  std::int32_t result;
  std::string value;
};

TEST_F(Commands, ASetCutAfterEachByte) {
  const std::string whole = messages({"0", "A.B", "new"});
  // 0 to 5 command, 6 to 13 path, 14 to 21 value. A value is taken as far as its body came, on top
  // of the path in the buffer.
  std::vector<Cut> cuts = {
      {0, 10, "old"},  {1, 10, "old"},  {2, 10, "old"},    {3, 10, "old"},  {4, 10, "old"},
      {5, 10, "old"},  {6, 10, "old"},  {7, 10, "old"},    {8, 10, "old"},  {9, 10, "old"},
      {10, 2, "old"},  {11, 2, "old"},  {12, -100, "old"}, {13, 10, "old"}, {14, 10, "old"},
      {15, 10, "old"}, {16, 10, "old"}, {17, 10, "old"},   {18, 0, "A.B"},  {19, 0, "n.B"},
      {20, 0, "neB"},  {21, 0, "new"},  {22, 0, "new"},
  };
  // Where the lowest byte of a length comes first, the part that came is a length by itself.
  if (std::endian::native == std::endian::little) {
    for (const std::size_t k : {7U, 8U, 9U})
      cuts[k] = {k, 2, "old"};
    for (const std::size_t k : {15U, 16U, 17U})
      cuts[k] = {k, 0, "A.B"};
  }
  ASSERT_EQ(cuts.size(), whole.size() + 1);
  for (const Cut& cut : cuts) {
    load("A.\n  B = old\n");
    EXPECT_EQ(serve_bytes(std::string_view{whole}.substr(0, cut.bytes)), (Reply{{}, cut.result}))
        << cut.bytes;
    EXPECT_EQ(test::value_at("A.B"), cut.value) << cut.bytes;
  }
}

// --- Clients that stay silent: what really waits, side by side ---

TEST_F(Commands, AMessageThatDoesNotComeCountsAsReadAfterFiveSeconds) {
  const auto silent_after = [](const std::vector<std::string>& texts,
                               const std::vector<std::string>& late = {}) {
    return [texts, late] {
      const Connection connection;
      connection.send(messages(texts));
      std::thread client{[&] {
        if (late.empty()) return;
        std::this_thread::sleep_for(std::chrono::seconds{7});
        connection.send(messages(late));
      }};
      const Status result = CM_RPC_RPOCESS(connection.server());
      client.join();
      std::string text =
          std::to_string(result) + " " + test::value_at(kSummary) + " " + test::children_of(kHost);
      if (notify_reg)
        text += " " + std::to_string(notify_reg->process) + " " +
                std::to_string(notify_reg->signal) + " " + notify_reg->file.c_str();
      return text;
    };
  };
  // No command is command 0, whose path does not come either: ten seconds.
  test::Detached nothing{silent_after({})};
  // The buffer stays as it was: the value is the path,
  test::Detached value{silent_after({"0", kSummary})};
  // the instance number, with a buffer of its own, is none,
  test::Detached number{silent_after({"10", kHost})};
  // and the signal is the process id, as is the name of the file.
  test::Detached signal{silent_after({"33", "77"})};
  // The process id is not the number of the command.
  test::Detached process{silent_after({"33"}, {"10", "changes"})};
  EXPECT_EQ(nothing.text(), "2 gateway 0. 1. 3.");
  EXPECT_EQ(value.text(), "0 InternetGatewayDevice.Summary 0. 1. 3.");
  EXPECT_EQ(number.text(), "-100 gateway 0. 1. 3.");
  EXPECT_EQ(signal.text(), "0 gateway 0. 1. 3. 77 77 77");
  EXPECT_EQ(process.text(), "-100 gateway 0. 1. 3. 0 10 changes");
}

}  // namespace
}  // namespace gwconf
