#include "rpc/instance_commands.h"

#include <string>
#include <syslog.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "tests/rpc/request_fixture.h"
#include "tests/rpc/system_log.h"
#include "tests/support/failing_heap.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using namespace std::string_literals;
using test::children_of;
using test::framed;
using test::LogLine;
using test::messages;
using test::object_at;
using test::Reply;
using test::serve;
using test::serve_bytes;
using test::system_log;
using test::value_at;

constexpr const char* kTree = R"(
InternetGatewayDevice.
  HostNumberOfEntries = 3
  Host.
    0. [1]
      Name [1] = new
    1. [1]
      Name [1] = first
    2. [1]
      Name [1] = second
    5. [1]
      Name [1] = fifth
  Empty.
  Bridge.
    0. [1]
      PortNumberOfEntries = 0
      Port.
        0. [1]
          Name = new
    1. [1]
      PortNumberOfEntries = 2
      Port.
        3. [9]
          Name = three
        4. [9]
          Name = four
    2. [1]
      PortNumberOfEntries = 1
      Port.
        1. [9]
          Name = one
  Plain.
    Name = plain
)";

const std::string kHost = "InternetGatewayDevice.Host.";
const std::string kCounter = "InternetGatewayDevice.HostNumberOfEntries";
const std::string kPorts1 = "InternetGatewayDevice.Bridge.1.Port.";
const std::string kPorts2 = "InternetGatewayDevice.Bridge.2.Port.";

class InstanceCommands : public test::RequestTest {
 protected:
  void SetUp() override {
    RequestTest::SetUp();
    load(kTree);
  }
};

// --- Add and insert ---

