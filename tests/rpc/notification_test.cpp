#include "rpc/notification.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "core/paths.h"
#include "protocol/limits.h"
#include "rpc/request_time.h"
#include "tests/rpc/request_fixture.h"
#include "tests/rpc/server_process.h"
#include "tests/rpc/simulated_time.h"
#include "tests/support/sandbox.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using namespace std::string_literals;
using test::parameter_at;
using test::read_file;
using test::Reply;
using test::serve;
using test::write_file;

constexpr const char* kTree = R"(
InternetGatewayDevice.
  Plain = a
  Off [32] = a
  Passive [64] = a
  Active [128] = a
  Both [192] = a
  HostNumberOfEntries = 1
  Host.
    0.
      Name =
    1. [1]
      Name = printer
)";

const std::string kRoot = "InternetGatewayDevice.";

class Notification : public test::RequestTest {
 protected:
  void SetUp() override {
    RequestTest::SetUp();
    load(kTree);
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGUSR1);
    sigaddset(&signals_, SIGRTMIN + 3);
    sigprocmask(SIG_BLOCK, &signals_, nullptr);
    take_signals();
  }
  void TearDown() override {
    take_signals();
    sigprocmask(SIG_UNBLOCK, &signals_, nullptr);
    RequestTest::TearDown();
  }

  /// Registers this process.
  void listen(int signal = SIGUSR1) const {
    ASSERT_EQ(serve({"33", std::to_string(getpid()), std::to_string(signal), file}),
              (Reply{{}, 0}));
  }

  static Reply set_value(const std::string& name, const std::string& value) {
    return serve({"0", kRoot + name, value});
  }

  /// The signals that have come in since the last call, by number.
  std::map<int, int> take_signals() {
    std::map<int, int> counts;
    constexpr timespec kNow{};
    for (int signal = 0; (signal = sigtimedwait(&signals_, nullptr, &kNow)) > 0;)
      ++counts[signal];
    return counts;
  }

  const std::string file = sandbox("/tmp/changes");

 private:
  sigset_t signals_ = {};
};

TEST_F(Notification, EachChangeIsALineWithItsWordAndASignal) {
  listen();
  EXPECT_EQ(set_value("Plain", "b"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), "InternetGatewayDevice.Plain,None\n");
  EXPECT_EQ(take_signals(), (std::map<int, int>{{SIGUSR1, 1}}));
  for (const char* name : {"Off", "Passive", "Active", "Both", "Host.1.Name"})
    EXPECT_EQ(set_value(name, "b"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file),
            "InternetGatewayDevice.Plain,None\n"
            "InternetGatewayDevice.Off,None\n"
            "InternetGatewayDevice.Passive,Passive\n"
            "InternetGatewayDevice.Active,Active\n"
            "InternetGatewayDevice.Both,Passive\n"  // the export says active
            "InternetGatewayDevice.Host.1.Name,None\n");
}

TEST_F(Notification, BothSetCommandsTell) {
  listen();
  EXPECT_EQ(serve({"23", kRoot + "Passive", "b"}), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), "InternetGatewayDevice.Passive,Passive\n");
  EXPECT_EQ(take_signals(), (std::map<int, int>{{SIGUSR1, 1}}));
}

TEST_F(Notification, ACounterThatIsSetTellsToo) {
  listen();
  EXPECT_EQ(set_value("HostNumberOfEntries", "4"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), "InternetGatewayDevice.HostNumberOfEntries,None\n");
}

TEST_F(Notification, BothBitsSetByRequestsAreActiveInTheExportAndPassiveInTheLine) {
  listen();
  ASSERT_EQ(serve({"1", kRoot + "Passive", "7,1"}), (Reply{{}, 0}));
  ASSERT_EQ(set_value("Passive", "b"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), "InternetGatewayDevice.Passive,Passive\n");
  EXPECT_EQ(serve({"32", kRoot + "Passive"}),
            (Reply{{"<VANTREL_CML>\n"
                    "\t<Element name=\"Passive\" notification=\"2\" value=\"b\" type=\"string\"/>\n"
                    "</VANTREL_CML>\n"},
                   0}));
}

