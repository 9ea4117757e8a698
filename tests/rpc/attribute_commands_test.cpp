#include "rpc/attribute_commands.h"

#include <csignal>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "core/path.h"
#include "rpc/notification.h"
#include "tests/rpc/request_fixture.h"
#include "tests/support/failing_heap.h"
#include "tests/support/sandbox.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using namespace std::string_literals;
using test::framed;
using test::messages;
using test::object_at;
using test::parameter_at;
using test::read_file;
using test::Reply;
using test::serve;
using test::serve_bytes;
using test::write_file;

constexpr const char* kTree = R"(
InternetGatewayDevice.
  Summary [129] = gateway
  Other = x
  Host.
    1. [1]
      Name [65] = printer
)";

const std::string kSummary = "InternetGatewayDevice.Summary";
const std::string kOther = "InternetGatewayDevice.Other";
const std::string kHost = "InternetGatewayDevice.Host.1.";

class AttributeCommands : public test::RequestTest {
 protected:
  void SetUp() override {
    RequestTest::SetUp();
    load(kTree);
  }
};

// --- Reading ---

TEST_F(AttributeCommands, TheWholeWordIsAnsweredInDecimal) {
  for (const std::string& command : {"4"s, "27"s}) {
    EXPECT_EQ(serve({command, kSummary}), (Reply{{"129"}, 0}));  // writable and active
    EXPECT_EQ(serve({command, kOther}), (Reply{{"0"}, 0}));
    EXPECT_EQ(serve({command, kHost}), (Reply{{"1"}, 0}));
  }
  parameter_at(kOther)->attributes = 65535;
  EXPECT_EQ(serve({"4", kOther}), (Reply{{"65535"}, 0}));
}

TEST_F(AttributeCommands, AFailedLookupAnswersTheEmptyTextBeforeItsCode) {
  for (const std::string& command : {"4"s, "27"s}) {
    EXPECT_EQ(serve({command, "InternetGatewayDevice.Nothing"}), (Reply{{""}, 2}));
    EXPECT_EQ(serve({command, "InternetGatewayDevice.Nothing."}), (Reply{{""}, 2}));
    EXPECT_EQ(serve({command, ""}), (Reply{{""}, 2}));
    EXPECT_EQ(serve({command, std::string(32767, 'x') + "."}), (Reply{{""}, 2}));
  }
  release_tree();
  EXPECT_EQ(serve({"4", kSummary}), (Reply{{""}, 2}));
}

TEST_F(AttributeCommands, AnUnreadablePathOfAReadIsNotAnswered) {
  EXPECT_EQ(serve({"4"}), (Reply{{}, 10}));
  EXPECT_EQ(serve_bytes(test::message("4") + framed(32770, kSummary)), (Reply{{}, 10}));
}

// --- Setting ---

TEST_F(AttributeCommands, EveryBitIsSetAndClearedAlone) {
  for (const std::string& command : {"1"s, "24"s}) {
    for (unsigned bit = 0; bit < 16; ++bit) {
      SCOPED_TRACE(command + " bit " + std::to_string(bit));
      const auto mask = static_cast<std::uint16_t>(1U << bit);
      const std::string set = std::to_string(bit) + ",1";
      const std::string clear = std::to_string(bit) + ",0";
      parameter_at(kOther)->attributes = 0;
      EXPECT_EQ(serve({command, kOther, set}), (Reply{{}, 0}));
      EXPECT_EQ(parameter_at(kOther)->attributes, mask);
      object_at(kHost)->attributes = 65535;
      EXPECT_EQ(serve({command, kHost, clear}), (Reply{{}, 0}));
      EXPECT_EQ(object_at(kHost)->attributes, static_cast<std::uint16_t>(~mask));
    }
  }
}

TEST_F(AttributeCommands, OnlyTheNamedRecordChanges) {
  EXPECT_EQ(serve({"1", "InternetGatewayDevice.Host.1.Name", "7,1"}), (Reply{{}, 0}));
  EXPECT_EQ(test::live_outline(),
            "InternetGatewayDevice.\n"
            "  Summary [129] = gateway\n"
            "  Other = x\n"
            "  Host.\n"
            "    1. [1]\n"
            "      Name [193] = printer\n");  // passive and active now
}

TEST_F(AttributeCommands, FromPassiveToActiveTakesTwoRequests) {
  const std::string name = "InternetGatewayDevice.Host.1.Name";
  EXPECT_EQ(serve({"1", name, "6,0"}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"1", name, "7,1"}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"4", name}), (Reply{{"129"}, 0}));
}

struct Change {
  const char* text;
  std::uint16_t from;
  std::uint16_t to;
};

