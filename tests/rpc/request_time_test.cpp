#include "rpc/request_time.h"

#include <string>
#include <string_view>
#include <sys/socket.h>
#include <vector>

#include <gtest/gtest.h>

#include "rpc/framing.h"
#include "rpc/notification.h"
#include "rpc/server.h"
#include "tests/rpc/request_fixture.h"
#include "tests/rpc/simulated_time.h"
#include "tests/support/sandbox.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using namespace std::string_literals;
using test::Connection;
using test::framed;
using test::message;
using test::SimulatedTime;

static_assert(kRequestSeconds == 30);

class RequestTime : public test::RequestTest {
 protected:
  void SetUp() override {
    RequestTest::SetUp();
    load("A.\n  P = old\n  T.\n    0. [1]\n    1. [1]\n    3. [1]\n");
  }

  /// What the client hears until the end of its connection, which is there.
  static std::string heard(const Connection& connection) {
    std::string bytes;
    char part[65536];
    ssize_t got = 0;
    while ((got = recv(connection.client(), part, sizeof part, MSG_DONTWAIT)) > 0)
      bytes.append(part, static_cast<std::size_t>(got));
    EXPECT_EQ(got, 0) << "not at its end";
    return bytes;
  }

  /// The client reads up to `size` bytes of what is there.
  static std::size_t take(const Connection& connection, std::size_t size) {
    std::string bytes(size, '\0');
    const ssize_t got = recv(connection.client(), bytes.data(), size, MSG_DONTWAIT);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
  }
};

/// Sends the messages of a request in halves, one with each call: a length, then its body.
class Halves {
 public:
  Halves(const Connection& connection, const std::vector<std::string>& texts)
      : connection_{connection} {
    for (const std::string& text : texts) {
      const std::string whole = message(text);
      halves_.push_back(whole.substr(0, 4));
      halves_.push_back(whole.substr(4));
    }
  }
  void operator()() {
    if (sent_ < halves_.size()) connection_.send(halves_[sent_++]);
  }

 private:
  const Connection& connection_;
  std::vector<std::string> halves_;
  std::size_t sent_ = 0;
};

// --- What is left of it ---

