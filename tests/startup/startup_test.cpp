#include "daemon/startup.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "core/paths.h"
#include "storage/settings_block.h"
#include "tests/support/capture.h"
#include "tests/support/failing_heap.h"
#include "tests/support/sandbox.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using test::live_blocks;
using test::live_outline;
using test::stdout_of;
using test::write_file;

constexpr const char* kDefaults =
    "<DATAMODEL>\n"
    "<OBJECT name=\"InternetGatewayDevice.\" type=\"object\">\n"
    "<PARAMETER name=\"Name\" type=\"string(64)\" value=\"default\" writable=\"1\"/>\n"
    "<PARAMETER name=\"HostNumberOfEntries\" type=\"unsignedInt\" value=\"2\"/>\n"
    "<OBJECT name=\"Host.\" type=\"object\">\n"
    "<OBJECT name=\"0.\" type=\"object\"><PARAMETER name=\"Label\" value=\"\"/></OBJECT>\n"
    "<OBJECT name=\"1.\" type=\"object\"><PARAMETER name=\"Label\" value=\"one\"/></OBJECT>\n"
    "<OBJECT name=\"2.\" type=\"object\"><PARAMETER name=\"Label\" value=\"two\"/></OBJECT>\n"
    "</OBJECT>\n"
    "<OBJECT name=\"X_VT_MiscCfg.\" type=\"object\">\n"
    "<OBJECT name=\"DeletedDefaultInstances.\" type=\"object\">\n"
    "<OBJECT name=\"0.\" type=\"object\"><PARAMETER name=\"URI\" value=\"\"/></OBJECT>\n"
    "</OBJECT>\n"
    "</OBJECT>\n"
    "</OBJECT>\n"
    "</DATAMODEL>\n";

constexpr const char* kDefaultTree =
    "InternetGatewayDevice.\n"
    "  Name [1] = default\n"
    "  HostNumberOfEntries = 2\n"
    "  Host.\n"
    "    0. [1]\n"
    "      Label =\n"
    "    1. [1]\n"
    "      Label = one\n"
    "    2. [1]\n"
    "      Label = two\n"
    "  X_VT_MiscCfg.\n"
    "    DeletedDefaultInstances.\n"
    "      0. [1]\n"
    "        URI =\n";

/// Saved settings: a value, and an instance of the user's.
constexpr const char* kSaved =
    "<DATAMODEL>\n"
    "<OBJECT name=\"InternetGatewayDevice.\" type=\"object\" writable=\"0\" >\n"
    "<PARAMETER name=\"Name\" type=\"string(64)\" value=\"saved\" writable=\"1\" />\n"
    "<OBJECT name=\"Host.\" type=\"object\" writable=\"0\" >\n"
    "<OBJECT name=\"5.\" type=\"object\" writable=\"1\" >\n"
    "<PARAMETER name=\"Label\" type=\"string\" value=\"five\" writable=\"0\" />\n"
    "</OBJECT>\n"
    "</OBJECT>\n"
    "</OBJECT>\n"
    "</DATAMODEL>\n";

constexpr const char* kSavedTree =
    "InternetGatewayDevice.\n"
    "  Name [9] = saved\n"
    "  HostNumberOfEntries = 3\n"
    "  Host.\n"
    "    0. [1]\n"
    "      Label =\n"
    "    1. [1]\n"
    "      Label = one\n"
    "    2. [1]\n"
    "      Label = two\n"
    "    5. [9]\n"
    "      Label [8] = five\n"
    "  X_VT_MiscCfg.\n"
    "    DeletedDefaultInstances.\n"
    "      0. [1]\n"
    "        URI =\n";

/// Saved settings with records of deleted instances, one after the other.
std::string saved_records(const std::vector<std::string>& paths_deleted,
                          const std::string& more = "") {
  std::string text =
      "<DATAMODEL>\n<OBJECT name=\"InternetGatewayDevice.\">\n" + more +
      "<OBJECT name=\"X_VT_MiscCfg.\">\n<OBJECT name=\"DeletedDefaultInstances.\">\n";
  int number = 0;
  for (const std::string& path : paths_deleted)
    text += "<OBJECT name=\"" + std::to_string(++number) +
            ".\">\n<PARAMETER name=\"URI\" value=\"" + path + "\"/>\n</OBJECT>\n";
  return text + "</OBJECT>\n</OBJECT>\n</OBJECT>\n</DATAMODEL>\n";
}

