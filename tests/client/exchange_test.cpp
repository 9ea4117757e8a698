#include "client/exchange.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gwconf/client.hpp"
#include "protocol/commands.h"
#include "tests/client/fake_daemon.h"

namespace gwconf {
namespace {

using test::answering;
using test::FakeDaemon;
using test::Peer;
using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

Result<Texts> call(const FakeDaemon& daemon, int command, const Texts& arguments = {}) {
  return Client{daemon.socket_path().c_str()}.call(command, arguments);
}

int code_for(const std::string& result_text) {
  const FakeDaemon daemon{answering(0, {result_text})};
  return Client{daemon.socket_path().c_str()}.commit();
}

TEST(Exchange, PassesTheDaemonsCodesUnchanged) {
  EXPECT_EQ(code_for("0"), 0);
  EXPECT_EQ(code_for("1"), 1);
  EXPECT_EQ(code_for("156"), 156);
  EXPECT_EQ(code_for("-100"), -100);
  EXPECT_EQ(code_for("-999"), -999);
  EXPECT_EQ(code_for("-2000"), -2000);
  EXPECT_EQ(code_for("2147483647"), 2147483647);
  EXPECT_EQ(code_for("-2147483648"), -2147483647 - 1);
}

TEST(Exchange, AResultThatIsNoNumberIsAProtocolError) {
  for (const char* text : {"", "-", "+1", " 1", "1 ", "1x", "0x1", "done", "--1", "2147483648",
                           "-2147483649", "99999999999999999999999"})
    EXPECT_EQ(code_for(text), GWCONF_E_PROTOCOL) << text;
}

TEST(Exchange, AResultInTheRangeOfOurOwnCodesIsAProtocolError) {
  EXPECT_EQ(code_for("-1000"), GWCONF_E_PROTOCOL);
  EXPECT_EQ(code_for("-1003"), GWCONF_E_PROTOCOL);
  EXPECT_EQ(code_for("-1999"), GWCONF_E_PROTOCOL);
}

TEST(Exchange, KnowsTheAnswersOfEveryCommand) {
  struct Row {
    int command;
    int arguments;
    int answers;
  };
  constexpr Row kRows[] = {
      {0, 2, 0},  {1, 2, 0},  {2, 1, 1},  {3, 1, 1},  {4, 1, 1},  {5, 1, 1},  {6, 1, 1},
      {7, 1, 1},  {8, 1, 1},  {9, 1, 1},  {10, 2, 0}, {11, 2, 0}, {12, 2, 0}, {13, 1, 0},
      {14, 2, 0}, {15, 2, 0}, {16, 1, 1}, {17, 1, 1}, {18, 3, 0}, {19, 0, 0}, {20, 0, 0},
      {21, 2, 0}, {23, 2, 0}, {24, 2, 0}, {25, 1, 1}, {26, 1, 1}, {27, 1, 1}, {29, 1, 0},
      {30, 1, 0}, {31, 1, 1}, {32, 1, 1}, {33, 3, 0},
  };
  static_assert(std::size(kRows) + 2 == kCommandCount, "all but the dump and the slot without one");
  for (const Row& row : kRows) {
    // The connection stays open: who waits for more than the result waits in vain.
    const FakeDaemon daemon{[row](Peer& peer) {
      for (int i = 0; i <= row.arguments; ++i)
        peer.read();
      for (int i = 0; i < row.answers; ++i)
        peer.answer("an answer");
      peer.answer("3");
      peer.park();
    }};
    const Texts arguments(static_cast<std::size_t>(row.arguments), "argument");
    const Result<Texts> result = call(daemon, row.command, arguments);
    EXPECT_EQ(result.code, 3) << row.command;
    EXPECT_EQ(result.value, Texts(static_cast<std::size_t>(row.answers), "an answer"));
    Texts request = daemon.request();
    EXPECT_EQ(request.at(0), std::to_string(row.command));
    request.erase(request.begin());
    EXPECT_EQ(request, arguments);
  }
}

TEST(Exchange, ADumpEndsWithTheEmptyText) {
  const FakeDaemon daemon{[](Peer& peer) {
    peer.read();
    peer.answer("Hash index : 0\n");
    peer.answer("\t wan = 1\n");
    peer.answer("");
    peer.answer("0");
    peer.park();
  }};
  const Result<Texts> result = call(daemon, kDumpShortNames);
  EXPECT_EQ(result.code, GWCONF_OK);
  EXPECT_THAT(result.value, ElementsAre("Hash index : 0\n", "\t wan = 1\n"));
}

TEST(Exchange, AnUnknownCommandIsReadToTheEnd) {
  const FakeDaemon daemon{answering(1, {"one", "", "three", "7"})};
  const Result<Texts> result = call(daemon, 99, {"argument"});
  EXPECT_EQ(result.code, 7);
  EXPECT_THAT(result.value, ElementsAre("one", "", "three"));
  EXPECT_THAT(daemon.request(), ElementsAre("99", "argument"));
}

TEST(Exchange, RefusedNumbersAreReadToTheEndToo) {
  for (const int command : {28, 34, -1, -2147483647 - 1}) {
    const FakeDaemon daemon{answering(0, {"-100"})};
    const Result<Texts> result = call(daemon, command);
    EXPECT_EQ(result.code, -100);
    EXPECT_THAT(result.value, IsEmpty());
    EXPECT_THAT(daemon.request(), ElementsAre(std::to_string(command)));
  }
}

TEST(Exchange, AnUnknownCommandWithoutResult) {
  const FakeDaemon silent{answering(0, {})};
  EXPECT_EQ(call(silent, 99).code, GWCONF_E_CLOSED);
  const FakeDaemon chatty{answering(0, {"no result"})};
  EXPECT_EQ(call(chatty, 99).code, GWCONF_E_PROTOCOL);
  const FakeDaemon dying{[](Peer& peer) {
    peer.read();
    peer.answer("0");
    peer.send_bytes(test::length_of(5));
  }};
  EXPECT_EQ(call(dying, 99).code, GWCONF_E_PROTOCOL);
}

TEST(Exchange, ServesSeveralThreadsOnOneHandle) {
  const FakeDaemon daemon{[](Peer& peer) {
    peer.read();
    peer.answer("value of " + peer.read());
    peer.answer("0");
  }};
  const Client client{daemon.socket_path().c_str()};
  std::atomic<int> right = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 8; ++thread)
    threads.emplace_back([&client, &right, thread] {
      for (int i = 0; i < 50; ++i) {
        const std::string path = std::to_string(thread) + "." + std::to_string(i);
        right += client.get_value(path).value == "value of " + path;
      }
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(right, 400);
}

}  // namespace
}  // namespace gwconf
