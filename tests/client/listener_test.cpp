#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <signal.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gwconf/client.hpp"
#include "tests/client/fake_daemon.h"

namespace gwconf {
namespace {

using namespace std::chrono_literals;
using test::FakeDaemon;
using test::Peer;
using testing::ElementsAre;
using testing::IsEmpty;

/// Takes a registration the way the daemon does: the file is created or emptied.
void accept_registration(Peer& peer) {
  for (int i = 0; i < 3; ++i)
    peer.read();
  const std::string file = peer.read();
  FILE* stream = std::fopen(file.c_str(), "w+");
  if (stream) std::fclose(stream);
  peer.answer(stream ? "0" : "-100");
}

/// Appends one line the way the daemon does, and sends the signal. What the lock needs is another
/// process.
bool append_line(const std::string& file, const std::string& line) {
  FILE* stream = std::fopen(file.c_str(), "a+");
  if (!stream || lockf(fileno(stream), F_LOCK, 0) != 0) return false;
  std::fputs(line.c_str(), stream);
  std::fflush(stream);
  const bool unlocked = lockf(fileno(stream), F_ULOCK, 0) == 0;
  std::fclose(stream);
  return unlocked;
}

class ListenerTest : public testing::Test {
 protected:
  void open() {
    listener = std::make_unique<Listener>(client);
    ASSERT_EQ(listener->code(), GWCONF_OK);
    file = daemon.request().at(3);
    take();
  }

  /// The changes that are there, as "parameter=notification"; other codes as such.
  std::vector<std::string> take() {
    std::vector<std::string> changes;
    for (;;) {
      const Result<std::optional<Change>> result = listener->next();
      if (!result)
        changes.push_back("code " + std::to_string(result.code));
      else if (result.value)
        changes.push_back(result.value->parameter + "=" +
                          std::to_string(result.value->notification));
      else
        return changes;
      if (changes.size() > 100000) return changes;
    }
  }

  bool readable(int milliseconds = 0) const {
    pollfd entry{listener->fd(), POLLIN, 0};
    return poll(&entry, 1, milliseconds) == 1;
  }

