#include "client/connection.h"

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "gwconf/client.hpp"
#include "tests/client/fake_daemon.h"

namespace gwconf {
namespace {

using namespace std::chrono_literals;
using test::answering;
using test::FakeDaemon;
using test::Peer;
using Clock = std::chrono::steady_clock;

constexpr const char* kPath = "InternetGatewayDevice.DeviceInfo.Description";

/// Reads the request for a value, then sends `bytes` and hangs up.
FakeDaemon::Script answering_bytes(std::string bytes) {
  return [bytes](Peer& peer) {
    peer.read();
    peer.read();
    peer.send_bytes(bytes);
  };
}

int code_of_get(const std::string& bytes) {
  const FakeDaemon daemon{answering_bytes(bytes)};
  const Client client{daemon.socket_path().c_str()};
  const Result<std::string> result = client.get_value(kPath);
  EXPECT_EQ(result.value, "");
  return result.code;
}

/// Interrupts the process every 2 ms with a handler that does not restart system calls.
class Interruptions {
 public:
  Interruptions() {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, &old_);
    const itimerval period{{0, 2000}, {0, 2000}};
    setitimer(ITIMER_REAL, &period, nullptr);
  }
  ~Interruptions() {
    const itimerval none{};
    setitimer(ITIMER_REAL, &none, nullptr);
    sigaction(SIGALRM, &old_, nullptr);
  }

 private:
  struct sigaction old_ {};
};

/// Keeps SIGALRM from a thread, so that it finds the caller.
FakeDaemon::Script shielded(FakeDaemon::Script script) {
  return [script](Peer& peer) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGALRM);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    script(peer);
  };
}