TEST_F(InstanceCommands, AddingIsLoggedOnce) {
  EXPECT_EQ(serve({"10", kHost, "3"}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1. 2. 3. 5.");
  EXPECT_EQ(object_at(kHost + "3.")->attributes, 9);  // real and user-set
  EXPECT_EQ(value_at(kHost + "3.Name"), "new");
  EXPECT_EQ(value_at(kCounter), "4");
  const std::vector<LogLine> lines = {{4, "Add object InternetGatewayDevice.Host. instance 3"}};
  EXPECT_EQ(system_log().lines, lines);
  const std::string before = test::live_outline();
  EXPECT_EQ(serve({"10", kHost, "3"}), (Reply{{}, 5}));
  EXPECT_EQ(test::live_outline(), before);
  EXPECT_EQ(system_log().lines, lines);
}

TEST_F(InstanceCommands, AVirtualInstanceIsNotWritable) {
  EXPECT_EQ(serve({"11", kHost, "3"}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1. 2. 3. 5.");
  EXPECT_EQ(object_at(kHost + "3.")->attributes, 8);
  EXPECT_EQ(system_log().lines,
            (std::vector<LogLine>{{4, "Add object InternetGatewayDevice.Host. instance 3"}}));
  EXPECT_EQ(serve({"11", kHost, "3"}), (Reply{{}, 5}));
}

TEST_F(InstanceCommands, InsertingRenumbersAndIsNotLogged) {
  EXPECT_EQ(serve({"14", kHost, "1"}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1. 2. 3. 5.");
  EXPECT_EQ(object_at(kHost + "1.")->attributes, 9);
  EXPECT_EQ(value_at(kHost + "1.Name"), "new");
  EXPECT_EQ(value_at(kHost + "2.Name"), "first");
  EXPECT_EQ(value_at(kHost + "3.Name"), "second");
  EXPECT_EQ(value_at(kCounter), "4");
  EXPECT_TRUE(system_log().lines.empty());
}

TEST_F(InstanceCommands, InsertingAVirtualInstance) {
  EXPECT_EQ(serve({"15", kHost, "5"}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1. 2. 5. 6.");
  EXPECT_EQ(object_at(kHost + "5.")->attributes, 8);
  EXPECT_EQ(value_at(kHost + "6.Name"), "fifth");
  EXPECT_TRUE(system_log().lines.empty());
}

TEST_F(InstanceCommands, InsertingIntoATableOutOfOrderIsRefused) {
  load("A.\n  T.\n    0.\n    1. [1]\n    2. [1]\n    2. [1]\n");
  EXPECT_EQ(serve({"14", "A.T.", "1"}), (Reply{{}, 7}));
  EXPECT_EQ(serve({"15", "A.T.", "3"}), (Reply{{}, 7}));
}

TEST_F(InstanceCommands, AnInsertionThatFailsLeavesWhatItRenumbered) {
  load("A.\n  T.\n    1. [1]\n    2. [1]\n    4. [1]\n");
  EXPECT_EQ(serve({"14", "A.T.", "1"}), (Reply{{}, 2}));  // no template
  EXPECT_EQ(children_of("A.T."), "2. 3. 4.");
}

TEST_F(InstanceCommands, LeadingZerosAddTheInstanceButNotItsState) {
  object_at(kHost + "0.")->attributes = 0;  // what a new instance starts with
  EXPECT_EQ(serve({"10", kHost, "007"}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1. 2. 5. 7.");
  EXPECT_EQ(object_at(kHost + "7.")->attributes, 8);
  object_at(kHost + "0.")->attributes = 1;
  EXPECT_EQ(serve({"11", kHost, "008"}), (Reply{{}, 0}));
  EXPECT_EQ(object_at(kHost + "8.")->attributes, 9);
  EXPECT_EQ(serve({"15", kHost, "+3"}), (Reply{{}, 0}));
  EXPECT_EQ(object_at(kHost + "3.")->attributes, 9);
  EXPECT_EQ(system_log().lines,
            (std::vector<LogLine>{{4, "Add object InternetGatewayDevice.Host. instance 7"},
                                  {4, "Add object InternetGatewayDevice.Host. instance 8"}}));
}

TEST_F(InstanceCommands, TheLogHasThePathAsReceivedAtThePriorityInForce) {
  cm_log_priority = LOG_INFO;
  const std::string roundabout = "InternetGatewayDevice.InternetGatewayDevice.Host.";
  EXPECT_EQ(serve({"10", roundabout, "3"}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"12", roundabout, "3x"}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"13", roundabout}), (Reply{{}, 0}));
  EXPECT_EQ(system_log().lines,
            (std::vector<LogLine>{
                {6, "Add object InternetGatewayDevice.InternetGatewayDevice.Host. instance 3"},
                {6, "Delete object InternetGatewayDevice.InternetGatewayDevice.Host. instance 3"},
                {6, "Delete object InternetGatewayDevice.InternetGatewayDevice.Host."}}));
}

TEST_F(InstanceCommands, PercentSignsInALoggedPathAreText) {
  load("A.\n  T%s%n.\n    0.\n");
  EXPECT_EQ(serve({"10", "A.T%s%n.", "1"}), (Reply{{}, 0}));
  EXPECT_EQ(system_log().lines, (std::vector<LogLine>{{4, "Add object A.T%s%n. instance 1"}}));
}

const std::vector<std::string> kCreations = {"10", "11", "14", "15"};
const std::vector<std::string> kNumbered = {"10", "11", "12", "14", "15"};

struct Refusal {
  std::string table;
  std::string number;
  std::int32_t code;
};

TEST_F(InstanceCommands, RefusedCreationsChangeNothing) {
  const std::string before = test::live_outline();
  const Refusal refusals[] = {
      {"InternetGatewayDevice.Nothing.", "3", 2},
      {"InternetGatewayDevice.Empty.", "3", 2},  // no template
      {"InternetGatewayDevice.Plain.", "3", 2},
      {"InternetGatewayDevice.Host.1.Name", "3", -100},
      {"", "3", -100},
      {std::string(32767, 'x') + ".", "3", 2},
      {kHost, "0", -100},
      {kHost, "", -100},
      {kHost, "-1", -100},
      {kHost, "abc", -100},
      {kHost, " -7", -100},
      {kHost, "123456", -100},  // seven bytes
      {kHost, "1000000000", -100},
      {kHost, std::string(32768, '1'), -100},
  };
  for (const std::string& command : kCreations)
    for (const Refusal& refusal : refusals)
      EXPECT_EQ(serve({command, refusal.table, refusal.number}), (Reply{{}, refusal.code}))
          << command << " " << refusal.table.substr(0, 50) << " " << refusal.number.substr(0, 20);
  EXPECT_EQ(test::live_outline(), before);
  EXPECT_TRUE(system_log().lines.empty());
}

TEST_F(InstanceCommands, FiveCharactersAreTheLongestNumber) {
  EXPECT_EQ(serve({"10", kHost, "99999"}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1. 2. 5. 99999.");
  EXPECT_EQ(serve({"12", kHost, "99999"}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1. 2. 5.");
}

TEST_F(InstanceCommands, ANumberWithoutNulEndsInItsBuffer) {
  // Six digits without a NUL fill the buffer: its last byte is the NUL's.
  EXPECT_EQ(serve_bytes(messages({"10", kHost}) + framed(6, "123456")), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1. 2. 5. 12345.");
  EXPECT_EQ(serve_bytes(messages({"10", kHost}) + framed(1, "7")), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1. 2. 5. 7. 12345.");
  EXPECT_EQ(object_at(kHost + "7.")->attributes, 9);
}

TEST_F(InstanceCommands, AnOverlongNumberIsReadOffBeforeItIsRefused) {
  const test::Connection connection;
  connection.send(messages({"12", kHost, "0000001"}) + "rest");
  connection.finish();
  EXPECT_EQ(connection.serve(), (Reply{{}, -100}));
  EXPECT_EQ(connection.unread(), "rest");
  EXPECT_EQ(children_of(kHost), "0. 1. 2. 5.");
}

TEST_F(InstanceCommands, UnreadableArgumentsChangeNothing) {
  const std::string before = test::live_outline();
  for (const std::string& command : kNumbered) {
    EXPECT_EQ(serve({command}), (Reply{{}, 10})) << command;
    EXPECT_EQ(serve({command, kHost}), (Reply{{}, 10})) << command;
    for (const std::int32_t length : {0, -1, 32770}) {
      EXPECT_EQ(serve_bytes(test::message(command) + framed(length, kHost)), (Reply{{}, 10}))
          << command << " " << length;
      EXPECT_EQ(serve_bytes(messages({command, kHost}) + framed(length, "2\0"s)), (Reply{{}, 10}))
          << command << " " << length;
    }
  }
  for (const std::string& command : {"13"s, "16"s, "17"s, "18"s, "21"s})
    EXPECT_EQ(serve({command}), (Reply{{}, 10})) << command;
  EXPECT_EQ(test::live_outline(), before);
  EXPECT_TRUE(system_log().lines.empty());
}

TEST_F(InstanceCommands, ADisabledInstanceDoesNotHinderItsNumber) {
  object_at(kHost + "2.")->attributes = 2;
  EXPECT_EQ(serve({"10", kHost, "2"}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1. 2. 2. 5.");
  // The path names the disabled one, whose state stays.
  EXPECT_EQ(object_at(kHost + "2.")->attributes, 2);
  EXPECT_EQ(object_at(kHost + "2.")->next->attributes, 9);
}

TEST_F(InstanceCommands, OutOfMemoryAddsNothing) {
  for (const std::string& command : kCreations) {
    Reply reply;
    std::string after;
    load(kTree);
    const std::string before = test::live_outline();
    release_tree();
    const std::size_t failures =
        test::sweep_allocations([] { load(kTree); },
                                [&] {
                                  reply = serve({command, kHost, "3"});
                                  after = test::live_outline();
                                  release_tree();
                                },
                                [&] {
                                  // The copy of the name and the counter are the exceptions to the
                                  // usual code.
                                  EXPECT_TRUE(reply == (Reply{{}, 4}) ||
                                              reply == (Reply{{}, -100}) || reply == (Reply{{}, 0}))
                                      << reply;
                                  if (reply.result != 0) {
                                    EXPECT_EQ(after, before);
                                  }
                                });
    EXPECT_GE(failures, 8u) << command;
  }
}

// --- Delete ---

TEST_F(InstanceCommands, DeletingIsLogged) {
  EXPECT_EQ(serve({"12", kHost, "2"}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1. 5.");
  EXPECT_EQ(value_at(kCounter), "2");
  EXPECT_EQ(serve({"12", kHost, "05"}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1.");
  EXPECT_EQ(system_log().lines,
            (std::vector<LogLine>{{4, "Delete object InternetGatewayDevice.Host. instance 2"},
                                  {4, "Delete object InternetGatewayDevice.Host. instance 5"}}));
}

TEST_F(InstanceCommands, RefusedDeletionsChangeNothing) {
  const std::string before = test::live_outline();
  EXPECT_EQ(serve({"12", kHost, "3"}), (Reply{{}, 2}));
  EXPECT_EQ(serve({"12", kHost, "0"}), (Reply{{}, -100}));
  EXPECT_EQ(serve({"12", kHost, "-1"}), (Reply{{}, -100}));
  EXPECT_EQ(serve({"12", kHost, ""}), (Reply{{}, -100}));
  EXPECT_EQ(serve({"12", kHost, "000002"}), (Reply{{}, -100}));
  EXPECT_EQ(serve({"12", "InternetGatewayDevice.Host", "2"}), (Reply{{}, -100}));
  EXPECT_EQ(serve({"12", "InternetGatewayDevice.Nothing.", "2"}), (Reply{{}, 2}));
  EXPECT_EQ(serve({"12", "", "2"}), (Reply{{}, -100}));
  EXPECT_EQ(test::live_outline(), before);
  EXPECT_TRUE(system_log().lines.empty());
}

TEST_F(InstanceCommands, DeletingAnObjectIsLogged) {
  EXPECT_EQ(serve({"13", "InternetGatewayDevice.Plain."}), (Reply{{}, 0}));
  EXPECT_EQ(children_of("InternetGatewayDevice."), "Host. Empty. Bridge.");
  EXPECT_EQ(serve({"13", kHost + "2."}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1. 5.");
  EXPECT_EQ(value_at(kCounter), "3");  // not counted
  EXPECT_EQ(system_log().lines,
            (std::vector<LogLine>{{4, "Delete object InternetGatewayDevice.Plain."},
                                  {4, "Delete object InternetGatewayDevice.Host.2."}}));
}

TEST_F(InstanceCommands, RefusedDeletionsOfObjectsChangeNothing) {
  const std::string before = test::live_outline();
  EXPECT_EQ(serve({"13", "InternetGatewayDevice."}), (Reply{{}, -100}));
  EXPECT_EQ(serve({"13", "InternetGatewayDevice.Nothing."}), (Reply{{}, 2}));
  EXPECT_EQ(serve({"13", "InternetGatewayDevice.Plain.Name"}), (Reply{{}, -100}));
  EXPECT_EQ(serve({"13", ""}), (Reply{{}, -100}));
  EXPECT_EQ(serve({"13", "."}), (Reply{{}, 2}));
  EXPECT_EQ(serve({"13", "abc"}), (Reply{{}, -100}));
  EXPECT_EQ(test::live_outline(), before);
  EXPECT_TRUE(system_log().lines.empty());
}

// --- Re-number ---

TEST_F(InstanceCommands, RearrangingClosesGapsAndIsNotLogged) {
  EXPECT_EQ(serve({"18", "3", "0", kHost}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1. 2. 3.");
  EXPECT_EQ(value_at(kHost + "3.Name"), "fifth");
  EXPECT_TRUE(system_log().lines.empty());
}

TEST_F(InstanceCommands, ACountLimitsTheRearranging) {
  load("A.\n  T.\n    0.\n    2. [1]\n    4. [1]\n    6. [1]\n");
  EXPECT_EQ(serve({"18", "1", "2", "A.T."}), (Reply{{}, 0}));
  EXPECT_EQ(children_of("A.T."), "0. 1. 2. 6.");
  // The instance before the first number is the first to count.
  EXPECT_EQ(serve({"18", "3", "1", "A.T."}), (Reply{{}, 0}));
  EXPECT_EQ(children_of("A.T."), "0. 1. 2. 6.");
  EXPECT_EQ(serve({"18", "3", "2", "A.T."}), (Reply{{}, 0}));
  EXPECT_EQ(children_of("A.T."), "0. 1. 2. 3.");
}

TEST_F(InstanceCommands, RefusedRearrangingChangesNothing) {
  const std::string before = test::live_outline();
  EXPECT_EQ(serve({"18", "0", "1", kHost}), (Reply{{}, 7}));
  EXPECT_EQ(serve({"18", "-1", "1", kHost}), (Reply{{}, 7}));
  EXPECT_EQ(serve({"18", "", "1", kHost}), (Reply{{}, 7}));
  EXPECT_EQ(serve({"18", "x", "1", kHost}), (Reply{{}, 7}));
  EXPECT_EQ(serve({"18", "99", "1", kHost}), (Reply{{}, 2}));
  EXPECT_EQ(serve({"18", "1", "0", "InternetGatewayDevice.Nothing."}), (Reply{{}, 2}));
  EXPECT_EQ(serve({"18", "1", "0", "InternetGatewayDevice.Empty."}), (Reply{{}, 2}));
  EXPECT_EQ(serve({"18", "1", "0", "InternetGatewayDevice.Host"}), (Reply{{}, -100}));
  EXPECT_EQ(serve({"18", "1", "0", ""}), (Reply{{}, -100}));
  EXPECT_EQ(serve({"18", "1"}), (Reply{{}, 10}));
  EXPECT_EQ(serve({"18", "1", "0"}), (Reply{{}, 10}));
  EXPECT_EQ(test::live_outline(), before);
}

TEST_F(InstanceCommands, TheNumbersOfARearrangementMayBeOfAnyLength) {
  // They are read into the request buffer, not into that of an instance number.
  EXPECT_EQ(serve({"18", "00000000003", "0000000000", kHost}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1. 2. 3.");
}

TEST_F(InstanceCommands, OutOfMemoryStopsTheRearranging) {
  release_tree();
  const std::size_t failures = test::sweep_operation(
      "A.\n  T.\n    2. [1]\n    4. [1]\n",
      [] {
        return Status{serve({"18", "1", "0", "A.T."}).result};
      },
      [](Status status, const std::string& after) {
        EXPECT_EQ(status, CM_NO_MEMORY);
        EXPECT_TRUE(after == "A.\n  T.\n    2. [1]\n    4. [1]\n" ||
                    after == "A.\n  T.\n    1. [1]\n    4. [1]\n")
            << after;
      });
  EXPECT_EQ(failures, 4u);
}

// --- Move ---

TEST_F(InstanceCommands, AnInstanceMovesToAnotherTable) {
  EXPECT_EQ(serve({"21", kPorts2, kPorts1 + "3."}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kPorts1), "4.");
  EXPECT_EQ(children_of(kPorts2), "1. 3.");
  EXPECT_EQ(value_at("InternetGatewayDevice.Bridge.1.PortNumberOfEntries"), "1");
  EXPECT_EQ(value_at("InternetGatewayDevice.Bridge.2.PortNumberOfEntries"), "2");
  EXPECT_EQ(serve({"2", kPorts2 + "3.Name"}), (Reply{{"three"}, 0}));
  EXPECT_EQ(serve({"8", kPorts2 + "3.Name"}), (Reply{{kPorts2 + "3.Name"}, 0}));
  EXPECT_TRUE(system_log().lines.empty());
}

TEST_F(InstanceCommands, AParameterMovesTheObjectAroundIt) {
  EXPECT_EQ(serve({"21", kPorts2, kPorts1 + "4.Name"}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kPorts1), "3.");
  EXPECT_EQ(children_of(kPorts2), "1. 4.");
}

TEST_F(InstanceCommands, MovingToWhereItIsChangesNothing) {
  const std::string before = test::live_outline();
  EXPECT_EQ(serve({"21", kPorts1, kPorts1 + "4."}), (Reply{{}, 0}));
  EXPECT_EQ(test::live_outline(), before);
}

TEST_F(InstanceCommands, ADisabledObjectDoesNotMove) {
  object_at(kPorts1 + "3.")->attributes = 2;
  const std::string before = test::live_outline();
  EXPECT_EQ(serve({"21", kPorts2, kPorts1 + "3."}), (Reply{{}, 7}));
  EXPECT_EQ(serve({"21", kPorts2, kPorts1 + "3.Name"}), (Reply{{}, 7}));
  EXPECT_EQ(test::live_outline(), before);
}

TEST_F(InstanceCommands, RefusedMovesChangeNothing) {
  const std::string before = test::live_outline();
  const Refusal refusals[] = {
      // The new parent does not resolve; whatever the second path is.
      {"InternetGatewayDevice.Nothing.", kPorts1 + "3.", 2},
      {"InternetGatewayDevice.Nothing.", "", 2},
      {kPorts1 + "3.Name", kPorts1 + "3.", -100},
      {"", kPorts1 + "3.", -100},
      // What moves does not.
      {kPorts2, kPorts1 + "9.", 2},
      {kPorts2, kPorts1 + "3.Nothing", 2},
      {kPorts2, "", 2},
      {kPorts2, std::string(32768, '.'), 2},
      // The root, and a parent inside what moves.
      {kPorts2, "InternetGatewayDevice.", -100},
      {"InternetGatewayDevice.", "InternetGatewayDevice.", -100},
      {kPorts2, "InternetGatewayDevice.Bridge.2.", -100},
      {kPorts2, kPorts2, -100},
      {kPorts2 + "1.", kPorts2 + "1.Name", -100},
  };
  for (const Refusal& refusal : refusals)
    EXPECT_EQ(serve({"21", refusal.table, refusal.number}), (Reply{{}, refusal.code}))
        << refusal.table << " " << refusal.number.substr(0, 50);
  EXPECT_EQ(test::live_outline(), before);
}

TEST_F(InstanceCommands, AMoveWithoutItsSecondPath) {
  EXPECT_EQ(serve({"21", kPorts2}), (Reply{{}, 10}));
  EXPECT_EQ(serve_bytes(messages({"21", kPorts2}) + framed(32770, "")), (Reply{{}, 10}));
  // With a first path that names nothing, its code counts.
  EXPECT_EQ(serve({"21", "InternetGatewayDevice.Nothing."}), (Reply{{}, 2}));
  EXPECT_EQ(serve({"21"}), (Reply{{}, 10}));
}

TEST_F(InstanceCommands, AMoveThatFailsOnItsFirstPathReadsTheSecond) {
  const test::Connection connection;
  connection.send(messages({"21", "InternetGatewayDevice.Nothing.", kPorts1 + "3.", "rest"}));
  connection.finish();
  EXPECT_EQ(connection.serve(), (Reply{{}, 2}));
  EXPECT_EQ(connection.unread(), test::message("rest"));
}

// --- List ---

TEST_F(InstanceCommands, TheListHasACommaBehindEveryNumber) {
  EXPECT_EQ(serve({"17", kHost}), (Reply{{"1,2,5,"}, 0}));
  EXPECT_EQ(serve({"17", kPorts1}), (Reply{{"3,4,"}, 0}));
  EXPECT_EQ(serve({"17", "InternetGatewayDevice.Empty."}), (Reply{{""}, 0}));
  EXPECT_EQ(serve({"17", "InternetGatewayDevice.Nothing."}), (Reply{{""}, 0}));
}

TEST_F(InstanceCommands, TheListCutsLongNumbersToFourDigits) {
  ASSERT_EQ(serve({"10", kHost, "9999"}).result, 0);
  ASSERT_EQ(serve({"10", kHost, "12345"}).result, 0);
  EXPECT_EQ(serve({"17", kHost}), (Reply{{"1,2,5,9999,1234,"}, 0}));
}

TEST_F(InstanceCommands, TheListTakesTheLastCharacterOfItsPathForTheDot) {
  EXPECT_EQ(serve({"17", "InternetGatewayDevice.Host"}), (Reply{{""}, 0}));
  EXPECT_EQ(serve({"17", "InternetGatewayDevice.HostX"}), (Reply{{"1,2,5,"}, 0}));
  EXPECT_EQ(serve({"17", kHost + "1.Name"}), (Reply{{""}, 0}));
}

TEST_F(InstanceCommands, AFailedListAnswersTheEmptyText) {
  EXPECT_EQ(serve({"17", "InternetGatewayDevice.Nothing.Host."}), (Reply{{""}, -100}));
  EXPECT_EQ(serve({"17", "InternetGatewayDevice."}), (Reply{{""}, -100}));
  EXPECT_EQ(serve({"17", ""}), (Reply{{""}, -100}));
  EXPECT_EQ(serve({"17", "Host"}), (Reply{{""}, -100}));
  EXPECT_EQ(serve({"17", std::string(32768, 'x')}), (Reply{{""}, -100}));
  release_tree();
  EXPECT_EQ(serve({"17", kHost}), (Reply{{""}, -100}));
}

// --- Virtual instances ---

TEST_F(InstanceCommands, WhatLiesInAVirtualInstanceIsTold) {
  ASSERT_EQ(serve({"11", kHost, "3"}).result, 0);
  ASSERT_EQ(serve({"10", kHost, "4"}).result, 0);
  EXPECT_EQ(serve({"16", kHost + "3.Name"}), (Reply{{"1"}, 0}));
  EXPECT_EQ(serve({"16", kHost + "3."}), (Reply{{"1"}, 0}));
  EXPECT_EQ(serve({"16", kHost + "4.Name"}), (Reply{{"0"}, 0}));
  EXPECT_EQ(serve({"16", kHost + "4."}), (Reply{{"0"}, 0}));
  EXPECT_EQ(serve({"16", kHost}), (Reply{{"0"}, 0}));
}

TEST_F(InstanceCommands, AnyInstanceAroundCounts) {
  object_at("InternetGatewayDevice.Bridge.1.")->attributes = 8;
  EXPECT_EQ(serve({"16", kPorts1 + "3.Name"}), (Reply{{"1"}, 0}));
  EXPECT_EQ(serve({"16", kPorts1}), (Reply{{"1"}, 0}));
  EXPECT_EQ(serve({"16", kPorts2 + "1.Name"}), (Reply{{"0"}, 0}));
  // The template is an instance too; an object that is none may be read-only.
  object_at(kHost + "0.")->attributes = 0;
  EXPECT_EQ(serve({"16", kHost + "0.Name"}), (Reply{{"1"}, 0}));
  EXPECT_EQ(serve({"16", "InternetGatewayDevice.Plain.Name"}), (Reply{{"0"}, 0}));
}

TEST_F(InstanceCommands, TheCheckNeverFails) {
  for (const std::string& path :
       {""s, "x"s, "."s, kHost + "9.Name", kHost + "9.", "InternetGatewayDevice.Host.1.Nothing"s,
        std::string(32767, 'x') + "."s, std::string(32768, 'x')})
    EXPECT_EQ(serve({"16", path}), (Reply{{"0"}, 0})) << path.substr(0, 50);
  release_tree();
  EXPECT_EQ(serve({"16", kHost}), (Reply{{"0"}, 0}));
}

TEST_F(InstanceCommands, WithoutALiveTreeNothingIsChanged) {
  release_tree();
  for (const std::string& command : kNumbered)
    EXPECT_EQ(serve({command, kHost, "3"}), (Reply{{}, 2})) << command;
  EXPECT_EQ(serve({"13", kHost}), (Reply{{}, 2}));
  EXPECT_EQ(serve({"18", "1", "0", kHost}), (Reply{{}, 2}));
  EXPECT_EQ(serve({"21", kPorts2, kPorts1 + "3."}), (Reply{{}, 2}));
  EXPECT_TRUE(system_log().lines.empty());
}

}  // namespace
}  // namespace gwconf