TEST_F(AttributeCommands, ChangesAreScannedAsFarAsTheyGo) {
  const Change changes[] = {
      // What does not scan is bit 0 with value 0.
      {"", 65535, 65534},
      {"x", 65535, 65534},
      {",1", 65535, 65534},
      {"-", 65535, 65534},
      {"1", 65535, 65533},
      {"1,", 65535, 65533},
      {"1,x", 65535, 65533},
      {"1 ,1", 0, 0},
      {"1 ,1", 65535, 65533},
      {"1;1", 65535, 65533},
      {"1.1", 65535, 65533},
      // Only the value 1 sets.
      {"3,2", 65535, 65527},
      {"3,-1", 65535, 65527},
      {"3,10", 65535, 65527},
      {"3,4294967297", 65535, 65527},
      // Blanks and signs before a number, zeros in front, anything behind.
      {" 3,1", 0, 8},
      {"+3,+1", 0, 8},
      {"3, 1", 0, 8},
      {"3,\t\n1", 0, 8},
      {"003,001", 0, 8},
      {"3,1,0", 0, 8},
      {"3,1 rest", 0, 8},
      {"-0,1", 0, 1},
      // Bits that the word does not have.
      {"16,1", 0, 0},
      {"16,0", 65535, 65535},
      {"31,1", 0, 0},
      {"32,1", 0, 0},
      {"-1,1", 0, 0},
      {"-1,0", 65535, 65535},
      {"2147483647,1", 0, 0},
      {"-2147483648,0", 65535, 65535},
      {"99999999999999999999,1", 0, 0},
      {"4294967296,1", 0, 0},
  };
  for (const Change& change : changes) {
    SCOPED_TRACE(change.text);
    parameter_at(kOther)->attributes = change.from;
    EXPECT_EQ(serve({"1", kOther, change.text}), (Reply{{}, 0}));
    EXPECT_EQ(parameter_at(kOther)->attributes, change.to);
    object_at(kHost)->attributes = change.from;
    EXPECT_EQ(serve({"24", kHost, change.text}), (Reply{{}, 0}));
    EXPECT_EQ(object_at(kHost)->attributes, change.to);
  }
}

TEST_F(AttributeCommands, AChangeThatDoesNotScanMakesReadOnly) {
  EXPECT_EQ(serve({"1", kHost, ""}), (Reply{{}, 0}));
  EXPECT_EQ(object_at(kHost)->attributes, 0);
  EXPECT_EQ(serve({"1", kSummary, "bogus"}), (Reply{{}, 0}));
  EXPECT_EQ(parameter_at(kSummary)->attributes, 128);
}

TEST_F(AttributeCommands, AFailedLookupDoesNotReadTheChange) {
  const test::Connection connection;
  connection.send(messages({"1", "InternetGatewayDevice.Nothing", "7,1"}));
  connection.finish();
  EXPECT_EQ(connection.serve(), (Reply{{}, 2}));
  EXPECT_EQ(connection.unread(), test::message("7,1"));
}

TEST_F(AttributeCommands, WhatCannotBeReadOrFoundChangesNothing) {
  const std::string before = test::live_outline();
  for (const std::string& command : {"1"s, "24"s}) {
    EXPECT_EQ(serve({command}), (Reply{{}, 10}));
    EXPECT_EQ(serve({command, kSummary}), (Reply{{}, 10}));
    EXPECT_EQ(serve_bytes(messages({command, kSummary}) + framed(0, "")), (Reply{{}, 10}));
    EXPECT_EQ(serve_bytes(messages({command, kSummary}) + framed(-5, "7,1\0"s)), (Reply{{}, 10}));
    EXPECT_EQ(serve_bytes(messages({command, kSummary}) + framed(32770, "")), (Reply{{}, 10}));
    EXPECT_EQ(serve({command, "", "7,1"}), (Reply{{}, 2}));
    EXPECT_EQ(serve({command, "InternetGatewayDevice.Nothing.", "7,1"}), (Reply{{}, 2}));
    EXPECT_EQ(serve({command, "InternetGatewayDevice.Host.2.Name", "7,1"}), (Reply{{}, 2}));
  }
  EXPECT_EQ(test::live_outline(), before);
}

TEST_F(AttributeCommands, AChangeWithoutNulEndsWhereTheBufferSays) {
  // The rest of the path behind it does not scan.
  EXPECT_EQ(serve_bytes(messages({"1", kOther}) + framed(3, "7,1")), (Reply{{}, 0}));
  EXPECT_EQ(parameter_at(kOther)->attributes, 128);
  EXPECT_EQ(serve_bytes(messages({"1", kOther}) + framed(32769, std::string(32769, '1'))),
            (Reply{{}, 0}));
  EXPECT_EQ(parameter_at(kOther)->attributes, 128);
}

// --- Registration ---

class RegistrationCommand : public AttributeCommands {
 protected:
  const std::string own_pid = std::to_string(getpid());
  const std::string file = sandbox("/tmp/changes");
};