class StartUp : public testing::Test {
 protected:
  void SetUp() override {
    test::clear_sandbox();
    write_file(paths().defaults, kDefaults);
    blocks_ = live_blocks();
  }
  void TearDown() override {
    free_tree();
    EXPECT_EQ(live_blocks(), blocks_) << "blocks left";
  }

  static void free_tree() { ignore(CM_UTL_FreeNode(std::exchange(cml_root, nullptr))); }

  /// Starts and returns the exit status.
  int start(const char* argument = nullptr) {
    int result = 0;
    said = stdout_of([&] { result = start_up(argument); });
    return result;
  }

  static void store(const std::string& partition, const std::string& text) {
    ASSERT_EQ(CM_UTL_SetMTDBlockSettings(partition.c_str(), text.c_str()), CM_OK);
  }

  static void damage(const std::string& partition) {
    std::string block = test::read_file(partition);
    block.back() = static_cast<char>(block.back() ^ 1);
    write_file(partition, block);
  }

  std::string said;
  const std::string primary = paths().primary_partition;
  const std::string backup = paths().backup_partition;
  const std::string file = test::sandbox_root() + "/tmp/configuration.xml";
  const std::string defaults_told =
      "[main]read config " + std::string{paths().defaults} + " success\n";
  const std::string nothing_told = "Fail to decompress default settings\n";
  const std::string primary_told = "[CM_XML2RAM]xml file<" + primary + "> to RAM ret=";

 private:
  std::size_t blocks_ = 0;
};

// ------------------------------------------------------------------------- defaults and settings

TEST_F(StartUp, WithoutSavedSettingsRunsOnTheDefaults) {
  EXPECT_EQ(start(), 0);
  EXPECT_EQ(live_outline(), kDefaultTree);
  EXPECT_EQ(said, defaults_told + nothing_told);
}

TEST_F(StartUp, LaysTheSavedSettingsOverTheDefaults) {
  store(primary, kSaved);
  EXPECT_EQ(start(), 0);
  EXPECT_EQ(live_outline(), kSavedTree);
  EXPECT_EQ(said, defaults_told + primary_told + "0\n");
}

TEST_F(StartUp, TakesTheBackupForADamagedPrimary) {
  store(primary, kSaved);
  damage(primary);
  store(backup, kSaved);
  EXPECT_EQ(start(), 0);
  EXPECT_EQ(live_outline(), kSavedTree);
  EXPECT_EQ(said, defaults_told + primary_told + "0\n");
}

TEST_F(StartUp, RunsOnTheDefaultsWhenBothBlocksAreDamaged) {
  for (const std::string& partition : {primary, backup}) {
    store(partition, kSaved);
    damage(partition);
  }
  EXPECT_EQ(start(), 0);
  EXPECT_EQ(live_outline(), kDefaultTree);
  EXPECT_EQ(said, defaults_told + nothing_told);
}

TEST_F(StartUp, MergesNothingOfSettingsThatDoNotLoad) {
  const std::string saved = kSaved;
  store(primary, saved.substr(0, saved.rfind("</OBJECT>")));  // the root is never closed
  store(backup, kSaved);
  EXPECT_EQ(start(), 0);
  EXPECT_EQ(live_outline(), kDefaultTree);
  EXPECT_EQ(said, defaults_told + primary_told + "-100\n");
}

TEST_F(StartUp, DefaultsMayBeElements) {
  write_file(paths().defaults,
             "<?xml version=\"1.0\"?>\n<VANTREL_CML>\n"
             "<Element name=\"InternetGatewayDevice.\" sname=\"\" type=\"object\">\n"
             "<Element name=\"Name\" sname=\"\" value=\"default\" type=\"string\"></Element>\n"
             "</Element>\n</VANTREL_CML>\n");
  EXPECT_EQ(start(), 0);
  EXPECT_EQ(live_outline(),
            "InternetGatewayDevice.\n"
            "  Name = default\n");
}

TEST_F(StartUp, WithoutDefaultsEnds) {
  std::remove(paths().defaults);
  store(primary, kSaved);
  EXPECT_EQ(start(), 156);
  EXPECT_EQ(said, "[FUNC]call_xml_file_parser [LINE]104\n");
}

TEST_F(StartUp, WithBrokenDefaultsEnds) {
  write_file(paths().defaults, "<DATAMODEL>\n<OBJECT name=\"InternetGatewayDevice.\">\n");
  EXPECT_EQ(start(), 156);
  EXPECT_EQ(live_outline(), "InternetGatewayDevice.\n");  // what was loaded is left
  EXPECT_EQ(said, "");
}

