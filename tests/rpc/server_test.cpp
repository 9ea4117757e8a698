#include "rpc/server.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <grp.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "core/paths.h"
#include "daemon/startup.h"
#include "platform/recall.h"
#include "rpc/commands.h"
#include "rpc/instance_commands.h"
#include "rpc/peer.h"
#include "rpc/request.h"
#include "rpc/request_time.h"
#include "tests/rpc/request_fixture.h"
#include "tests/rpc/server_process.h"
#include "tests/rpc/simulated_time.h"
#include "tests/rpc/system_log.h"
#include "tests/support/sandbox.h"
#include "tests/support/tree_builder.h"

namespace {

bool listen_fails = false;

/// Runs where the socket is bound and nobody can connect yet.
std::function<void()> at_listen;

}  // namespace

extern "C" {

int __real_listen(int fd, int backlog);

/// Stands in for the C library's, by the linker.
int __wrap_listen(int fd, int backlog) {
  if (at_listen) at_listen();
  return listen_fails ? -1 : __real_listen(fd, backlog);
}

}  // extern "C"

namespace gwconf {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using test::ask;
using test::Client;
using test::eventually;
using test::framed;
using test::message;
using test::messages;
using test::open_descriptors;
using test::ServerProcess;

using Texts = std::vector<std::string>;

constexpr const char* kTree = R"(
InternetGatewayDevice.
  Summary = gateway
  Host.
    0. [1]
      Name = new
)";

const std::string kSummary = "InternetGatewayDevice.Summary";

class Server : public test::RequestTest {
 protected:
  void SetUp() override {
    RequestTest::SetUp();
    load(kTree);
  }

  const std::string socket_path = paths().socket;
};

/// An unreadable request: its length says so.
std::string unreadable() {
  return framed(0, "");
}

// --- The start ---

TEST_F(Server, TheSocketIsForItsOwnerAndGroup) {
  for (const mode_t mask : {0U, 022U, 077U, 0777U}) {
    ServerProcess server{[mask] { umask(mask); }};
    struct stat file {};
    ASSERT_EQ(stat(socket_path.c_str(), &file), 0);
    EXPECT_EQ(file.st_mode, S_IFSOCK | mode_t{0660});
    // What else the service makes has the usual access.
    EXPECT_EQ(std::stoul(server.status("Umask"), nullptr, 8), mask);
    EXPECT_EQ(server.stop(), 0);
  }
}

TEST_F(Server, WhatIsLeftAtTheSocketsPathIsReplaced) {
  test::write_file(socket_path, "left");
  {
    ServerProcess server;
    EXPECT_EQ(ask({"2", kSummary}), (Texts{"gateway", "0"}));
  }
  // The service was killed: its socket is still there, and nobody listens.
  ASSERT_TRUE(test::file_exists(socket_path));
  ServerProcess server;
  EXPECT_EQ(ask({"2", kSummary}), (Texts{"gateway", "0"}));
}

TEST_F(Server, WithoutBindingItDoesNotStart) {
  std::filesystem::create_directories(socket_path + "/inside");
  const mode_t mask = umask(022);
  EXPECT_EQ(CM_RPC_ServerStart(), 11);
  EXPECT_EQ(umask(mask), mode_t{022});
  EXPECT_TRUE(std::filesystem::is_directory(socket_path));
}

TEST_F(Server, WithoutASocketItDoesNotStartAndLeavesNone) {
  test::write_file(socket_path, "left");
  int result = 0;
  test::without_descriptors([&] { result = CM_RPC_ServerStart(); });
  EXPECT_EQ(result, 11);
  EXPECT_FALSE(test::file_exists(socket_path));
}

TEST_F(Server, WithoutListeningItDoesNotStartAndLeavesNoSocket) {
  listen_fails = true;
  EXPECT_EQ(CM_RPC_ServerStart(), 11);
  listen_fails = false;
  EXPECT_FALSE(test::file_exists(socket_path));
}