TEST_F(Notification, ThePathIsTheTreesOwnAndPercentSignsAreText) {
  load("A.\n  100%d%s [64] = a\n");
  listen();
  EXPECT_EQ(serve({"0", "A.A.100%d%s", "b"}), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), "A.100%d%s,Passive\n");
}

TEST_F(Notification, AValueThatIsThereAlreadyIsNoChange) {
  listen();
  EXPECT_EQ(set_value("Active", "a"), (Reply{{}, 1}));
  EXPECT_EQ(read_file(file), "");
  EXPECT_TRUE(take_signals().empty());
}

TEST_F(Notification, ARefusedValueIsNoChange) {
  listen();
  EXPECT_EQ(set_value("Active", std::string(7000, '&')), (Reply{{}, -100}));
  EXPECT_EQ(set_value("Nothing", "b"), (Reply{{}, 2}));
  EXPECT_EQ(serve({"0", kRoot + "Active"}), (Reply{{}, 10}));
  EXPECT_EQ(read_file(file), "");
  EXPECT_TRUE(take_signals().empty());
}

TEST_F(Notification, OtherChangesAreNotTold) {
  load_xml(
      "<DATAMODEL><OBJECT name=\"InternetGatewayDevice.\"><PARAMETER name=\"Active\" value=\"a\"/>"
      "<PARAMETER name=\"Live\" function=\"COM_GetWANPhysicalLinkStatus\"/>"
      "<OBJECT name=\"Host.\"><OBJECT name=\"0.\"/><OBJECT name=\"1.\"/></OBJECT>"
      "<OBJECT name=\"Other.\"></OBJECT>"
      "</OBJECT></DATAMODEL>");
  write_file(paths().defaults,
             "<DATAMODEL><OBJECT name=\"InternetGatewayDevice.\">"
             "<PARAMETER name=\"Active\" value=\"default\"/></OBJECT></DATAMODEL>");
  listen();
  const std::string saved = sandbox("/tmp/saved");
  write_file(saved,
             "<DATAMODEL><OBJECT name=\"InternetGatewayDevice.\">"
             "<PARAMETER name=\"Active\" value=\"restored\"/></OBJECT></DATAMODEL>");
  EXPECT_EQ(serve({"1", kRoot + "Active", "7,1"}).result, 0);
  for (const char* command : {"10", "11", "14", "15"})
    EXPECT_EQ(serve({command, kRoot + "Host.", command}).result, 0);
  EXPECT_EQ(serve({"18", "1", "0", kRoot + "Host."}).result, 0);
  EXPECT_EQ(serve({"21", kRoot + "Other.", kRoot + "Host.2."}).result, 0);
  EXPECT_EQ(serve({"12", kRoot + "Host.", "1"}).result, 0);
  EXPECT_EQ(serve({"13", kRoot + "Host."}).result, 0);
  EXPECT_EQ(serve({"2", kRoot + "Live"}), (Reply{{"Up"}, 0}));
  EXPECT_EQ(serve({"19"}).result, 0);
  EXPECT_EQ(serve({"30", saved}).result, 0);
  EXPECT_EQ(test::value_at(kRoot + "Active"), "restored");
  EXPECT_EQ(serve({"20"}).result, 0);
  EXPECT_EQ(test::value_at(kRoot + "Active"), "default");
  EXPECT_EQ(read_file(file), "");
  EXPECT_TRUE(take_signals().empty());
}

TEST_F(Notification, NobodyHearsBeforeTheFirstRegistration) {
  EXPECT_EQ(set_value("Active", "b"), (Reply{{}, 0}));
  EXPECT_FALSE(test::file_exists(file));
  EXPECT_TRUE(take_signals().empty());
}