// ------------------------------------------------------------------------------ deleted defaults

TEST_F(StartUp, TakesOutDeletedDefaults) {
  store(primary, saved_records({"InternetGatewayDevice.Host.2."}));
  EXPECT_EQ(start(), 0);
  EXPECT_EQ(live_outline(),
            "InternetGatewayDevice.\n"
            "  Name [1] = default\n"
            "  HostNumberOfEntries = 1\n"
            "  Host.\n"
            "    0. [1]\n"
            "      Label =\n"
            "    1. [1]\n"
            "      Label = one\n"
            "  X_VT_MiscCfg.\n"
            "    DeletedDefaultInstances.\n"
            "      0. [1]\n"
            "        URI =\n"
            "      1. [9]\n"
            "        URI [8] = InternetGatewayDevice.Host.2.\n");
}

TEST_F(StartUp, KeepsWhatTheUserSetInADeletedDefault) {
  store(primary, saved_records({"InternetGatewayDevice.Host.2.", "InternetGatewayDevice.Host.1."},
                               "<OBJECT name=\"Host.\">\n<OBJECT name=\"7.\"/>\n</OBJECT>\n"));
  EXPECT_EQ(start(), 0);
  EXPECT_EQ(test::children_of("InternetGatewayDevice.Host."), "0. 7.");
  EXPECT_EQ(test::value_at("InternetGatewayDevice.HostNumberOfEntries"), "1");
}

TEST_F(StartUp, IgnoresRecordsThatNameNothing) {
  store(primary,
        saved_records({"", "InternetGatewayDevice.Gone.3.", "InternetGatewayDevice.Host.1"}));
  EXPECT_EQ(start(), 0);
  EXPECT_EQ(test::children_of("InternetGatewayDevice.Host."), "0. 1. 2.");
  EXPECT_EQ(test::children_of("InternetGatewayDevice.X_VT_MiscCfg.DeletedDefaultInstances."),
            "0. 1. 2. 3.");
}

TEST_F(StartUp, AppliesTheDefaultsOwnRecordsWithoutSavedSettings) {
  std::string defaults = kDefaults;
  const std::string before = "value=\"\"/></OBJECT>\n</OBJECT>\n</OBJECT>\n</OBJECT>\n";
  ASSERT_NE(defaults.find(before), std::string::npos);
  defaults.replace(defaults.find(before), std::string_view{"value=\"\"/></OBJECT>\n"}.size(),
                   "value=\"\"/></OBJECT>\n<OBJECT name=\"1.\"><PARAMETER name=\"URI\" "
                   "value=\"InternetGatewayDevice.Host.1.\"/></OBJECT>\n");
  write_file(paths().defaults, defaults);
  EXPECT_EQ(start(), 0);
  EXPECT_EQ(test::children_of("InternetGatewayDevice.Host."), "0. 2.");
  EXPECT_EQ(said, defaults_told + nothing_told);
}

TEST_F(StartUp, ATreeNeedsNoRecordTable) {
  write_file(paths().defaults, "<OBJECT name=\"InternetGatewayDevice.\"></OBJECT>");
  EXPECT_EQ(start(), 0);
  EXPECT_EQ(live_outline(), "InternetGatewayDevice.\n");
}

// --------------------------------------------------------------------------------- the argument

TEST_F(StartUp, AFileThatLoadsIsTheWholeConfiguration) {
  write_file(file, kDefaults);
  std::remove(paths().defaults);
  store(primary, kSaved);
  EXPECT_EQ(start(file.c_str()), 0);
  EXPECT_EQ(live_outline(), kDefaultTree);
  EXPECT_EQ(said, "");
}

TEST_F(StartUp, AFileThatLoadsKeepsItsOwnRecordsUnapplied) {
  const std::string text =
      "<OBJECT name=\"InternetGatewayDevice.\"><OBJECT name=\"Host.\"><OBJECT name=\"1.\"/>"
      "</OBJECT><OBJECT name=\"X_VT_MiscCfg.\"><OBJECT name=\"DeletedDefaultInstances.\">"
      "<OBJECT name=\"1.\"><PARAMETER name=\"URI\" value=\"InternetGatewayDevice.Host.1.\"/>"
      "</OBJECT></OBJECT></OBJECT></OBJECT>";
  write_file(file, text);
  EXPECT_EQ(start(file.c_str()), 0);
  EXPECT_EQ(test::children_of("InternetGatewayDevice.Host."), "1.");
}