// --- Whose the socket is ---

TEST_F(Server, AStopLeavesTheSocketOfALaterServiceAlone) {
  ServerProcess older;
  const Client last;  // is served by the older one, which waits for its request
  std::filesystem::remove(socket_path);
  ServerProcess newer;
  last.send_request({"28"});
  EXPECT_EQ(older.wait(), 0);
  EXPECT_EQ(ask({"2", kSummary}), (Texts{"gateway", "0"}));
  EXPECT_EQ(newer.stop(), 0);
  EXPECT_FALSE(test::file_exists(socket_path));
}

TEST_F(Server, AFailedStartLeavesTheSocketOfALaterServiceAlone) {
  listen_fails = true;
  at_listen = [this] {
    std::filesystem::remove(socket_path);
    test::write_file(socket_path, "another's");
  };
  EXPECT_EQ(CM_RPC_ServerStart(), 11);
  at_listen = {};
  listen_fails = false;
  EXPECT_EQ(test::read_file(socket_path), "another's");
}

TEST_F(Server, BehindItsEndNoSocketIsItsOwn) {
  listen_fails = true;
  EXPECT_EQ(CM_RPC_ServerStart(), 11);
  listen_fails = false;
  test::write_file(socket_path, "another's");  // may have the file number of the one before
  remove_own_socket();
  EXPECT_EQ(test::read_file(socket_path), "another's");
}

/// Starts the service and has it terminated as soon as it is bound.
[[noreturn]] void terminate_at_listen(const std::function<void()>& before) {
  at_listen = [&] {
    before();
    CM_CORE_Terminate(SIGTERM);
  };
  _exit(CM_RPC_ServerStart());
}

TEST_F(Server, TerminationRemovesTheSocket) {
  EXPECT_EXIT(terminate_at_listen([] {}), testing::ExitedWithCode(1), "");
  EXPECT_FALSE(test::file_exists(socket_path));
}

TEST_F(Server, TerminationLeavesTheSocketOfALaterServiceAlone) {
  const auto take_over = [this] {
    std::filesystem::remove(socket_path);
    test::write_file(socket_path, "another's");
  };
  EXPECT_EXIT(terminate_at_listen(take_over), testing::ExitedWithCode(1), "");
  EXPECT_EQ(test::read_file(socket_path), "another's");
}

TEST_F(Server, TerminationNeedsNoSocket) {
  EXPECT_EXIT(terminate_at_listen([this] { std::filesystem::remove(socket_path); }),
              testing::ExitedWithCode(1), "");
}

TEST_F(Server, TerminationDoesNotActForAClientAnyMore) {
  if (const char* reason = test::no_strangers()) GTEST_SKIP() << reason;
  static_cast<void>(folder_of_stranger());
  const Peer stranger{.is_known = true,
                      .user = test::kStranger,
                      .group = test::kStranger,
                      .groups = {},
                      .group_count = 0};
  EXPECT_EXIT(terminate_at_listen([&] {
                new ActingFor{stranger};
                if (unlink(socket_path.c_str()) == 0) _exit(2);
              }),
              testing::ExitedWithCode(1), "");
  EXPECT_FALSE(test::file_exists(socket_path));
}

TEST_F(Server, TheTableAndTheLogAreMadeAtTheStart) {
  std::filesystem::create_directories(socket_path + "/inside");  // it ends at once
  CM_RPC_PROCESS_FUNCTABLE.fill(nullptr);
  cm_log_priority = 0;
  int priority_at_open = -1;
  test::system_log().on_open = [&] { priority_at_open = cm_log_priority; };
  EXPECT_EQ(CM_RPC_ServerStart(), 11);
  EXPECT_EQ(test::system_log().times_opened, 1);
  EXPECT_EQ(test::system_log().identity, "[CONFIG]");
  EXPECT_EQ(test::system_log().options, 0);
  EXPECT_EQ(test::system_log().facility, LOG_USER);
  EXPECT_EQ(priority_at_open, 4);
  EXPECT_EQ(cm_log_priority, 4);
  for (std::size_t i = 0; i < 34; ++i)
    EXPECT_EQ(CM_RPC_PROCESS_FUNCTABLE[i] == nullptr, i == 28) << i;
}