TEST_F(Notification, OneListenerAtATime) {
  listen();
  ASSERT_EQ(set_value("Active", "b"), (Reply{{}, 0}));
  EXPECT_EQ(take_signals(), (std::map<int, int>{{SIGUSR1, 1}}));
  const std::string other = sandbox("/tmp/other");
  write_file(other, "old\n");
  ASSERT_EQ(serve({"33", std::to_string(getpid()), std::to_string(SIGRTMIN + 3), other}).result, 0);
  ASSERT_EQ(set_value("Active", "c"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), "InternetGatewayDevice.Active,Active\n");
  EXPECT_EQ(read_file(other), "InternetGatewayDevice.Active,Active\n");
  EXPECT_EQ(take_signals(), (std::map<int, int>{{SIGRTMIN + 3, 1}}));
}

TEST_F(Notification, RegisteringAgainEmptiesTheFile) {
  listen();
  ASSERT_EQ(set_value("Active", "b"), (Reply{{}, 0}));
  ASSERT_NE(read_file(file), "");
  listen();
  EXPECT_EQ(read_file(file), "");
}

TEST_F(Notification, RealTimeSignalsComeOnePerChange) {
  listen(SIGRTMIN + 3);
  for (int i = 0; i < 20; ++i)
    ASSERT_EQ(set_value("Plain", std::to_string(i)), (Reply{{}, 0}));
  EXPECT_EQ(take_signals(), (std::map<int, int>{{SIGRTMIN + 3, 20}}));
}

TEST_F(Notification, AppendsToWhatTheListenerLeftThere) {
  listen();
  write_file(file, "kept\n");
  ASSERT_EQ(set_value("Plain", "b"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), "kept\nInternetGatewayDevice.Plain,None\n");
  std::filesystem::remove(file);
  ASSERT_EQ(set_value("Plain", "c"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), "InternetGatewayDevice.Plain,None\n");
}

