// The daemon as a process: its arguments, its exit status, what it says, and the signals that end
// it.

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "core/paths.h"
#include "gwconf/client.hpp"
#include "storage/settings_block.h"
#include "tests/startup/daemon_process.h"
#include "tests/support/capture.h"
#include "tests/support/sandbox.h"

namespace gwconf {
namespace {

using test::DaemonProcess;
using test::file_exists;
using test::write_file;

std::string defaults_with(const std::string& name) {
  return "<OBJECT name=\"InternetGatewayDevice.\"><PARAMETER name=\"Name\" type=\"string\" "
         "value=\"" +
         name + "\" writable=\"1\"/></OBJECT>";
}

class Daemon : public testing::Test {
 protected:
  void SetUp() override {
    test::clear_sandbox();
    write_file(paths().defaults, defaults_with("default"));
  }

  static void store(const char* partition, const std::string& text) {
    ASSERT_EQ(CM_UTL_SetMTDBlockSettings(partition, text.c_str()), CM_OK);
  }

  /// The value of the one parameter, or the code.
  [[nodiscard]] std::string name() const {
    const auto answer = client.get_value(kName);
    return answer ? answer.value : std::to_string(answer.code);
  }

  static constexpr const char* kName = "InternetGatewayDevice.Name";
  const Client client{paths().socket};
  const std::string file = test::sandbox_root() + "/tmp/configuration.xml";
  const std::string defaults_told =
      "[main]read config " + std::string{paths().defaults} + " success\n";
};

class DaemonSignals : public Daemon, public testing::WithParamInterface<int> {};

TEST_P(DaemonSignals, RemoveTheSocketEndWithOneAndSaveNothing) {
  DaemonProcess daemon;
  ASSERT_TRUE(daemon.serves());
  ASSERT_TRUE(file_exists(paths().socket));
  EXPECT_EQ(client.set_value(kName, "changed"), 0);
  EXPECT_EQ(name(), "changed");
  daemon.send(GetParam());
  EXPECT_EQ(daemon.wait(), 1);
  EXPECT_FALSE(file_exists(paths().socket));
  EXPECT_FALSE(file_exists(paths().primary_partition));
  EXPECT_FALSE(file_exists(paths().backup_partition));
  // What was said is there, though nothing was flushed at the end.
  EXPECT_EQ(DaemonProcess::said(), defaults_told + "Fail to decompress default settings\n");

  DaemonProcess next;
  ASSERT_TRUE(next.serves());
  EXPECT_EQ(name(), "default");
}

INSTANTIATE_TEST_SUITE_P(Each, DaemonSignals, testing::Values(SIGTERM, SIGHUP, SIGINT, SIGQUIT));

/// The number of the socket's file, 0 without one.
ino_t socket_file() {
  struct stat file {};
  return stat(paths().socket, &file) == 0 ? file.st_ino : 0;
}

TEST_F(Daemon, LeavesTheSocketOfALaterDaemonAlone) {
  DaemonProcess older;
  ASSERT_TRUE(older.serves());
  const ino_t before = socket_file();
  DaemonProcess newer;
  // The older one answers until the newer one has taken its place.
  while (socket_file() == before || socket_file() == 0)
    ASSERT_TRUE(newer.is_running());
  ASSERT_TRUE(newer.serves());
  EXPECT_EQ(client.set_value(kName, "newer"), 0);
  older.send(SIGTERM);
  EXPECT_EQ(older.wait(), 1);
  EXPECT_EQ(name(), "newer");
  newer.send(SIGTERM);
  EXPECT_EQ(newer.wait(), 1);
  EXPECT_FALSE(file_exists(paths().socket));
}

TEST_F(Daemon, EndsInTheMiddleOfARequest) {
  DaemonProcess daemon;
  ASSERT_TRUE(daemon.serves());
  // A client that sends nothing is waited for.
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::snprintf(address.sun_path, sizeof address.sun_path, "%s", paths().socket);
  ASSERT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  std::this_thread::sleep_for(std::chrono::milliseconds{50});
  daemon.send(SIGTERM);
  EXPECT_EQ(daemon.wait(), 1);
  EXPECT_FALSE(file_exists(paths().socket));
  close(fd);
}

TEST_F(Daemon, SaysThatTheSavedSettingsWereRead) {
  store(paths().backup_partition, defaults_with("saved"));
  DaemonProcess daemon;
  ASSERT_TRUE(daemon.serves());
  EXPECT_EQ(name(), "saved");
  EXPECT_EQ(DaemonProcess::said(), defaults_told + "[CM_XML2RAM]xml file<" +
                                       paths().primary_partition + "> to RAM ret=0\n");
}

TEST_F(Daemon, AFileAsItsArgumentIsTheWholeConfiguration) {
  store(paths().primary_partition, defaults_with("saved"));
  write_file(file, defaults_with("file"));
  DaemonProcess daemon{{file}};
  ASSERT_TRUE(daemon.serves());
  EXPECT_EQ(name(), "file");
  EXPECT_EQ(DaemonProcess::said(), "");
}

TEST_F(Daemon, OnlyTheFirstArgumentCounts) {
  write_file(file, defaults_with("file"));
  DaemonProcess daemon{{file, "/none"}};
  ASSERT_TRUE(daemon.serves());
  EXPECT_EQ(name(), "file");
}

TEST_F(Daemon, AnEmptyPrimaryPartitionAsItsArgumentIsNone) {
  store(paths().backup_partition, defaults_with("saved"));
  DaemonProcess daemon{{paths().primary_partition}};
  ASSERT_TRUE(daemon.serves());
  EXPECT_EQ(name(), "saved");
  EXPECT_EQ(DaemonProcess::said(), defaults_told + "[CM_XML2RAM]xml file<" +
                                       paths().primary_partition + "> to RAM ret=0\n");
}

TEST_F(Daemon, ABrokenFileAsItsArgumentEndsIt) {
  write_file(file, "<OBJECT name=\"InternetGatewayDevice.\">");
  DaemonProcess daemon{{file}};
  EXPECT_EQ(daemon.wait(), 156);
  EXPECT_EQ(DaemonProcess::said(), "");
  EXPECT_FALSE(file_exists(paths().socket));
}

TEST_F(Daemon, AMissingFileAsItsArgumentEndsIt) {
  DaemonProcess daemon{{file}};
  EXPECT_EQ(daemon.wait(), 156);
  EXPECT_EQ(DaemonProcess::said(), "[FUNC]call_xml_file_parser [LINE]104\n");
}

TEST_F(Daemon, MissingDefaultsEndIt) {
  std::remove(paths().defaults);
  DaemonProcess daemon;
  EXPECT_EQ(daemon.wait(), 156);
  EXPECT_EQ(DaemonProcess::said(), "[FUNC]call_xml_file_parser [LINE]104\n");
  EXPECT_FALSE(file_exists(paths().socket));
}

TEST_F(Daemon, WithoutItsSocketItEndsWithZero) {
  write_file(std::string{paths().socket} + "/file", "");  // a folder in the way
  DaemonProcess daemon;
  EXPECT_EQ(daemon.wait(), 0);
  EXPECT_EQ(DaemonProcess::said(), defaults_told + "Fail to decompress default settings\n");
}

TEST_F(Daemon, ServesWithoutStandardDescriptors) {
  DaemonProcess daemon{{}, DaemonProcess::Descriptors::kClosed};
  ASSERT_TRUE(daemon.serves());
  EXPECT_EQ(name(), "default");
  EXPECT_EQ(client.set_value(kName, "changed"), 0);
  EXPECT_EQ(name(), "changed");
  for (const char* fd : {"0", "1", "2"}) {
    const std::string link = "/proc/" + std::to_string(daemon.id()) + "/fd/" + fd;
    EXPECT_EQ(std::filesystem::read_symlink(link), "/dev/null") << fd;
  }
  daemon.send(SIGTERM);
  EXPECT_EQ(daemon.wait(), 1);
}

/// What the process' stack may still grow by is taken away, as a machine out of memory takes it.
TEST_F(Daemon, ServesWhereItsStackCannotGrow) {
  const auto table = [](const std::string& name, const std::string& parameter) {
    const std::string row = "type=\"object\"><PARAMETER name=\"" + parameter + "\"/></OBJECT>";
    return "<OBJECT name=\"" + name + "\"><OBJECT name=\"0.\" " + row;
  };
  write_file(paths().defaults,
             "<OBJECT name=\"InternetGatewayDevice.\">" + table("Host.", "Name") +
                 "<OBJECT name=\"1.\"><PARAMETER name=\"Name\"/></OBJECT></OBJECT>"
                 "<OBJECT name=\"X_VT_MiscCfg.\">" +
                 table("DeletedDefaultInstances.", "URI") + "</OBJECT></OBJECT></OBJECT>");
  DaemonProcess daemon;
  ASSERT_TRUE(daemon.serves());
  const rlimit none{.rlim_cur = 0, .rlim_max = 0};
  ASSERT_EQ(prlimit(daemon.id(), RLIMIT_STACK, &none, nullptr), 0);
  // A deletion that is recorded composes more paths at a time than anything else.
  EXPECT_EQ(client.delete_instance("InternetGatewayDevice.Host.", 1), 0);
  EXPECT_EQ(
      client.get_value("InternetGatewayDevice.X_VT_MiscCfg.DeletedDefaultInstances.1.URI").value,
      "InternetGatewayDevice.Host.1.");
  EXPECT_EQ(client.commit(), 0);
  EXPECT_EQ(client.restore(file), -100);
  daemon.send(SIGTERM);
  EXPECT_EQ(daemon.wait(), 1);
}

/// What a process' map says about its stack, in KiB.
struct StackUse {
  int size = 0;
  int resident = 0;
};

StackUse stack_of(pid_t process) {
  std::istringstream map{test::read_file("/proc/" + std::to_string(process) + "/smaps")};
  StackUse use;
  bool in_stack = false;
  for (std::string line; std::getline(map, line);) {
    if (line.find('-') != std::string::npos) in_stack = line.ends_with("[stack]");
    if (!in_stack) continue;
    std::sscanf(line.c_str(), "Size: %d", &use.size);
    std::sscanf(line.c_str(), "Rss: %d", &use.resident);
  }
  return use;
}

TEST_F(Daemon, TakesRoomForItsStackButNoMemory) {
  if (std::string_view{GWCONF_EMULATOR} != "") GTEST_SKIP() << "the map is the emulator's";
  DaemonProcess daemon;
  ASSERT_TRUE(daemon.serves());
  const StackUse use = stack_of(daemon.id());
  EXPECT_GE(use.size, 160);
  EXPECT_GT(use.resident, 0);
  EXPECT_LT(use.resident, 100);
}

TEST_F(Daemon, OfTheSandboxMakesAFolderWhereNoneIsGiven) {
  ASSERT_EQ(unsetenv("GWCONF_SANDBOX"), 0);
  const std::string told = test::stderr_of([] {
    DaemonProcess daemon;
    EXPECT_EQ(daemon.wait(), 156);  // no defaults there
  });
  ASSERT_EQ(setenv("GWCONF_SANDBOX", test::sandbox_root().c_str(), 1), 0);
  const std::string head = "sandbox folder ";
  ASSERT_TRUE(told.starts_with(head + "/tmp/gwconf.") && told.ends_with('\n')) << told;
  const std::filesystem::path folder = told.substr(head.size(), told.size() - head.size() - 1);
  for (const char* below : {"etc", "dev", "tmp"})
    EXPECT_TRUE(std::filesystem::is_directory(folder / below)) << below;
  std::filesystem::remove_all(folder);
}

TEST_F(Daemon, AStaleSocketDoesNotKeepItFromServing) {
  {
    DaemonProcess daemon;
    ASSERT_TRUE(daemon.serves());
    daemon.send(SIGKILL);
    EXPECT_EQ(daemon.wait(), DaemonProcess::kKilled);
  }
  ASSERT_TRUE(file_exists(paths().socket));
  EXPECT_EQ(client.get_value(kName).code, GWCONF_E_CONNECT);
  DaemonProcess daemon;
  ASSERT_TRUE(daemon.serves());
  EXPECT_EQ(name(), "default");
}

}  // namespace
}  // namespace gwconf