/// Connects until the queue of a daemon that does not accept is full.
std::vector<int> fill_queue(const std::string& socket_path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socket_path.copy(address.sun_path, sizeof address.sun_path - 1);
  std::vector<int> taken;
  for (;;) {
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (connect(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
      EXPECT_EQ(errno, EAGAIN);
      close(descriptor);
      return taken;
    }
    taken.push_back(descriptor);
  }
}

TEST(Connection, SaysWhyNobodyIsReached) {
  const Client missing{"/tmp/gwconf-no-such-folder/socket"};
  EXPECT_EQ(missing.commit(), GWCONF_E_CONNECT);
  EXPECT_EQ(errno, ENOENT);

  char path[] = "/tmp/gwconf-no-daemon.XXXXXX";
  close(mkstemp(path));
  const Client refused{path};
  EXPECT_EQ(refused.commit(), GWCONF_E_CONNECT);
  EXPECT_EQ(errno, ECONNREFUSED);
  unlink(path);
}

TEST(Connection, WaitsWhileTheQueueIsFull) {
  FakeDaemon daemon{[](Peer& peer) {
                      if (peer.read() == "19") peer.answer("0");
                    },
                    FakeDaemon::Start::kLater, 1};
  const std::vector<int> taken = fill_queue(daemon.socket_path());
  ASSERT_GE(taken.size(), 1U);
  int code = -1;
  const Client client{daemon.socket_path().c_str()};
  std::thread waiting{[&] { code = client.commit(); }};
  std::this_thread::sleep_for(100ms);
  for (const int descriptor : taken)
    close(descriptor);
  daemon.start();
  waiting.join();
  EXPECT_EQ(code, GWCONF_OK);
}

TEST(Connection, GivesUpOnAFullQueue) {
  FakeDaemon daemon{answering(0, {"0"}), FakeDaemon::Start::kLater, 1};
  const std::vector<int> taken = fill_queue(daemon.socket_path());
  Client client{daemon.socket_path().c_str()};
  ASSERT_EQ(client.set_timeout(150), GWCONF_OK);
  const Interruptions interruptions;
  const auto begin = Clock::now();
  EXPECT_EQ(client.commit(), GWCONF_E_TIMEOUT);
  EXPECT_GE(Clock::now() - begin, 140ms);
  EXPECT_LT(Clock::now() - begin, 5s);
  for (const int descriptor : taken)
    close(descriptor);
}

TEST(Connection, GivesUpOnASilentDaemon) {
  // What a request that the daemon cannot read looks like.
  const FakeDaemon daemon{[](Peer& peer) { peer.park(); }};
  Client client{daemon.socket_path().c_str()};
  ASSERT_EQ(client.set_timeout(150), GWCONF_OK);
  const auto begin = Clock::now();
  EXPECT_EQ(client.get_value(kPath).code, GWCONF_E_TIMEOUT);
  EXPECT_GE(Clock::now() - begin, 140ms);
  EXPECT_LT(Clock::now() - begin, 5s);
}

TEST(Connection, GivesUpOnADripThatNeverEnds) {
  const FakeDaemon daemon{[](Peer& peer) {
    peer.read();
    peer.read();
    peer.send_bytes(test::length_of(30000));
    for (int i = 0; i < 60; ++i) {
      peer.send_bytes("x");
      std::this_thread::sleep_for(10ms);
    }
  }};
  Client client{daemon.socket_path().c_str()};
  ASSERT_EQ(client.set_timeout(200), GWCONF_OK);
  EXPECT_EQ(client.get_value(kPath).code, GWCONF_E_TIMEOUT);
}

TEST(Connection, SurvivesInterruptions) {
  const FakeDaemon daemon{shielded([](Peer& peer) {
    peer.read();
    peer.read();
    std::this_thread::sleep_for(100ms);
    peer.answer("gateway");
    std::this_thread::sleep_for(50ms);
    peer.answer("0");
  })};
  const Client client{daemon.socket_path().c_str()};
  const Interruptions interruptions;
  const Result<std::string> result = client.get_value(kPath);
  EXPECT_EQ(result.code, GWCONF_OK);
  EXPECT_EQ(result.value, "gateway");
}

TEST(Connection, PutsAnAnswerTogetherFromSingleBytes) {
  const FakeDaemon daemon{[](Peer& peer) {
    peer.read();
    peer.read();
    for (const char byte : test::message("gateway") + test::message("0")) {
      peer.send_bytes({&byte, 1});
      std::this_thread::sleep_for(1ms);
    }
  }};
  const Result<std::string> result = Client{daemon.socket_path().c_str()}.get_value(kPath);
  EXPECT_EQ(result.code, GWCONF_OK);
  EXPECT_EQ(result.value, "gateway");
}

TEST(Connection, TakesAnswersOfSeveralMebibytes) {
  std::string xml(5 * 1024 * 1024, 'x');
  xml.back() = '>';
  const FakeDaemon daemon{answering(1, {xml, "0"})};
  const Result<std::string> result =
      Client{daemon.socket_path().c_str()}.export_node("InternetGatewayDevice.");
  EXPECT_EQ(result.code, GWCONF_OK);
  EXPECT_TRUE(result.value == xml);
}

TEST(Connection, EveryMessageOfTheLargestRequestArrivesWhole) {
  const std::string path(GWCONF_TEXT_MAX - 1, 'p');
  const std::string value(GWCONF_TEXT_MAX - 1, 'v');
  const FakeDaemon daemon{answering(2, {"0"})};
  const Client client{daemon.socket_path().c_str()};
  constexpr int kRuns = 300;
  for (int i = 0; i < kRuns; ++i)
    ASSERT_EQ(client.set_value(path, value), GWCONF_OK);
  const std::vector<test::RequestTexts> requests = daemon.requests();
  ASSERT_EQ(requests.size(), static_cast<std::size_t>(kRuns));
  for (const test::RequestTexts& texts : requests)
    ASSERT_TRUE((texts == test::RequestTexts{"0", path, value})) << texts.at(2).size();
}

TEST(Connection, RefusesLongerTextsBeforeSending) {
  const FakeDaemon daemon{answering(2, {"0"})};
  const Client client{daemon.socket_path().c_str()};
  const std::string longer(GWCONF_TEXT_MAX, 'v');
  EXPECT_EQ(client.set_value(kPath, longer), GWCONF_E_ARGUMENT);
  EXPECT_EQ(client.set_value(longer, "1"), GWCONF_E_ARGUMENT);
  EXPECT_TRUE(daemon.requests().empty());
}

TEST(Connection, ADaemonThatHangsUpAtOnceRaisesNothing) {
  static volatile sig_atomic_t raised = 0;
  struct sigaction action {};
  action.sa_handler = [](int) { raised = raised + 1; };
  struct sigaction before {};
  ASSERT_EQ(sigaction(SIGPIPE, &action, &before), 0);
  const FakeDaemon daemon{[](Peer&) {}};
  const Client client{daemon.socket_path().c_str()};
  const std::string longest(GWCONF_TEXT_MAX - 1, 'v');
  for (int i = 0; i < 300; ++i)
    EXPECT_EQ(client.set_value(longest, longest), GWCONF_E_CLOSED);
  EXPECT_EQ(raised, 0);
  sigaction(SIGPIPE, &before, nullptr);
}

TEST(Connection, ReadsTheAnswerOfADaemonThatLeftArgumentsUnread) {
  const FakeDaemon daemon{[](Peer& peer) {
    peer.read();
    peer.read();
    peer.answer("2");
  }};
  const Client client{daemon.socket_path().c_str()};
  for (int i = 0; i < 100; ++i)
    EXPECT_EQ(client.set_attribute("InternetGatewayDevice.Nothing", 6, true), GWCONF_NOT_FOUND);
}

TEST(Connection, EndOfStreamBeforeTheResultIsNoResult) {
  EXPECT_EQ(code_of_get(""), GWCONF_E_CLOSED);
  EXPECT_EQ(code_of_get(test::message("gateway")), GWCONF_E_CLOSED);
}

TEST(Connection, AMessageThatBreaksOffIsAProtocolError) {
  EXPECT_EQ(code_of_get(test::length_of(8).substr(0, 1)), GWCONF_E_PROTOCOL);
  EXPECT_EQ(code_of_get(test::length_of(8).substr(0, 3)), GWCONF_E_PROTOCOL);
  EXPECT_EQ(code_of_get(test::length_of(8)), GWCONF_E_PROTOCOL);
  EXPECT_EQ(code_of_get(test::length_of(8) + "gateway"), GWCONF_E_PROTOCOL);
  EXPECT_EQ(code_of_get(test::message("gateway") + test::length_of(2) + "0"), GWCONF_E_PROTOCOL);
}

TEST(Connection, LengthsOutOfRangeAreProtocolErrors) {
  EXPECT_EQ(code_of_get(test::length_of(0)), GWCONF_E_PROTOCOL);
  EXPECT_EQ(code_of_get(test::length_of(-1)), GWCONF_E_PROTOCOL);
  EXPECT_EQ(code_of_get(test::length_of(INT_MIN)), GWCONF_E_PROTOCOL);
  EXPECT_EQ(code_of_get(test::length_of(INT_MAX)), GWCONF_E_PROTOCOL);
  EXPECT_EQ(code_of_get(test::length_of(GWCONF_ANSWER_MAX + 1)), GWCONF_E_PROTOCOL);
  EXPECT_EQ(code_of_get("HTTP/1.1 400 Bad Request\r\n\r\n"), GWCONF_E_PROTOCOL);
}

TEST(Connection, ABodyWithoutItsNulIsAProtocolError) {
  EXPECT_EQ(code_of_get(test::length_of(7) + "gateway" + test::message("0")), GWCONF_E_PROTOCOL);
}

TEST(Connection, AnEndlessAnswerIsCutOff) {
  const FakeDaemon daemon{[](Peer& peer) {
    peer.read();
    const std::string megabyte = test::message(std::string(1024 * 1024, 'x'));
    for (int i = 0; i < 70; ++i)
      peer.send_bytes(megabyte);
    peer.answer("0");
  }};
  EXPECT_EQ(Client{daemon.socket_path().c_str()}.call(99, {}).code, GWCONF_E_PROTOCOL);
}

TEST(Connection, ClosesOnExec) {
  std::vector<std::string> kept;
  const FakeDaemon daemon{[&kept](Peer& peer) {
    peer.read();
    const std::string folder = "/proc/self/fd/";
    DIR* entries = opendir(folder.c_str());
    while (const dirent* entry = readdir(entries)) {
      const int number = atoi(entry->d_name);
      char target[64] = "";
      if (readlink((folder + entry->d_name).c_str(), target, sizeof target - 1) > 0 && number > 2 &&
          std::string{target}.starts_with("socket:") && (fcntl(number, F_GETFD) & FD_CLOEXEC) == 0)
        kept.push_back(std::string{entry->d_name} + " " + target);
    }
    closedir(entries);
    peer.answer("0");
  }};
  EXPECT_EQ(Client{daemon.socket_path().c_str()}.commit(), GWCONF_OK);
  EXPECT_EQ(kept, std::vector<std::string>{});
}

}  // namespace
}  // namespace gwconf