  FakeDaemon daemon{accept_registration};
  Client client{daemon.socket_path().c_str()};
  std::unique_ptr<Listener> listener;
  std::string file;
};

TEST_F(ListenerTest, RegistersThisProcessWithAHarmlessSignal) {
  open();
  const test::RequestTexts request = daemon.request();
  EXPECT_EQ(request.at(0), "33");
  EXPECT_EQ(request.at(1), std::to_string(getpid()));
  EXPECT_EQ(request.at(2), std::to_string(SIGURG));
  EXPECT_EQ(kill(getpid(), SIGURG), 0);
}

TEST_F(ListenerTest, DeliversEachLineOnceAndInOrder) {
  open();
  EXPECT_FALSE(readable());
  ASSERT_TRUE(append_line(file, "Device.A,Passive\n"));
  ASSERT_TRUE(append_line(file, "Device.B,Active\n"));
  ASSERT_TRUE(append_line(file, "Device.C,None\n"));
  EXPECT_TRUE(readable(1000));
  EXPECT_THAT(take(), ElementsAre("Device.A=1", "Device.B=2", "Device.C=0"));
  EXPECT_FALSE(readable());
  EXPECT_THAT(take(), IsEmpty());
  ASSERT_TRUE(append_line(file, "Device.A,Passive\n"));
  EXPECT_TRUE(readable(1000));
  EXPECT_THAT(take(), ElementsAre("Device.A=1"));
}

TEST_F(ListenerTest, StaysReadableUntilNothingIsLeft) {
  open();
  ASSERT_TRUE(append_line(file, "Device.A,None\nDevice.B,None\n"));
  ASSERT_TRUE(readable(1000));
  EXPECT_EQ(listener->next().value->parameter, "Device.A");
  ASSERT_TRUE(readable());
  EXPECT_EQ(listener->next().value->parameter, "Device.B");
  ASSERT_TRUE(readable());
  EXPECT_EQ(listener->next().value, std::nullopt);
  EXPECT_FALSE(readable());
}

TEST_F(ListenerTest, EmptiesTheFileAsItReads) {
  open();
  ASSERT_TRUE(append_line(file, "Device.A,None\n"));
  EXPECT_EQ(std::filesystem::file_size(file), 14U);
  EXPECT_THAT(take(), ElementsAre("Device.A=0"));
  EXPECT_EQ(std::filesystem::file_size(file), 0U);
}

TEST_F(ListenerTest, ReadsMoreThanItsBufferHolds) {
  open();
  const std::string parameter = "Device." + std::string(30000, 'x');
  std::vector<std::string> expected;
  for (int i = 0; i < 10; ++i) {
    ASSERT_TRUE(append_line(file, parameter + std::to_string(i) + ",Active\n"));
    expected.push_back(parameter + std::to_string(i) + "=2");
  }
  EXPECT_TRUE(take() == expected);
  EXPECT_EQ(std::filesystem::file_size(file), 0U);
}

TEST_F(ListenerTest, WaitsForTheRestOfALine) {
  open();
  ASSERT_TRUE(append_line(file, "Device.A,Pas"));
  EXPECT_THAT(take(), IsEmpty());
  ASSERT_TRUE(append_line(file, "sive\n"));
  EXPECT_THAT(take(), ElementsAre("Device.A=1"));
}

TEST_F(ListenerTest, PassesOverLinesThatAreNoChange) {
  open();
  ASSERT_TRUE(append_line(file, "Device.A\nDevice.B,Loud\n,None\n\nDevice.C,None\n"));
  EXPECT_THAT(take(),
              ElementsAre("code -1005", "code -1005", "code -1005", "code -1005", "Device.C=0"));
  ASSERT_TRUE(append_line(file, std::string(70000, 'x')));
  EXPECT_THAT(take(), ElementsAre("code -1005"));
}

TEST_F(ListenerTest, KeepsCommasOfThePath) {
  open();
  ASSERT_TRUE(append_line(file, "Get,Parameter URI fail,None\n"));
  EXPECT_THAT(take(), ElementsAre("Get,Parameter URI fail=0"));
}

TEST_F(ListenerTest, NoticesThatTheFileWasEmptiedByAnother) {
  open();
  const std::string parameter = "Device." + std::string(30000, 'x');
  for (int i = 0; i < 10; ++i)
    ASSERT_TRUE(append_line(file, parameter + ",Active\n"));
  EXPECT_EQ(listener->next().value->parameter, parameter);
  std::ofstream{file}.close();
  ASSERT_TRUE(append_line(file, "Device.B,None\n"));
  EXPECT_THAT(take(), ElementsAre(parameter + "=2", "Device.B=0"));
}

TEST_F(ListenerTest, WaitsForTheWritersLock) {
  open();
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t writer = fork();
  if (writer == 0) {
    // A line in two halves under one lock, with time between them for a reader that does not wait.
    FILE* stream = std::fopen(file.c_str(), "a+");
    bool good = stream && lockf(fileno(stream), F_LOCK, 0) == 0;
    std::fputs("Device.A,None\nDevice.B", stream);
    std::fflush(stream);
    good = good && write(ready[1], "x", 1) == 1;
    usleep(150000);
    std::fputs(",Active\n", stream);
    std::fflush(stream);
    good = good && lockf(fileno(stream), F_ULOCK, 0) == 0;
    _exit(good ? 0 : 1);
  }
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  EXPECT_THAT(take(), ElementsAre("Device.A=0", "Device.B=2"));
  int status = -1;
  ASSERT_EQ(waitpid(writer, &status, 0), writer);
  EXPECT_EQ(status, 0);
  close(ready[0]);
  close(ready[1]);
}

TEST_F(ListenerTest, LosesNothingOfABusyWriter) {
  open();
  constexpr int kLines = 2000;
  const pid_t writer = fork();
  if (writer == 0) {
    bool good = true;
    for (int i = 0; i < kLines; ++i)
      good = append_line(file, "Device." + std::to_string(i) + ",Passive\n") && good;
    _exit(good ? 0 : 1);
  }
  std::vector<std::string> got;
  while (got.size() < kLines && readable(10000))
    for (std::string& change : take())
      got.push_back(std::move(change));
  int status = -1;
  ASSERT_EQ(waitpid(writer, &status, 0), writer);
  EXPECT_EQ(status, 0);
  ASSERT_EQ(got.size(), static_cast<std::size_t>(kLines));
  for (int i = 0; i < kLines; ++i)
    ASSERT_EQ(got.at(static_cast<std::size_t>(i)), "Device." + std::to_string(i) + "=1");
}

TEST_F(ListenerTest, LeavesTheProgramsHandlersAlone) {
  static volatile sig_atomic_t handled = 0;
  struct sigaction mine {};
  mine.sa_handler = [](int) { handled = handled + 1; };
  struct sigaction before {};
  ASSERT_EQ(sigaction(SIGUSR1, &mine, &before), 0);
  {
    const Listener chosen{client, SIGUSR1};
    ASSERT_EQ(chosen.code(), GWCONF_OK);
    EXPECT_EQ(daemon.request().at(2), std::to_string(SIGUSR1));
    ASSERT_EQ(kill(getpid(), SIGUSR1), 0);
  }
  EXPECT_EQ(handled, 1);
  struct sigaction after {};
  ASSERT_EQ(sigaction(SIGUSR1, &before, &after), 0);
  EXPECT_EQ(after.sa_handler, mine.sa_handler);
}

TEST_F(ListenerTest, IsPrivateAndClosedOnExec) {
  open();
  struct stat status {};
  ASSERT_EQ(stat(std::filesystem::path{file}.parent_path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0700U);
  ASSERT_EQ(stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
  EXPECT_NE(fcntl(listener->fd(), F_GETFD) & FD_CLOEXEC, 0);
  for (const auto& entry : std::filesystem::directory_iterator{"/proc/self/fd"}) {
    std::error_code ignored;
    if (std::filesystem::read_symlink(entry.path(), ignored) == file) {
      EXPECT_NE(fcntl(std::stoi(entry.path().filename()), F_GETFD) & FD_CLOEXEC, 0);
    }
  }
}

TEST_F(ListenerTest, ClosingTakesTheDaemonsMeansToGoOn) {
  open();
  listener.reset();
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path{file}.parent_path()));
  EXPECT_FALSE(append_line(file, "Device.A,None\n"));
}

TEST_F(ListenerTest, AChildsCloseLeavesTheFolder) {
  open();
  const pid_t child = fork();
  if (child == 0) {
    listener.reset();
    _exit(0);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  ASSERT_TRUE(append_line(file, "Device.A,None\n"));
  EXPECT_THAT(take(), ElementsAre("Device.A=0"));
}

TEST_F(ListenerTest, LivesBelowTmpdir) {
  char folder[] = "/tmp/gwconf-tmpdir.XXXXXX";
  ASSERT_NE(mkdtemp(folder), nullptr);
  setenv("TMPDIR", folder, 1);
  open();
  unsetenv("TMPDIR");
  EXPECT_TRUE(file.starts_with(folder)) << file;
  listener.reset();
  EXPECT_TRUE(std::filesystem::is_empty(folder));
  rmdir(folder);
}

TEST_F(ListenerTest, DoesNotTakeARelativeTmpdir) {
  setenv("TMPDIR", "relative", 1);
  open();
  unsetenv("TMPDIR");
  EXPECT_TRUE(file.starts_with("/tmp/gwconf-")) << file;
}

TEST(Listener, NeedsAFolder) {
  const FakeDaemon daemon{accept_registration};
  const Client client{daemon.socket_path().c_str()};
  setenv("TMPDIR", "/tmp/gwconf-no-such-folder", 1);
  const Listener none{client};
  EXPECT_EQ(none.code(), GWCONF_E_SYSTEM);
  EXPECT_EQ(errno, ENOENT);
  setenv("TMPDIR", ("/" + std::string(600, 'x')).c_str(), 1);
  const Listener longer{client};
  EXPECT_EQ(longer.code(), GWCONF_E_SYSTEM);
  EXPECT_EQ(errno, ENAMETOOLONG);
  unsetenv("TMPDIR");
  EXPECT_THAT(daemon.requests(), IsEmpty());
}

TEST(Listener, ARefusalLeavesNothingBehind) {
  std::string file;
  const FakeDaemon daemon{[&file](Peer& peer) {
    for (int i = 0; i < 3; ++i)
      peer.read();
    file = peer.read();
    peer.answer("-100");
  }};
  const Client client{daemon.socket_path().c_str()};
  const Listener listener{client};
  EXPECT_EQ(listener.code(), GWCONF_INVALID);
  EXPECT_EQ(listener.fd(), -1);
  EXPECT_EQ(daemon.requests().size(), 1U);
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path{file}.parent_path()));
}

TEST(Listener, MissingArguments) {
  gwconf_listener* listener = nullptr;
  gwconf_change change{};
  EXPECT_EQ(gwconf_listener_open(nullptr, 0, &listener), GWCONF_E_ARGUMENT);
  const Client client{"/tmp/gwconf-nobody"};
  EXPECT_EQ(gwconf_listener_open(client.handle(), -1, &listener), GWCONF_E_ARGUMENT);
  EXPECT_EQ(gwconf_listener_open(client.handle(), 0, nullptr), GWCONF_E_ARGUMENT);
  EXPECT_EQ(gwconf_listener_open(client.handle(), 0, &listener), GWCONF_E_CONNECT);
  EXPECT_EQ(listener, nullptr);
  EXPECT_EQ(gwconf_listener_next(nullptr, &change), GWCONF_E_ARGUMENT);
  EXPECT_EQ(gwconf_listener_next(nullptr, nullptr), GWCONF_E_ARGUMENT);
  EXPECT_EQ(gwconf_listener_fd(nullptr), -1);
  gwconf_listener_close(nullptr);
}

}  // namespace
}  // namespace gwconf