TEST_F(StartUp, ThePrimaryPartitionAsTheArgumentIsItsBlock) {
  store(primary, kSaved);
  EXPECT_EQ(start(primary.c_str()), 0);
  EXPECT_EQ(live_outline(),
            "InternetGatewayDevice.\n"
            "  Name [1] = saved\n"
            "  Host.\n"
            "    5. [1]\n"
            "      Label = five\n");
  EXPECT_EQ(said, "");
}

TEST_F(StartUp, AnEmptyPrimaryPartitionAsTheArgumentIsNone) {
  store(backup, kSaved);
  EXPECT_EQ(start(primary.c_str()), 0);
  EXPECT_EQ(live_outline(), kSavedTree);
  EXPECT_EQ(said, defaults_told + primary_told + "0\n");
}

TEST_F(StartUp, AnEmptyPrimaryPartitionAsTheArgumentStillNeedsDefaults) {
  std::remove(paths().defaults);
  EXPECT_EQ(start(primary.c_str()), 156);
}

TEST_F(StartUp, ABrokenFileEndsWithoutATree) {
  write_file(file, "<OBJECT name=\"InternetGatewayDevice.\"><PARAMETER name=\"Name\"/>");
  EXPECT_EQ(start(file.c_str()), 156);
  EXPECT_EQ(cml_root, nullptr);
  EXPECT_EQ(said, "");
}

TEST_F(StartUp, AMissingFileEndsWithoutATree) {
  for (const char* name : {file.c_str(), ""}) {
    EXPECT_EQ(start(name), 156);
    EXPECT_EQ(cml_root, nullptr);
    EXPECT_EQ(said, "[FUNC]call_xml_file_parser [LINE]104\n");
  }
}

TEST_F(StartUp, ABlockThatDoesNotLoadEndsWithoutATree) {
  store(primary, "<DATAMODEL>\n");
  EXPECT_EQ(start(primary.c_str()), 156);
  EXPECT_EQ(cml_root, nullptr);
}

// ---------------------------------------------------------------------------------------- memory

TEST_F(StartUp, WithoutMemoryForTheRootEnds) {
  for (const char* argument : {static_cast<const char*>(nullptr), file.c_str()}) {
    const test::FailingHeap heap{1, test::FailingHeap::Kind::kOnce};
    EXPECT_EQ(start(argument), 4);
    EXPECT_EQ(cml_root, nullptr);
  }
}

TEST_F(StartUp, WithoutMemoryForTheSavedRootEnds) {
  // The allocation behind those of the defaults is the second root.
  bool seen = false;
  for (std::size_t nth = 1; !seen && nth < 1'000; ++nth) {
    const test::FailingHeap heap{nth, test::FailingHeap::Kind::kOnce};
    if (const int result = start(); nth > 1 && result == 4) {
      seen = true;
      EXPECT_EQ(live_outline(), kDefaultTree);
      EXPECT_EQ(said, defaults_told);
    }
    free_tree();
  }
  EXPECT_TRUE(seen);
}

TEST_F(StartUp, AFailedAllocationEndsTheStartOrLosesSettingsOnly) {
  store(primary, saved_records({"InternetGatewayDevice.Host.2."},
                               "<PARAMETER name=\"Name\" value=\"saved\"/>\n"
                               "<OBJECT name=\"Host.\"><OBJECT name=\"5.\"/></OBJECT>\n"));
  int result = 0;
  std::string outline;
  static_cast<void>(stdout_of([&] {
    test::sweep_allocations([] {},
                            [&] {
                              result = start_up(nullptr);
                              outline = live_outline();
                              free_tree();
                            },
                            [&] {
                              EXPECT_TRUE(result == 0 || result == 4 || result == 156) << result;
                              if (result != 0) return;
                              // Every default is there, as it was or as it was saved.
                              EXPECT_NE(outline.find("  Name [1] = default\n") == std::string::npos,
                                        outline.find("  Name [9] = saved\n") == std::string::npos);
                              EXPECT_NE(outline.find("      Label = one\n"), std::string::npos);
                            });
  }));
  EXPECT_EQ(result, 0);
  EXPECT_NE(outline.find("  Name [9] = saved\n"), std::string::npos);
  EXPECT_NE(outline.find("    5. [9]\n"), std::string::npos);
  EXPECT_EQ(outline.find("Label = two"), std::string::npos);
}