TEST_F(RegistrationCommand, AListenerIsRegisteredAndItsFileEmptied) {
  write_file(file, "old lines\n");
  EXPECT_EQ(serve({"33", own_pid, "23", file}), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), "");
  ASSERT_NE(notify_reg, nullptr);
  EXPECT_EQ(notify_reg->process, getpid());
  EXPECT_EQ(notify_reg->signal, 23);
  EXPECT_EQ(notify_reg->file.view(), file);
}

TEST_F(RegistrationCommand, AMissingFileIsCreated) {
  EXPECT_EQ(serve({"33", own_pid, "23", file}), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), "");
}

TEST_F(RegistrationCommand, ANewListenerReplacesTheOldOne) {
  write_file(file, "");
  ASSERT_EQ(serve({"33", own_pid, "23", file}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"33", "1234567", "10", file + "2"}), (Reply{{}, 0}));
  EXPECT_EQ(notify_reg->process, 1234567);
  EXPECT_EQ(notify_reg->signal, 10);
  EXPECT_EQ(notify_reg->file.view(), file + "2");
}

struct Refusal {
  const char* process;
  const char* signal;
};

TEST_F(RegistrationCommand, WithoutProcessOrSignalItIsRefusedButTheFileIsEmptied) {
  const Refusal refusals[] = {{"0", "23"}, {"", "23"},  {"abc", "23"}, {"77", "0"},
                              {"77", ""},  {"77", "x"}, {"0", "0"},    {"-5", "23"}};
  for (const Refusal& refusal : refusals) {
    SCOPED_TRACE(refusal.process + " "s + refusal.signal);
    write_file(file, "old lines\n");
    EXPECT_EQ(serve({"33", refusal.process, refusal.signal, file}), (Reply{{}, -100}));
    EXPECT_EQ(read_file(file), "");
    // What there is of it stays, and tells nobody anything.
    EXPECT_EQ(notify_reg->file.view(), file);
    ASSERT_EQ(serve({"0", kOther, refusal.process + "/"s + refusal.signal}), (Reply{{}, 0}));
    EXPECT_EQ(read_file(file), "");
  }
}

TEST_F(RegistrationCommand, CutShortItStaysPartialAndTellsNobody) {
  for (const std::vector<std::string>& request :
       {std::vector<std::string>{"33"}, {"33", own_pid}, {"33", own_pid, "23"}}) {
    SCOPED_TRACE(request.size());
    ASSERT_EQ(serve({"33", own_pid, "23", file}), (Reply{{}, 0}));
    EXPECT_EQ(serve(request), (Reply{{}, 10}));
    ASSERT_NE(notify_reg, nullptr);
    EXPECT_EQ(notify_reg->process, request.size() > 1 ? getpid() : 0);
    EXPECT_EQ(notify_reg->signal, request.size() > 2 ? 23 : 0);
    EXPECT_FALSE(notify_reg->file);
    ASSERT_EQ(serve({"0", kOther, std::to_string(request.size())}), (Reply{{}, 0}));
    EXPECT_EQ(read_file(file), "");
  }
}

TEST_F(RegistrationCommand, AFileThatCannotBeOpenedIsRefusedButTheRegistrationStays) {
  const std::string missing = sandbox("/tmp/missing/changes");
  EXPECT_EQ(serve({"33", own_pid, "23", missing}), (Reply{{}, -100}));
  EXPECT_EQ(notify_reg->process, getpid());
  EXPECT_EQ(notify_reg->signal, 23);
  EXPECT_EQ(notify_reg->file.view(), missing);
  EXPECT_EQ(serve({"33", own_pid, "23", ""}), (Reply{{}, -100}));
  EXPECT_EQ(serve({"33", own_pid, "23", sandbox("/tmp")}), (Reply{{}, -100}));
}

TEST_F(RegistrationCommand, NumbersAreReadAsFarAsTheyGo) {
  EXPECT_EQ(serve({"33", " 12x", "+034", file}), (Reply{{}, 0}));
  EXPECT_EQ(notify_reg->process, 12);
  EXPECT_EQ(notify_reg->signal, 34);
}

TEST_F(RegistrationCommand, OutOfMemoryIsRefusedAndLeavesNoListener) {
  Reply reply;
  bool listens = true;
  const std::size_t failures = test::sweep_allocations([] {},
                                                       [&] {
                                                         reply = serve({"33", own_pid, "23", file});
                                                         listens = notify_reg && notify_reg->file;
                                                         test::clear_registration();
                                                       },
                                                       [&] {
                                                         EXPECT_EQ(reply, (Reply{{}, -100}));
                                                         EXPECT_FALSE(listens);
                                                       });
  EXPECT_EQ(failures, 4u);  // the record and the path, each alone and with all that follow
  EXPECT_EQ(serve({"33", own_pid, "23", file}), (Reply{{}, 0}));
}

}  // namespace
}  // namespace gwconf