// --- One request after the other ---

TEST_F(Server, TheResultIsTheLastMessageOfTheConnection) {
  ServerProcess server;
  EXPECT_EQ(ask({"2", kSummary}), (Texts{"gateway", "0"}));
  EXPECT_EQ(ask({"25", kSummary}), (Texts{"gateway", "0"}));
  EXPECT_EQ(ask({"2", "InternetGatewayDevice."}), (Texts{"", "-100"}));
  EXPECT_EQ(ask({"2", "InternetGatewayDevice.Nothing"}), (Texts{"", "2"}));
  EXPECT_EQ(ask({"0", kSummary, "gateway"}), Texts{"1"});
  EXPECT_EQ(ask({"0", kSummary, "new"}), Texts{"0"});
  EXPECT_EQ(ask({"2", kSummary}), (Texts{"new", "0"}));
  EXPECT_EQ(ask({"16", "InternetGatewayDevice."}), (Texts{"0", "0"}));
  EXPECT_EQ(ask({"22"}).size(), 12u);
  for (const char* number : {"34", "99", "-1"})
    EXPECT_EQ(ask({number}), Texts{"-100"}) << number;
  EXPECT_EQ(server.stop(), 0);
}

TEST_F(Server, AFailedWriterTravelsAsAByte) {
  load("A.\n  B [8] = " + std::string(3000, 'x') + "\n");
  ServerProcess server;
  EXPECT_EQ(ask({"19"}), Texts{"156"});
}

TEST_F(Server, ClientsAreServedStrictlyOneAfterAnother) {
  ServerProcess server;
  const Client first;
  const Client second;
  second.send_request({"2", kSummary});
  EXPECT_FALSE(second.hears_within(300));
  first.send_request({"0", kSummary, "from the first"});
  EXPECT_EQ(first.answers(), Texts{"0"});
  EXPECT_EQ(second.answers(), (Texts{"from the first", "0"}));
}