TEST_F(StartUp, AFailedAllocationFailsTheFile) {
  write_file(file, kDefaults);
  int result = 0;
  static_cast<void>(stdout_of([&] {
    test::sweep_allocations([] {},
                            [&] {
                              result = start_up(file.c_str());
                              if (result == 0) free_tree();
                            },
                            [&] {
                              EXPECT_TRUE(result == 4 || result == 156) << result;
                              EXPECT_EQ(cml_root, nullptr);
                            });
  }));
  EXPECT_EQ(result, 0);
}

// ----------------------------------------------------------------------------------- termination

/// Keeps the dispositions of all signals while it lives.
class KeptSignals {
 public:
  KeptSignals() {
    for (int number = 1; number < kCount; ++number)
      sigaction(number, nullptr, &actions_[number]);
  }
  ~KeptSignals() {
    for (int number = 1; number < kCount; ++number)
      sigaction(number, &actions_[number], nullptr);
  }
  KeptSignals(const KeptSignals&) = delete;
  KeptSignals& operator=(const KeptSignals&) = delete;

  [[nodiscard]] void (*handler(int number) const)(int) { return actions_[number].sa_handler; }

  static constexpr int kCount = 32;

 private:
  struct sigaction actions_[kCount] = {};
};

TEST(Termination, HandlesFourSignalsAndNoOther) {
  const KeptSignals before;
  install_termination_handler();
  for (int number = 1; number < KeptSignals::kCount; ++number) {
    struct sigaction action {};
    sigaction(number, nullptr, &action);
    const bool terminates =
        number == SIGTERM || number == SIGHUP || number == SIGINT || number == SIGQUIT;
    EXPECT_EQ(action.sa_handler, terminates ? CM_CORE_Terminate : before.handler(number)) << number;
    if (!terminates) continue;
    constexpr int kAsked =
        SA_RESTART | SA_SIGINFO | SA_NODEFER | SA_RESETHAND | SA_ONSTACK | SA_NOCLDSTOP;
    EXPECT_EQ(action.sa_flags & kAsked, 0) << number;
    for (int blocked = 1; blocked < KeptSignals::kCount; ++blocked)
      EXPECT_EQ(sigismember(&action.sa_mask, blocked), 0) << number << " blocks " << blocked;
  }
}

TEST(Termination, RemovesNothingBeforeThereIsASocketOfItsOwn) {
  test::clear_sandbox();
  for (const char* path : {paths().socket, paths().temporary_output})
    write_file(path, "kept");
  EXPECT_EXIT(CM_CORE_Terminate(SIGTERM), testing::ExitedWithCode(1), "");
  for (const char* path : {paths().socket, paths().temporary_output})
    EXPECT_EQ(test::read_file(path), "kept");
}

TEST(Termination, NeedsNoSocket) {
  test::clear_sandbox();
  EXPECT_EXIT(CM_CORE_Terminate(SIGINT), testing::ExitedWithCode(1), "");
}

// ------------------------------------------------------------------------------- the descriptors

/// Whether a descriptor is the null device, open for both.
bool is_null_device(int fd) {
  struct stat device {};
  struct stat null {};
  return fstat(fd, &device) == 0 && stat("/dev/null", &null) == 0 &&
         device.st_rdev == null.st_rdev && (fcntl(fd, F_GETFL) & O_ACCMODE) == O_RDWR;
}

/// In a process of its own: closes some of the descriptors 0 to 2 and has them occupied. Ends with
/// 0 when those are the null device, the others what they were, and no further one is open.
[[noreturn]] void occupy_without(const std::vector<int>& closed) {
  int others = open("/dev/zero", O_RDONLY);
  for (int fd = 0; fd <= 2; ++fd)
    dup2(others, fd);
  close(others);
  const int free_before = open("/dev/zero", O_RDONLY);
  close(free_before);
  for (const int fd : closed)
    close(fd);
  occupy_standard_descriptors();
  bool right = true;
  for (int fd = 0; fd <= 2; ++fd) {
    bool was_closed = false;
    for (const int other : closed)
      was_closed = was_closed || other == fd;
    right = right && is_null_device(fd) == was_closed && fcntl(fd, F_GETFD) == 0;
  }
  const int free_after = open("/dev/zero", O_RDONLY);
  _exit(right && free_after == free_before ? 0 : 1);
}

TEST(StandardDescriptors, TakeThePlacesThatAreFree) {
  for (const std::vector<int>& closed :
       {std::vector<int>{}, {0}, {1}, {2}, {0, 1}, {0, 2}, {1, 2}, {0, 1, 2}})
    EXPECT_EXIT(occupy_without(closed), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace gwconf