TEST_F(Notification, AFileThatCannotBeOpenedSkipsTheLineAndTheSignal) {
  const std::string folder = sandbox("/tmp/folder");
  std::filesystem::create_directories(folder);
  ASSERT_EQ(serve({"33", std::to_string(getpid()), std::to_string(SIGUSR1), folder + "/changes"}),
            (Reply{{}, 0}));
  std::filesystem::remove_all(folder);
  EXPECT_EQ(set_value("Active", "b"), (Reply{{}, 0}));
  EXPECT_EQ(test::value_at(kRoot + "Active"), "b");
  EXPECT_TRUE(take_signals().empty());
  // The registration stays: with the folder back it goes on.
  std::filesystem::create_directories(folder);
  EXPECT_EQ(set_value("Active", "c"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(folder + "/changes"), "InternetGatewayDevice.Active,Active\n");
  EXPECT_EQ(take_signals(), (std::map<int, int>{{SIGUSR1, 1}}));
}

TEST_F(Notification, AFileThatCouldNotBeMadeAtTheRegistrationMayComeLater) {
  const std::string folder = sandbox("/tmp/folder");
  ASSERT_EQ(serve({"33", std::to_string(getpid()), std::to_string(SIGUSR1), folder + "/changes"}),
            (Reply{{}, -100}));
  EXPECT_EQ(set_value("Active", "b"), (Reply{{}, 0}));
  EXPECT_TRUE(take_signals().empty());
  std::filesystem::create_directories(folder);
  EXPECT_EQ(set_value("Active", "c"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(folder + "/changes"), "InternetGatewayDevice.Active,Active\n");
}

TEST_F(Notification, AFifoIsNoFileToTellInto) {
  const std::string fifo = sandbox("/tmp/fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(serve({"33", std::to_string(getpid()), std::to_string(SIGUSR1), fifo}),
            (Reply{{}, -100}));
  EXPECT_EQ(set_value("Active", "b"), (Reply{{}, 0}));
  EXPECT_TRUE(take_signals().empty());
}

/// The number of a process that has ended.
pid_t ended_process() {
  const pid_t gone = fork();
  if (gone == 0) _exit(0);
  EXPECT_EQ(waitpid(gone, nullptr, 0), gone);
  return gone;
}

TEST_F(Notification, AListenerThatHasGoneOrASignalThatIsNoneHurtsNobody) {
  ASSERT_EQ(serve({"33", std::to_string(ended_process()), "10", file}), (Reply{{}, 0}));
  EXPECT_EQ(set_value("Plain", "b"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), "InternetGatewayDevice.Plain,None\n");
  for (const char* signal : {"-1", "65", "9999"}) {
    ASSERT_EQ(serve({"33", std::to_string(getpid()), signal, file}), (Reply{{}, 0}));
    EXPECT_EQ(set_value("Plain", signal), (Reply{{}, 0}));
    EXPECT_EQ(read_file(file), "InternetGatewayDevice.Plain,None\n");
  }
}

// --- A listener that has gone ---

const std::string kPlainLine = "InternetGatewayDevice.Plain,None\n";

TEST_F(Notification, AListenerThatHasGoneIsWrittenToUntilItsFileIsFull) {
  ASSERT_EQ(serve({"33", std::to_string(ended_process()), "10", file}), (Reply{{}, 0}));
  const std::string most(262'144 - kPlainLine.size(), 'x');
  write_file(file, most);
  EXPECT_EQ(set_value("Plain", "b"), (Reply{{}, 0}));
  EXPECT_EQ(set_value("Plain", "c"), (Reply{{}, 0}));
  EXPECT_TRUE(read_file(file) == most + kPlainLine + kPlainLine);
  // That passed the bound: it is over, though the file has room again.
  write_file(file, "");
  EXPECT_EQ(set_value("Plain", "d"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), "");
  listen();
  EXPECT_EQ(set_value("Plain", "e"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), kPlainLine);
}

TEST_F(Notification, AListenerThatIsThereIsWrittenToWithoutABound) {
  // A signal that is none finds the process all the same.
  for (const int signal : {SIGUSR1, 9999}) {
    listen(signal);
    write_file(file, std::string(300'000, 'x'));
    EXPECT_EQ(set_value("Plain", "b"), (Reply{{}, 0}));
    EXPECT_EQ(set_value("Plain", "a"), (Reply{{}, 0}));
    EXPECT_EQ(read_file(file).size(), 300'000 + 2 * kPlainLine.size());
  }
}

// --- Listeners of other users ---

class StrangersNotification : public Notification {
 protected:
  void SetUp() override {
    if (const char* reason = test::no_strangers()) GTEST_SKIP() << reason;
    Notification::SetUp();
    folder = folder_of_stranger();
    show_owner(test::kStranger);
  }
  void TearDown() override {
    if (!test::no_strangers()) Notification::TearDown();
  }

  /// Makes this process, which hears the signals, another user's for the service.
  static void show_owner(uid_t user) {
    const std::string id = std::to_string(user) + '\t';
    write_file(sandbox("/proc/" + std::to_string(getpid()) + "/status"),
               "Name:\tlistener\nUid:\t" + id + id + id + id + '\n');
  }

  static Reply register_stranger(const std::string& path) {
    return test::serve_on(test::Connection{test::kStranger},
                          {"33", std::to_string(getpid()), std::to_string(SIGUSR1), path});
  }

  std::string folder;
};

TEST_F(StrangersNotification, TheFileIsTheRegistrantsWhoeverChangesTheValue) {
  ASSERT_EQ(register_stranger(folder + "/changes"), (Reply{{}, 0}));
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(set_value("Plain", std::to_string(time)), (Reply{{}, 0}));
    EXPECT_EQ(read_file(folder + "/changes"), "InternetGatewayDevice.Plain,None\n");
    struct stat made {};
    ASSERT_EQ(stat((folder + "/changes").c_str(), &made), 0);
    EXPECT_EQ(made.st_uid, test::kStranger);
    EXPECT_EQ(made.st_mode & 0007u, 0u);
    std::filesystem::remove(folder + "/changes");  // made by the registration, then by the line
  }
  EXPECT_EQ(take_signals(), (std::map<int, int>{{SIGUSR1, 1}}));
}

TEST_F(StrangersNotification, AFileThatTheRegistrantMayNotWriteIsNotOpened) {
  write_file(file, "kept");
  ASSERT_EQ(chmod(file.c_str(), 0644), 0);
  EXPECT_EQ(register_stranger(file), (Reply{{}, -100}));
  EXPECT_EQ(set_value("Plain", "b"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), "kept");
  EXPECT_TRUE(take_signals().empty());
}

TEST_F(StrangersNotification, AFileThatBecomesAnothersIsNotWrittenAnyMore) {
  ASSERT_EQ(register_stranger(folder + "/changes"), (Reply{{}, 0}));
  write_file(file, "kept");
  ASSERT_EQ(chmod(file.c_str(), 0644), 0);
  std::filesystem::remove(folder + "/changes");
  std::filesystem::create_symlink(file, folder + "/changes");
  EXPECT_EQ(set_value("Plain", "b"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), "kept");
  EXPECT_TRUE(take_signals().empty());
}

TEST_F(StrangersNotification, AProcessIsRegisteredByItsOwnerOrRootOnly) {
  show_owner(0);
  EXPECT_EQ(register_stranger(folder + "/changes"), (Reply{{}, -100}));
  EXPECT_EQ(set_value("Plain", "b"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(folder + "/changes"), "");
  EXPECT_TRUE(take_signals().empty());
  show_owner(test::kStranger);
  EXPECT_EQ(set_value("Plain", "c"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(folder + "/changes"), "");  // the registration is off, whoever has it then
  listen();
  EXPECT_EQ(set_value("Plain", "d"), (Reply{{}, 0}));
  EXPECT_EQ(take_signals(), (std::map<int, int>{{SIGUSR1, 1}}));
}

TEST_F(StrangersNotification, AProcessThatIsAnothersByNowGetsNoSignal) {
  ASSERT_EQ(register_stranger(folder + "/changes"), (Reply{{}, 0}));
  show_owner(0);
  EXPECT_EQ(set_value("Plain", "b"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(folder + "/changes"), "InternetGatewayDevice.Plain,None\n");
  EXPECT_TRUE(take_signals().empty());
  show_owner(test::kStranger);
  EXPECT_EQ(set_value("Plain", "c"), (Reply{{}, 0}));
  EXPECT_EQ(take_signals(), (std::map<int, int>{{SIGUSR1, 1}}));
}

TEST_F(StrangersNotification, AProcessThatIsAnothersByNowHasGone) {
  const std::string changes = folder + "/changes";
  ASSERT_EQ(register_stranger(changes), (Reply{{}, 0}));
  write_file(changes, std::string(300'000, 'x'));
  EXPECT_EQ(set_value("Plain", "b"), (Reply{{}, 0}));
  show_owner(0);
  EXPECT_EQ(set_value("Plain", "c"), (Reply{{}, 0}));
  EXPECT_EQ(set_value("Plain", "d"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(changes).size(), 300'000 + 2 * kPlainLine.size());
  EXPECT_EQ(take_signals(), (std::map<int, int>{{SIGUSR1, 1}}));
}

// --- The check by itself ---

TEST_F(Notification, TheCheckWantsItsArgumentsAndAListener) {
  char buf[kMessageMax] = "untouched";
  const Parameter* param = parameter_at(kRoot + "Active");
  EXPECT_EQ(CM_RPC_TR069_Notification_Check(param, buf, kMessageMax), CM_INVALID);
  listen();
  EXPECT_EQ(CM_RPC_TR069_Notification_Check(nullptr, buf, kMessageMax), CM_INVALID);
  EXPECT_EQ(CM_RPC_TR069_Notification_Check(param, nullptr, kMessageMax), CM_INVALID);
  EXPECT_EQ(CM_RPC_TR069_Notification_Check(param, buf, 0), CM_INVALID);
  EXPECT_EQ(CM_RPC_TR069_Notification_Check(param, buf, -1), CM_INVALID);
  EXPECT_STREQ(buf, "untouched");
  EXPECT_EQ(read_file(file), "");
  EXPECT_TRUE(take_signals().empty());
  EXPECT_EQ(CM_RPC_TR069_Notification_Check(param, buf, kMessageMax), CM_OK);
  EXPECT_STREQ(buf, "InternetGatewayDevice.Active,Active\n");
}

TEST_F(Notification, APartialRegistrationTellsNobody) {
  char buf[kMessageMax] = "untouched";
  const Parameter* param = parameter_at(kRoot + "Active");
  const auto told = [&] { return CM_RPC_TR069_Notification_Check(param, buf, kMessageMax); };
  listen();
  notify_reg->process = 0;
  EXPECT_EQ(told(), CM_INVALID);
  listen();
  notify_reg->signal = 0;
  EXPECT_EQ(told(), CM_INVALID);
  listen();
  notify_reg->file.reset();
  EXPECT_EQ(told(), CM_INVALID);
  EXPECT_STREQ(buf, "untouched");
  EXPECT_EQ(read_file(file), "");
  EXPECT_TRUE(take_signals().empty());
}

TEST_F(Notification, ALineIsCutToTheBuffer) {
  listen();
  char buf[16] = {};
  EXPECT_EQ(CM_RPC_TR069_Notification_Check(parameter_at(kRoot + "Plain"), buf, 11), CM_OK);
  EXPECT_EQ(read_file(file), "InternetGa");
  EXPECT_EQ(CM_RPC_TR069_Notification_Check(parameter_at(kRoot + "Plain"), buf, 1), CM_OK);
  EXPECT_EQ(read_file(file), "InternetGa");
}

TEST_F(Notification, APathThatCannotBeFormedIsToldAsSuch) {
  // Deeper than a path may be long.
  std::string outline = "A.\n";
  for (int level = 1; level <= 130; ++level)
    outline +=
        std::string(2 * static_cast<std::size_t>(level), ' ') + std::string(254, 'x') + ".\n";
  outline += std::string(262, ' ') + "Deep [64] = a\n";
  load(outline);
  const Node* node = cml_root;
  while (node->children)
    node = node->children;
  listen();
  char buf[kMessageMax];
  EXPECT_EQ(CM_RPC_TR069_Notification_Check(node->params, buf, kMessageMax), CM_OK);
  EXPECT_EQ(read_file(file), "Get Parameter URI fail,Passive\n");
}

// --- The lock ---

/// Holds a lock on the first byte of a file for a time, in another process: a lock does not keep
/// its own process out.
class Holder {
 public:
  Holder(const std::string& path, std::chrono::milliseconds time) {
    int ready[2];
    EXPECT_EQ(pipe(ready), 0);
    pid_ = fork();
    if (pid_ == 0) {
      const int fd = open(path.c_str(), O_RDWR);
      const bool held = lockf(fd, F_LOCK, 1) == 0 && write(ready[1], "x", 1) == 1;
      std::this_thread::sleep_for(time);
      _exit(held ? 0 : 1);
    }
    char byte = 0;
    EXPECT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
    close(ready[1]);
  }
  ~Holder() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  Holder(const Holder&) = delete;
  Holder& operator=(const Holder&) = delete;

 private:
  pid_t pid_;
};

double seconds_of(const std::function<void()>& action) {
  const auto start = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST_F(Notification, TheLineWaitsForAListenerThatReads) {
  listen();
  // The lock is on the whole file, not only on where the line goes.
  ASSERT_EQ(set_value("Active", "b"), (Reply{{}, 0}));
  const Holder holder{file, std::chrono::milliseconds{700}};
  EXPECT_GE(seconds_of([] { ASSERT_EQ(set_value("Plain", "b"), (Reply{{}, 0})); }), 0.5);
  EXPECT_EQ(read_file(file),
            "InternetGatewayDevice.Active,Active\nInternetGatewayDevice.Plain,None\n");
}

TEST_F(Notification, AListenerThatHoldsOnDoesNotStopTheService) {
  listen();
  const Holder holder{file, std::chrono::seconds{60}};
  const test::SimulatedTime time;
  EXPECT_EQ(set_value("Plain", "b"), (Reply{{}, 0}));
  EXPECT_EQ(time.passed(), 5000);
  EXPECT_EQ(read_file(file), "InternetGatewayDevice.Plain,None\n");
}

TEST_F(Notification, TheWaitForTheLockBelongsToTheTimeOfTheRequest) {
  listen();
  const Holder holder{file, std::chrono::seconds{60}};
  test::SimulatedTime time;
  start_request_time();
  time.advance(29'900);
  char buf[kMessageMax];
  EXPECT_EQ(CM_RPC_TR069_Notification_Check(parameter_at(kRoot + "Plain"), buf, kMessageMax),
            CM_OK);
  EXPECT_EQ(time.passed(), 30'000);
  EXPECT_EQ(read_file(file), "InternetGatewayDevice.Plain,None\n");
}

// --- A listener as it is meant ---

/// Registers itself, then empties the file under the lock at every signal, until a line names the
/// parameter Last. What it tells: the lines in order and how many signals there were.
struct Heard {
  std::vector<std::string> lines;
  int signals = 0;
};

Heard listen_until_last(int signal, const std::string& path) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, signal);
  sigprocmask(SIG_BLOCK, &set, nullptr);
  Heard heard;
  if (test::ask({"33", std::to_string(getpid()), std::to_string(signal), path}) !=
      std::vector<std::string>{"0"})
    return heard;
  write_file(path + ".ready", "");
  std::string text;
  const int fd = open(path.c_str(), O_RDWR);
  constexpr timespec kPatience{10, 0};
  while (!text.ends_with("Last,None\n") && sigtimedwait(&set, nullptr, &kPatience) == signal) {
    ++heard.signals;
    if (lockf(fd, F_LOCK, 0) != 0) break;
    char part[4096];
    for (ssize_t got = 0; (got = read(fd, part, sizeof part)) > 0;)
      text.append(part, static_cast<std::size_t>(got));
    if (ftruncate(fd, 0) != 0 || lseek(fd, 0, SEEK_SET) != 0 || lockf(fd, F_ULOCK, 0) != 0) break;
  }
  constexpr timespec kNow{};
  while (sigtimedwait(&set, nullptr, &kNow) == signal)
    ++heard.signals;
  close(fd);
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    heard.lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return heard;
}

class Listener : public Notification, public ::testing::WithParamInterface<int> {};

TEST_P(Listener, HearsEveryChangeOnce) {
  constexpr int kChanges = 3000;
  const int signal = GetParam();
  std::string outline = "A.\n  Last = a\n";
  for (int i = 0; i < 100; ++i)
    outline += "  P" + std::to_string(i) +
               (i % 3 == 0   ? ""
                : i % 3 == 1 ? " [64]"
                             : " [128]") +
               " = start\n";
  load(outline);
  test::ServerProcess server;

  test::Detached listener{[&] {
    const Heard heard = listen_until_last(signal, file);
    if (heard.lines.size() != kChanges + 1) return std::to_string(heard.lines.size()) + " lines";
    for (int i = 0; i < kChanges; ++i) {
      const int name = i % 100;
      const std::string expected = "A.P" + std::to_string(name) + "," +
                                   (name % 3 == 0   ? "None"
                                    : name % 3 == 1 ? "Passive"
                                                    : "Active");
      if (heard.lines[static_cast<std::size_t>(i)] != expected)
        return "line " + std::to_string(i) + ": " + heard.lines[static_cast<std::size_t>(i)];
    }
    // A real-time signal is never lost; others may come once for several changes.
    const bool counted = signal < SIGRTMIN ? heard.signals > 0 : heard.signals == kChanges + 1;
    return counted ? "all heard"s : std::to_string(heard.signals) + " signals";
  }};
  ASSERT_TRUE(test::eventually([&] { return test::file_exists(file + ".ready"); }));
  for (int i = 0; i < kChanges; ++i)
    ASSERT_EQ(test::ask({"0", "A.P" + std::to_string(i % 100), std::to_string(i)}),
              std::vector<std::string>{"0"});
  ASSERT_EQ(test::ask({"0", "A.Last", "b"}), std::vector<std::string>{"0"});
  EXPECT_EQ(listener.text(), "all heard");
  EXPECT_EQ(server.stop(), 0);
}

INSTANTIATE_TEST_SUITE_P(Notification, Listener, ::testing::Values(SIGUSR1, SIGRTMIN + 3),
                         [](const auto& test) {
                           return test.param == SIGUSR1 ? "OrdinarySignal"s : "RealTimeSignal"s;
                         });

}  // namespace
}  // namespace gwconf