TEST_F(RequestTime, AWaitTakesFiveSecondsOrWhatIsLeftOfThirty) {
  SimulatedTime time;
  start_request_time();
  EXPECT_EQ(next_wait(), 5000);
  time.advance(25'000);
  EXPECT_EQ(next_wait(), 5000);
  time.advance(1);
  EXPECT_EQ(next_wait(), 4999);
  time.advance(4998);
  EXPECT_EQ(next_wait(), 1);
  time.advance(1);
  EXPECT_EQ(next_wait(), 0);
  time.advance(1'000'000);
  EXPECT_EQ(next_wait(), 0);
  start_request_time();
  EXPECT_EQ(next_wait(), 5000);
}

// --- Clients that send slowly ---

TEST_F(RequestTime, ASilentClientIsWaitedForTwiceAndAnswered) {
  const Connection connection;
  const SimulatedTime time;
  EXPECT_EQ(CM_RPC_RPOCESS(connection.server()), CM_NOT_FOUND);
  EXPECT_EQ(time.passed(), 10'000);
  EXPECT_EQ(CM_RPC_SocketWrite(connection.server(), "2"), 2);
}

TEST_F(RequestTime, ArgumentsThatDoNotComeAreWaitedForOneByOne) {
  const Connection connection;
  connection.send(message("18"));
  const SimulatedTime time;
  EXPECT_EQ(CM_RPC_RPOCESS(connection.server()), CM_INVALID);
  EXPECT_EQ(time.passed(), 15'000);
  EXPECT_EQ(CM_RPC_SocketWrite(connection.server(), "-100"), 5);
}

TEST_F(RequestTime, ThreeMessagesInHalvesAreInTime) {
  const Connection connection;
  SimulatedTime time;
  time.every(4900, Halves{connection, {"0", "A.P", "new"}});
  EXPECT_EQ(CM_RPC_RPOCESS(connection.server()), CM_OK);
  EXPECT_EQ(time.passed(), 29'400);
  EXPECT_EQ(test::value_at("A.P"), "new");
}

TEST_F(RequestTime, FourMessagesInHalvesEndAfterThirtySeconds) {
  const Connection connection;
  SimulatedTime time;
  time.every(4300, Halves{connection, {"18", "3", "0", "A.T."}});
  EXPECT_EQ(CM_RPC_RPOCESS(connection.server()), CM_UNREADABLE);
  EXPECT_EQ(time.passed(), 30'000);
  EXPECT_EQ(test::children_of("A.T."), "0. 1. 3.");
  EXPECT_EQ(heard(connection), "");
  EXPECT_EQ(send(connection.client(), "x", 1, MSG_NOSIGNAL), -1);
}

TEST_F(RequestTime, ABodyThatHasNotBegunByThenIsNoArgument) {
  const Connection connection;
  SimulatedTime time;
  time.every(4200, Halves{connection, {"33", "1", "10", sandbox("/tmp/changes")}});
  EXPECT_EQ(CM_RPC_RPOCESS(connection.server()), CM_UNREADABLE);
  EXPECT_EQ(time.passed(), 30'000);
  EXPECT_FALSE(notify_reg->file);
  EXPECT_EQ(heard(connection), "");
}

TEST_F(RequestTime, AnAnswerBehindItGoesNowhereAndTakesNoTime) {
  const Connection connection;
  connection.send(message("2"));
  SimulatedTime time;
  start_request_time();
  time.advance(28'000);
  char buf[kMessageMax] = {};
  EXPECT_EQ(CM_RPC_SocketRead(connection.server(), buf), 2);
  EXPECT_EQ(CM_RPC_SocketRead(connection.server(), buf), 0);
  EXPECT_EQ(CM_RPC_SocketWrite(connection.server(), ""), -1);
  EXPECT_EQ(CM_RPC_SocketRead(connection.server(), buf), 0);
  EXPECT_EQ(time.passed(), 30'000);
}

TEST_F(RequestTime, WhatHasComeIsReadAndAnsweredHoweverLongTheWorkTook) {
  const Connection connection;
  connection.send(message("first"));
  SimulatedTime time;
  start_request_time();
  time.advance(100'000);
  char buf[kMessageMax] = {};
  EXPECT_EQ(CM_RPC_SocketRead(connection.server(), buf), 6);
  EXPECT_EQ(CM_RPC_SocketWrite(connection.server(), "0"), 2);
}

// --- Clients that read slowly ---

/// A tree whose export is longer than what a connection holds.
std::string long_outline() {
  std::string outline = "A.\n  T.\n";
  for (int i = 1; i <= 10'000; ++i)
    outline += "    " + std::to_string(i) + ". [1]\n      P = " + std::to_string(i) + "\n";
  return outline;
}

TEST_F(RequestTime, AReaderOfALittleAtATimeIsGivenUpAfterThirtySeconds) {
  load(long_outline());
  const Connection connection;
  connection.send(message("31") + message("A."));
  SimulatedTime time;
  std::size_t taken = 0;
  time.every(4600, [&] { taken += take(connection, 40'000); });
  EXPECT_EQ(CM_RPC_RPOCESS(connection.server()), CM_OK);
  EXPECT_EQ(time.passed(), 30'000);
  EXPECT_EQ(taken, 6u * 40'000);
  EXPECT_EQ(CM_RPC_SocketWrite(connection.server(), "0"), -1);
  EXPECT_EQ(time.passed(), 30'000);
  EXPECT_LT(taken + heard(connection).size(), 600'000u);
}

TEST_F(RequestTime, AReaderThatIsThroughByThenGetsAll) {
  load(long_outline());
  const test::Reply whole = test::serve({"31", "A."});
  const Connection connection;
  connection.send(message("31") + message("A."));
  SimulatedTime time;
  std::size_t taken = 0;
  time.every(4600, [&] { taken += take(connection, 400'000); });
  EXPECT_EQ(CM_RPC_RPOCESS(connection.server()), CM_OK);
  EXPECT_EQ(CM_RPC_SocketWrite(connection.server(), "0"), 2);
  shutdown(connection.server(), SHUT_WR);
  EXPECT_LT(time.passed(), 30'000);
  EXPECT_GT(time.passed(), 15'000);
  EXPECT_EQ(taken + heard(connection).size(), 4 + whole.answers.at(0).size() + 1 + 4 + 2);
}

TEST_F(RequestTime, AReaderOfNothingIsGivenUpAfterFiveSeconds) {
  load(long_outline());
  const Connection connection;
  connection.send(message("31") + message("A."));
  const SimulatedTime time;
  EXPECT_EQ(CM_RPC_RPOCESS(connection.server()), CM_OK);
  EXPECT_EQ(time.passed(), 5'000);
}

}  // namespace
}  // namespace gwconf
