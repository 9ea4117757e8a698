#include "rpc/framing.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <future>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "rpc/request_time.h"
#include "tests/rpc/request_fixture.h"
#include "tests/rpc/simulated_time.h"
#include "tests/support/capture.h"

namespace gwconf {
namespace {

using namespace std::string_literals;
using test::Connection;
using test::framed;
using test::message;

using Clock = std::chrono::steady_clock;

static_assert(kMessageMax == 32769);
static_assert(kReadSeconds == 5);

double seconds_since(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A request buffer with nothing around it, full of one character.
class Buffer {
 public:
  explicit Buffer(char fill = '#') : bytes_{new char[kMessageMax]} {
    std::memset(bytes_.get(), fill, kMessageMax);
  }
  [[nodiscard]] char* get() { return bytes_.get(); }
  [[nodiscard]] std::string first(std::size_t count) const { return {bytes_.get(), count}; }
  [[nodiscard]] std::string from(std::size_t start) const {
    return {bytes_.get() + start, kMessageMax - start};
  }

 private:
  std::unique_ptr<char[]> bytes_;
};

/// Reads one message from a client that sends `bytes` and then no more.
std::int32_t read_message(std::string_view bytes, Buffer& buffer) {
  const Connection connection;
  connection.send(bytes);
  connection.finish();
  return CM_RPC_SocketRead(connection.server(), buffer.get());
}

TEST(SocketRead, TakesOneMessageAndReturnsItsDeclaredLength) {
  Buffer buffer;
  EXPECT_EQ(read_message(message("Enable"), buffer), 7);
  EXPECT_EQ(buffer.first(8), "Enable\0#"s);
}

TEST(SocketRead, LeavesTheNextMessageInTheConnection) {
  const Connection connection;
  connection.send(message("first") + message("second"));
  Buffer buffer;
  EXPECT_EQ(CM_RPC_SocketRead(connection.server(), buffer.get()), 6);
  EXPECT_STREQ(buffer.get(), "first");
  EXPECT_EQ(CM_RPC_SocketRead(connection.server(), buffer.get()), 7);
  EXPECT_STREQ(buffer.get(), "second");
}

TEST(SocketRead, AShorterMessageOverwritesItsOwnLengthOnly) {
  const Connection connection;
  connection.send(message("InternetGatewayDevice.") + message("7,1"));
  Buffer buffer;
  EXPECT_EQ(CM_RPC_SocketRead(connection.server(), buffer.get()), 23);
  EXPECT_EQ(CM_RPC_SocketRead(connection.server(), buffer.get()), 4);
  EXPECT_EQ(buffer.first(23), "7,1\0rnetGatewayDevice.\0"s);
}

TEST(SocketRead, TheEndOfTheStreamIsNothingUsable) {
  Buffer buffer;
  EXPECT_EQ(read_message("", buffer), 0);
  EXPECT_EQ(buffer.first(4), "####");
}

TEST(SocketRead, ADeclaredLengthOfZeroIsNothingUsable) {
  Buffer buffer;
  EXPECT_EQ(read_message(framed(0, ""), buffer), 0);
  EXPECT_EQ(buffer.first(4), "####");
}

TEST(SocketRead, NegativeLengthsAreNothingUsable) {
  for (const std::int32_t length : {-1, -100, INT32_MIN}) {
    Buffer buffer;
    EXPECT_EQ(read_message(framed(length, "abc\0"s), buffer), 0) << length;
    EXPECT_EQ(buffer.first(4), "####");
  }
}

TEST(SocketRead, TheLongestMessageIsTakenWhole) {
  const std::string text(32768, 'x');
  Buffer buffer;
  EXPECT_EQ(read_message(message(text), buffer), 32769);
  EXPECT_EQ(buffer.first(32769), text + '\0');
}

TEST(SocketRead, ALongerMessageIsNotUsableAndItsBodyStaysUnread) {
  for (const std::int32_t length : {32770, 32771, 1 << 20, INT32_MAX}) {
    const Connection connection;
    connection.send(framed(length, "body"));
    Buffer buffer;
    EXPECT_EQ(CM_RPC_SocketRead(connection.server(), buffer.get()), 0) << length;
    EXPECT_EQ(buffer.first(4), "####");
    char rest[8] = {};
    EXPECT_EQ(recv(connection.server(), rest, sizeof rest, MSG_DONTWAIT), 4);
    EXPECT_STREQ(rest, "body");
  }
}

TEST(SocketRead, ALengthThatHasNotArrivedWholeIsTakenAsFarAsItCame) {
  // The bytes of the length that are missing count as zero. On a machine that stores the lowest
  // byte first, the first two of 0x00000203 are 0x0203 themselves.
  if constexpr (std::endian::native == std::endian::little) {
    Buffer buffer;
    EXPECT_EQ(read_message("\x03\x02"s, buffer), 0x203);
    EXPECT_EQ(read_message("\x05"s, buffer), 5);
    EXPECT_EQ(buffer.first(4), "####");
  } else {
    Buffer buffer;
    EXPECT_EQ(read_message("\x00\x00\x02"s, buffer), 0x200);
    EXPECT_EQ(read_message("\x00\x00"s, buffer), 0);
  }
}

TEST(SocketRead, ABodyThatHasNotArrivedWholeIsTakenAsFarAsItCame) {
  Buffer buffer;
  EXPECT_EQ(read_message(framed(10, "abc"), buffer), 10);
  EXPECT_EQ(buffer.first(5), "abc##");
  EXPECT_EQ(read_message(framed(10, ""), buffer), 10);
  EXPECT_EQ(buffer.first(5), "abc##");
}

TEST(SocketRead, ABodyInPiecesIsCutAndItsRestIsTheNextMessage) {
  const Connection connection;
  connection.send(framed(10, "abc"));
  Buffer buffer{'\0'};
  EXPECT_EQ(CM_RPC_SocketRead(connection.server(), buffer.get()), 10);
  EXPECT_STREQ(buffer.get(), "abc");
  connection.send(message("late"));
  EXPECT_EQ(CM_RPC_SocketRead(connection.server(), buffer.get()), 5);
  EXPECT_STREQ(buffer.get(), "late");
}

TEST(SocketRead, ABodyWithoutNulNeverRunsPastTheBuffer) {
  Buffer buffer;
  EXPECT_EQ(read_message(framed(32769, std::string(32769, 'x')), buffer), 32769);
  EXPECT_EQ(std::strlen(buffer.get()), 32768u);
  // Neither does what was in the buffer before.
  Buffer full;
  EXPECT_EQ(read_message(framed(3, "abc"), full), 3);
  EXPECT_EQ(full.first(4), "abc#");
  EXPECT_EQ(std::strlen(full.get()), 32768u);
}

TEST(SocketRead, AResetConnectionIsNothingUsable) {
  Connection connection;
  ASSERT_EQ(send(connection.server(), "unread", 6, 0), 6);
  connection.vanish();  // with something unread: the daemon's read fails
  Buffer buffer;
  EXPECT_EQ(CM_RPC_SocketRead(connection.server(), buffer.get()), 0);
}

TEST(SocketRead, WhatIsNoConnectionIsNotReady) {
  Buffer buffer;
  EXPECT_EQ(CM_RPC_SocketRead(-1, buffer.get()), 9);
  const int closed = dup(STDERR_FILENO);
  close(closed);
  EXPECT_EQ(CM_RPC_SocketRead(closed, buffer.get()), 9);
  const int file = open("/dev/null", O_RDONLY);
  EXPECT_EQ(CM_RPC_SocketRead(file, buffer.get()), 9);
  close(file);
  EXPECT_EQ(buffer.first(4), "####");
}

TEST(SocketRead, ADescriptorAboveThoseOfASetIsReadLikeAnyOther) {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit before = limit;
  limit.rlim_cur = std::max<rlim_t>(limit.rlim_cur, 2000);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  const Connection connection;
  const int high = fcntl(connection.server(), F_DUPFD, 1500);  // a set ends at 1,023
  ASSERT_GE(high, 1500);
  connection.send(message("2"));
  Buffer buffer;
  EXPECT_EQ(CM_RPC_SocketRead(high, buffer.get()), 2);
  close(high);
  setrlimit(RLIMIT_NOFILE, &before);
}

TEST(SocketRead, WaitsForWhatIsOnItsWay) {
  const Connection connection;
  std::thread client{[&] {
    std::this_thread::sleep_for(std::chrono::milliseconds{200});
    connection.send(framed(5, ""));
    std::this_thread::sleep_for(std::chrono::milliseconds{200});
    connection.send("late\0"s);
  }};
  start_request_time();
  Buffer buffer;
  EXPECT_EQ(CM_RPC_SocketRead(connection.server(), buffer.get()), 5);
  client.join();
  EXPECT_STREQ(buffer.get(), "late");
}

TEST(ReceiveMessage, TellsALengthFromAFailure) {
  const Connection connection;
  Buffer buffer;
  connection.send(framed(12, "twelve bytes"));
  Received received = receive_message(connection.server(), buffer.get());
  EXPECT_EQ(received.readiness, CM_OK);
  EXPECT_EQ(received.length, 12);
  received = receive_message(-1, buffer.get());
  EXPECT_EQ(received.readiness, CM_NOT_READY);
  EXPECT_EQ(received.length, 0);
}

TEST(SocketWrite, SendsTheLengthAndTheTextWithItsNul) {
  const Connection connection;
  EXPECT_EQ(CM_RPC_SocketWrite(connection.server(), "-100"), 5);
  EXPECT_EQ(CM_RPC_SocketWrite(connection.server(), ""), 1);
  shutdown(connection.server(), SHUT_WR);
  EXPECT_EQ(test::read_to_end(connection.client()), message("-100") + message(""));
}

TEST(SocketWrite, AnAnswerOfAnyLengthArrivesWhole) {
  const std::string text(3'000'000, 'x');
  Connection connection;
  std::string received;
  std::thread client{[&] { received = test::read_to_end(connection.client()); }};
  EXPECT_EQ(CM_RPC_SocketWrite(connection.server(), text.c_str()), 3'000'001);
  shutdown(connection.server(), SHUT_WR);
  client.join();
  EXPECT_TRUE(received == message(text));
}

TEST(SocketWrite, ToAClientThatHasGoneFailsWithoutASignal) {
  Connection connection;
  connection.vanish();
  EXPECT_EQ(CM_RPC_SocketWrite(connection.server(), "0"), -1);
  EXPECT_EQ(CM_RPC_SocketWrite(-1, "0"), -1);
}

TEST(SocketWrite, TheFirstThreeDescriptorsAreTheConsole) {
  for (const int fd : {0, 1, 2}) {
    EXPECT_EQ(test::stdout_of([&] {
                EXPECT_EQ(
                    test::stderr_of([&] { EXPECT_GE(CM_RPC_SocketWrite(fd, "50 % %s\n"), 0); }),
                    "50 % %s\n");
              }),
              "");
  }
}

// What really waits stands in one test, side by side.
TEST(Waits, EndAfterFiveSeconds) {
  start_request_time();
  const Clock::time_point start = Clock::now();
  const auto nothing_comes = [] {
    const Connection connection;
    Buffer buffer;
    const std::int32_t result = CM_RPC_SocketRead(connection.server(), buffer.get());
    return std::to_string(result) + buffer.first(4);
  };
  const auto no_body_comes = [] {
    const Connection connection;
    connection.send(framed(8, ""));
    Buffer buffer;
    const std::int32_t result = CM_RPC_SocketRead(connection.server(), buffer.get());
    return std::to_string(result) + buffer.first(4);
  };
  const auto nobody_reads = [start] {
    const Connection connection;
    const std::string text(3'000'000, 'x');
    const std::int32_t result = CM_RPC_SocketWrite(connection.server(), text.c_str());
    const double waited = seconds_since(start);
    // The connection is given up for good.
    const std::int32_t next = CM_RPC_SocketWrite(connection.server(), "0");
    return std::to_string(result) + (seconds_since(start) < waited + 3 ? " " : " late ") +
           std::to_string(next);
  };
  auto first = std::async(std::launch::async, nothing_comes);
  auto second = std::async(std::launch::async, no_body_comes);
  auto third = std::async(std::launch::async, nobody_reads);
  EXPECT_EQ(first.get(), "12####");
  EXPECT_EQ(second.get(), "8####");
  EXPECT_EQ(third.get(), "-1 -1");
  EXPECT_GE(seconds_since(start), 4.9);
  EXPECT_LT(seconds_since(start), 9);
}

TEST(Waits, AReaderThatTakesALittleIsNotGivenUp) {
  const Connection connection;
  const std::string text(600'000, 'x');
  std::string received;
  test::SimulatedTime time;
  start_request_time();
  // About a tenth of what the connection holds, a second: room shows itself much later than it is
  // there.
  time.every(1000, [&] {
    std::string part(time.passed() <= 8000 ? 20'000 : 600'000, '\0');
    const ssize_t got = recv(connection.client(), part.data(), part.size(), MSG_DONTWAIT);
    if (got > 0) received.append(part, 0, static_cast<std::size_t>(got));
  });
  EXPECT_EQ(CM_RPC_SocketWrite(connection.server(), text.c_str()), 600'001);
  shutdown(connection.server(), SHUT_WR);
  EXPECT_GT(time.passed(), 8000);
  received += test::read_to_end(connection.client());
  EXPECT_TRUE(received == message(text));
}

}  // namespace
}  // namespace gwconf