TEST_F(Server, SixteenMoreWaitInTheBacklog) {
  ServerProcess server;
  auto busy = std::make_unique<Client>();
  std::this_thread::sleep_for(100ms);  // it is being served: nothing of it has come
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, paths().socket, sizeof address.sun_path - 1);
  std::vector<int> waiting;
  int error = 0;
  while (error == 0 && waiting.size() < 100) {
    waiting.push_back(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (connect(waiting.back(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
      error = errno;
  }
  EXPECT_EQ(error, EAGAIN);
  // The kernel lets one more in than the backlog says; the last one here was refused.
  EXPECT_EQ(waiting.size(), 16u + 1 + 1);
  for (const int fd : waiting)
    close(fd);
  busy.reset();
  EXPECT_EQ(ask({"2", kSummary}), (Texts{"gateway", "0"}));
}

TEST_F(Server, AClientThatDoesNotTakeItsAnswersHurtsNobodyElse) {
  ServerProcess server;
  for (int i = 0; i < 20; ++i) {
    const Client client;
    client.send_request({"22"});
  }
  EXPECT_EQ(ask({"2", kSummary}), (Texts{"gateway", "0"}));
  // A write to a client that has gone must not end the process.
  constexpr unsigned long kPipe = 1UL << (SIGPIPE - 1);
  EXPECT_NE(std::stoul(server.status("SigIgn"), nullptr, 16) & kPipe, 0u);
}

TEST_F(Server, TheTemporaryFileOfAnExportHasNoName) {
  std::string outline = "A.\n  T.\n";
  for (int i = 1; i <= 10'000; ++i)
    outline += "    " + std::to_string(i) + ". [1]\n      P = " + std::to_string(i) + "\n";
  load(outline);
  ServerProcess server;
  {
    const Client client;
    client.send_request({"31", "A."});
    // Nobody reads: the service stands in the middle of its answer.
    EXPECT_TRUE(eventually([&] {
      for (const auto& fd :
           std::filesystem::directory_iterator{"/proc/" + std::to_string(server.pid()) + "/fd"}) {
        std::error_code gone;
        const std::string target = std::filesystem::read_symlink(fd, gone).string();
        if (target.ends_with(" (deleted)")) return true;
      }
      return false;
    }));
  }
  EXPECT_EQ(ask({"34"}), Texts{"-100"});
}

TEST_F(Server, DescriptorsAreClosedAfterEachRequest) {
  ServerProcess server;
  const std::size_t before = open_descriptors(server.pid());
  for (int i = 0; i < 200; ++i) {
    EXPECT_EQ(ask({"31", "InternetGatewayDevice."}).size(), 2u);
    EXPECT_EQ(ask({"34"}), Texts{"-100"});
  }
  EXPECT_EQ(open_descriptors(server.pid()), before);
}

TEST_F(Server, ASilentClientIsServedAsCommandZeroWithoutAPath) {
  ServerProcess server{[] { new test::SimulatedTime; }};
  const Client client;
  EXPECT_EQ(client.answers(), Texts{"2"});
}

/// Reads an argument when the request's time is nearly over.
Status read_late(int fd, char* buf) {
  test::SimulatedTime time;
  start_request_time();
  time.advance(29'999);
  return read_argument(fd, buf) ? CM_OK : CM_UNREADABLE;
}

TEST_F(Server, AfterThirtySecondsTheConnectionIsClosed) {
  ServerProcess server{
      [] { test::system_log().on_open = [] { CM_RPC_PROCESS_FUNCTABLE[28] = read_late; }; }};
  const std::size_t before = open_descriptors(server.pid());
  const Client client;
  client.send(message("28"));
  EXPECT_TRUE(client.hears_within(10'000));
  EXPECT_TRUE(client.is_closed());
  EXPECT_TRUE(eventually([&] { return open_descriptors(server.pid()) == before; }));
}

TEST_F(Server, AHandlersStopEndsTheService) {
  ServerProcess server;
  Client parked;
  parked.send(unreadable());
  Client stopping;
  stopping.send_request({"28"});
  EXPECT_EQ(server.wait(), 0);
  EXPECT_EQ(stopping.answers(), Texts{});  // no result is sent
  EXPECT_FALSE(test::file_exists(socket_path));
}

Status stop_service(int /*fd*/, char* /*buf*/) {
  return CM_STOP;
}

/// Whether a client can connect.
bool is_listening() {
  try {
    const Client client;
    return true;
  } catch (const std::runtime_error&) {
    return false;
  }
}

TEST_F(Server, AfterAStopOnlyTheConnectionThatAskedForItIsLeftOpen) {
  test::Detached service{[] {
    test::system_log().on_open = [] { CM_RPC_PROCESS_FUNCTABLE[28] = stop_service; };
    const std::size_t before = open_descriptors(getpid());
    const int result = CM_RPC_ServerStart();
    return "result " + std::to_string(result) + ", " +
           std::to_string(open_descriptors(getpid()) - before) + " more open";
  }};
  ASSERT_TRUE(eventually(is_listening));
  const Client parked;
  parked.send(unreadable());
  const Client stopping;
  stopping.send_request({"28"});
  EXPECT_EQ(service.text(), "result 0, 1 more open");
}

// --- The recall table ---

int recalled = -1;

void tell_recall() {
  static_cast<void>(!write(recalled, "r", 1));
}

TEST_F(Server, RecallFunctionsRunBeforeAnythingIsRead) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
  {
    ServerProcess server{[&] {
      recalled = ends[1];
      platform_fn_recall_tab[0] = {tell_recall, 1, 0};
    }};
    char byte = 0;
    EXPECT_EQ(read(ends[0], &byte, 1), -1);  // the first scan only starts the clock
    std::this_thread::sleep_for(2100ms);
    const Client client;
    EXPECT_TRUE(eventually([&] { return read(ends[0], &byte, 1) == 1; }));
    client.send_request({"2", kSummary});
    EXPECT_EQ(client.answers(), (Texts{"gateway", "0"}));
  }
  close(ends[0]);
  close(ends[1]);
}

// --- Unreadable requests ---

TEST_F(Server, AnUnreadableRequestGetsNeitherAnAnswerNorAnEnd) {
  ServerProcess server;
  for (const std::string& request :
       {unreadable(), framed(-1, "x"), framed(32770, "x"), "\x01"s, messages({"0", kSummary}),
        message("1"), messages({"12", "InternetGatewayDevice.Host."})}) {
    Client client;
    client.send(request);
    shutdown(client.fd(), SHUT_WR);
    EXPECT_EQ(ask({"34"}), Texts{"-100"});  // it was served
    EXPECT_FALSE(client.hears_within(0)) << request.size();
  }
}

TEST_F(Server, AnUnreadablePathStillGetsItsEmptyAnswer) {
  ServerProcess server;
  Client client;
  client.send(message("2") + unreadable());
  ASSERT_TRUE(client.hears_within(2000));
  char bytes[16] = {};
  EXPECT_EQ(recv(client.fd(), bytes, sizeof bytes, 0), 5);
  EXPECT_EQ((std::string{bytes, 5}), message(""));
  EXPECT_FALSE(client.hears_within(200));
}

TEST_F(Server, AConnectionThatIsClosedAtOnceIsLetGo) {
  ServerProcess server;
  const std::size_t before = open_descriptors(server.pid());
  for (int i = 0; i < 100; ++i)
    const Client client;
  EXPECT_TRUE(eventually([&] { return open_descriptors(server.pid()) == before; }));
  EXPECT_EQ(ask({"2", kSummary}), (Texts{"gateway", "0"}));
}

TEST_F(Server, AParkedConnectionIsClosedWhenItsPeerClosesIt) {
  ServerProcess server;
  const std::size_t before = open_descriptors(server.pid());
  std::vector<std::unique_ptr<Client>> clients;
  for (int i = 0; i < 10; ++i) {
    clients.push_back(std::make_unique<Client>());
    clients.back()->send(unreadable());
  }
  EXPECT_TRUE(eventually([&] { return open_descriptors(server.pid()) == before + 10; }));
  // In any order, and without another request to wake the service.
  for (const std::size_t gone : {3U, 0U, 9U, 4U}) {
    clients[gone].reset();
    EXPECT_TRUE(eventually([&] {
      std::size_t open = 0;
      for (const auto& client : clients)
        open += client ? 1 : 0;
      return open_descriptors(server.pid()) == before + open;
    }));
  }
  for (const auto& client : clients)
    if (client) {
      EXPECT_FALSE(client->hears_within(0));
    }
  EXPECT_EQ(ask({"2", kSummary}), (Texts{"gateway", "0"}));
}

TEST_F(Server, SixtyFourConnectionsAreParkedAndTheOldestGoesFirst) {
  ServerProcess server;
  const std::size_t before = open_descriptors(server.pid());
  std::vector<std::unique_ptr<Client>> clients;
  const auto park = [&] {
    clients.push_back(std::make_unique<Client>());
    clients.back()->send(unreadable());
    EXPECT_EQ(ask({"34"}), Texts{"-100"});
  };
  for (int i = 0; i < 64; ++i)
    park();
  EXPECT_EQ(open_descriptors(server.pid()), before + 64);
  for (const auto& client : clients)
    EXPECT_FALSE(client->hears_within(0));
  park();
  EXPECT_EQ(open_descriptors(server.pid()), before + 64);
  for (std::size_t i = 0; i < clients.size(); ++i)
    EXPECT_EQ(clients[i]->is_closed(), i == 0) << i;
  // One that goes by itself makes room.
  clients[40].reset();
  park();
  EXPECT_EQ(open_descriptors(server.pid()), before + 64);
  park();
  for (std::size_t i = 1; i < clients.size(); ++i)
    if (clients[i]) {
      EXPECT_EQ(clients[i]->is_closed(), i == 1) << i;
    }
}

TEST_F(Server, AListenerThatIsTheServerItselfIsRefusedAndNeverSignalled) {
  ServerProcess server;
  const std::string file = sandbox("/tmp/changes");
  EXPECT_EQ(ask({"33", std::to_string(server.pid()), std::to_string(SIGKILL), file}),
            (Texts{"-100"}));
  EXPECT_EQ(ask({"0", kSummary, "changed"}), (Texts{"0"}));
  EXPECT_EQ(ask({"2", kSummary}), (Texts{"changed", "0"}));
  EXPECT_EQ(test::read_file(file), "");
}

// --- A client of another user ---

/// In a process of its own: gives up root for good.
void become_stranger() {
  if (setgroups(0, nullptr) != 0 || setgid(test::kStranger) != 0 || setuid(test::kStranger) != 0)
    throw std::runtime_error("still root");
}

TEST_F(Server, AClientOfTheSocketsGroupIsNotRoot) {
  if (const char* reason = test::no_strangers()) GTEST_SKIP() << reason;
  const std::string folder = folder_of_stranger();
  const std::string roots = sandbox("/tmp/roots");
  test::write_file(roots, "kept");
  ServerProcess server;
  const std::string victim = std::to_string(server.pid());
  std::filesystem::create_directory_symlink("/proc/" + victim, sandbox("/proc/" + victim));
  ASSERT_EQ(chown(socket_path.c_str(), 0, test::kStranger), 0);
  test::Detached client{[&] {
    become_stranger();
    return ask({"29", roots}).at(0) + " " + ask({"30", roots}).at(0) + " " +
           ask({"33", "1", "9", roots}).at(0) + " " + ask({"29", folder + "/own"}).at(0);
  }};
  EXPECT_EQ(client.text(), "-100 -100 -100 0");
  EXPECT_EQ(test::read_file(roots), "kept");
  EXPECT_EQ(server.stop(), 0);
}

TEST_F(Server, AClientOfTheSocketsGroupRegistersItself) {
  if (const char* reason = test::no_strangers()) GTEST_SKIP() << reason;
  const std::string folder = folder_of_stranger();
  ServerProcess server;
  ASSERT_EQ(chown(socket_path.c_str(), 0, test::kStranger), 0);
  ASSERT_EQ(chmod(sandbox("/proc").c_str(), 0777), 0);
  test::Detached client{[&] {
    become_stranger();
    const std::string self = std::to_string(getpid());
    std::filesystem::create_directory_symlink("/proc/" + self, sandbox("/proc/" + self));
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGUSR1);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    std::string heard = ask({"33", self, std::to_string(SIGUSR1), folder + "/changes"}).at(0);
    heard += " " + ask({"0", kSummary, "changed"}).at(0);
    constexpr timespec kPatience{10, 0};
    if (sigtimedwait(&set, nullptr, &kPatience) == SIGUSR1)
      heard += " " + test::read_file(folder + "/changes");
    return heard;
  }};
  EXPECT_EQ(client.text(), "0 0 InternetGatewayDevice.Summary,None\n");
  EXPECT_EQ(server.stop(), 0);
}

// --- No descriptor left ---

/// Limits the numbers of the descriptors that a process may open.
void limit_descriptors(pid_t pid, rlim_t limit) {
  rlimit both{};
  ASSERT_EQ(prlimit(pid, RLIMIT_NOFILE, nullptr, &both), 0);
  both.rlim_cur = limit;
  ASSERT_EQ(prlimit(pid, RLIMIT_NOFILE, &both, nullptr), 0);
}

/// The lowest number of a descriptor that is not open.
rlim_t first_free(pid_t pid) {
  rlim_t fd = 0;
  while (std::filesystem::exists(std::filesystem::symlink_status("/proc/" + std::to_string(pid) +
                                                                 "/fd/" + std::to_string(fd))))
    ++fd;
  return fd;
}

TEST_F(Server, ForANewClientParkedConnectionsAreGivenUp) {
  ServerProcess server;
  std::vector<std::unique_ptr<Client>> clients;
  for (int i = 0; i < 10; ++i) {
    clients.push_back(std::make_unique<Client>());
    clients.back()->send(unreadable());
  }
  EXPECT_EQ(ask({"2", kSummary}), (Texts{"gateway", "0"}));
  limit_descriptors(server.pid(), first_free(server.pid()));
  EXPECT_EQ(ask({"2", kSummary}), (Texts{"gateway", "0"}));
  for (std::size_t i = 0; i < clients.size(); ++i)
    EXPECT_EQ(clients[i]->is_closed(), i < 1) << i;
}

TEST_F(Server, ParkedConnectionsLeaveDescriptorsForWhatRequestsOpen) {
  ServerProcess server;
  limit_descriptors(server.pid(), first_free(server.pid()) + 6);
  std::vector<std::unique_ptr<Client>> clients;
  for (int i = 0; i < 10; ++i) {
    clients.push_back(std::make_unique<Client>());
    clients.back()->send(unreadable());
  }
  EXPECT_EQ(ask({"32", kSummary}).at(1), "0");
  EXPECT_EQ(ask({"19"}), (Texts{"0"}));
  // One or two are left, by whether a server that waits holds the next connection's already.
  for (std::size_t i = 0; i < 8; ++i)
    EXPECT_TRUE(clients[i]->is_closed()) << i;
  EXPECT_FALSE(clients.back()->is_closed());
}

double processor_seconds(pid_t pid) {
  std::string text = test::read_file("/proc/" + std::to_string(pid) + "/stat");
  text = text.substr(text.rfind(')') + 2);
  for (int i = 0; i < 11; ++i)
    text = text.substr(text.find(' ') + 1);
  std::size_t used = 0;
  const double user = std::stod(text, &used);
  return (user + std::stod(text.substr(used))) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

TEST_F(Server, WithoutAnyDescriptorItWaitsInPeaceUntilThereIsOne) {
  ServerProcess server;
  limit_descriptors(server.pid(), first_free(server.pid()));
  // A server that waits for a client already holds the descriptor for it: the next client is the
  // one that finds none.
  auto client = std::make_unique<Client>();
  client->send_request({"2", kSummary});
  const bool held_one = client->hears_within(500);
  if (held_one) {
    client = std::make_unique<Client>();
    client->send_request({"2", kSummary});
  }
  const double before = processor_seconds(server.pid());
  EXPECT_FALSE(client->hears_within(1000));
  EXPECT_LT(processor_seconds(server.pid()) - before, 0.2);
  limit_descriptors(server.pid(), 1024);
  EXPECT_EQ(client->answers(), (Texts{"gateway", "0"}));
}

TEST_F(Server, WithoutADescriptorForItsTemporaryFileAnExportFailsAlone) {
  ServerProcess server;
  limit_descriptors(server.pid(), first_free(server.pid()) + 1);
  EXPECT_EQ(ask({"31", "InternetGatewayDevice."}), (Texts{"", "4"}));
  EXPECT_EQ(ask({"32", kSummary}), (Texts{"", "4"}));
  EXPECT_EQ(ask({"2", kSummary}), (Texts{"gateway", "0"}));
  limit_descriptors(server.pid(), 1024);
  EXPECT_EQ(ask({"32", kSummary}).at(1), "0");
}

}  // namespace
}  // namespace gwconf
