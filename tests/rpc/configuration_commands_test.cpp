#include "rpc/configuration_commands.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <syslog.h>
#include <vector>

#include <gtest/gtest.h>

#include "core/paths.h"
#include "daemon/startup.h"
#include "storage/settings_block.h"
#include "tests/rpc/request_fixture.h"
#include "tests/rpc/system_log.h"
#include "tests/storage/scripted_flash.h"
#include "tests/support/capture.h"
#include "tests/support/failing_heap.h"
#include "tests/support/sandbox.h"
#include "tests/support/tree_builder.h"

namespace gwconf {
namespace {

using namespace std::string_literals;
using test::children_of;
using test::flash;
using test::framed;
using test::LogLine;
using test::message;
using test::read_file;
using test::Reply;
using test::serve;
using test::serve_bytes;
using test::system_log;
using test::value_at;
using test::write_file;

const std::string kDefaults = R"xml(<?xml version="1.0"?>
<DATAMODEL>
<OBJECT name="InternetGatewayDevice." type="object">
<PARAMETER name="Summary" type="string(64)" value="default" writable="1"/>
<PARAMETER name="HostNumberOfEntries" type="unsignedInt" value="1"/>
<OBJECT name="Host.">
<OBJECT name="0."><PARAMETER name="Name" type="string" value="new"/></OBJECT>
<OBJECT name="1."><PARAMETER name="Name" type="string" value="first"/></OBJECT>
</OBJECT>
<OBJECT name="X_VT_MiscCfg."><OBJECT name="DeletedDefaultInstances.">
<OBJECT name="0."><PARAMETER name="URI" type="string(1024)" value=""/></OBJECT>
</OBJECT></OBJECT>
</OBJECT>
</DATAMODEL>
)xml";

const std::string kSummary = "InternetGatewayDevice.Summary";
const std::string kHost = "InternetGatewayDevice.Host.";

const std::string kNothingSet = "<DATAMODEL>\n</DATAMODEL>\n";

/// The saved form of a tree whose Summary was set.
std::string saved_summary(const std::string& value) {
  return "<DATAMODEL>\n"
         "<OBJECT name=\"InternetGatewayDevice.\" type=\"object\" writable=\"0\" >\n"
         "<PARAMETER name=\"Summary\" type=\"string(64)\" value=\"" +
         value +
         "\" writable=\"1\" />\n"
         "</OBJECT>\n"
         "</DATAMODEL>\n";
}

/// The text of the settings block in a partition, or "<none>".
std::string block_text(const std::string& path) {
  const OwnedText text = CM_UTL_GetMTDBlockSettings(path.c_str());
  return text ? std::string{text.view()} : "<none>";
}

class ConfigurationCommands : public test::RequestTest {
 protected:
  void SetUp() override {
    RequestTest::SetUp();
    write_file(paths().defaults, kDefaults);
    load_xml(kDefaults);
  }

  /// The partitions that were written, in order.
  static std::vector<std::string> written() {
    std::vector<std::string> partitions;
    for (const test::ScriptedFlash::Write& write : flash().writes)
      partitions.push_back(write.path);
    return partitions;
  }

  /// What the log holds when a partition failed.
  static LogLine not_saved_to(const std::string& partition) {
    return {LOG_ERR, "settings not saved to " + partition + ": Input/output error"};
  }

  /// What it holds when a value takes too much.
  static LogLine unwritable(const std::string& target) {
    return {LOG_ERR, "settings not saved to " + target + ": the attributes of " + kSummary +
                         " take more than 2047 characters"};
  }

  const std::string primary = paths().primary_partition;
  const std::string backup = paths().backup_partition;
  const std::string file = sandbox("/tmp/saved.xml");
};

// --- Commit ---

TEST_F(ConfigurationCommands, CommitWritesTheUserSetPartToBothPartitions) {
  ASSERT_EQ(serve({"0", kSummary, "mine"}).result, 0);
  EXPECT_EQ(serve({"19"}), (Reply{{}, 0}));
  EXPECT_EQ(block_text(primary), saved_summary("mine"));
  EXPECT_EQ(block_text(backup), saved_summary("mine"));
  EXPECT_FALSE(test::file_exists(paths().temporary_output));
}

TEST_F(ConfigurationCommands, WithAGoodPrimaryTheBackupIsWrittenFirst) {
  ASSERT_EQ(CM_UTL_SetMTDBlockSettings(primary.c_str(), "old"), CM_OK);
  flash().writes.clear();
  EXPECT_EQ(serve({"19"}), (Reply{{}, 0}));
  EXPECT_EQ(written(), (std::vector{backup, primary}));
}

TEST_F(ConfigurationCommands, WithoutAGoodPrimaryItIsWrittenFirst) {
  EXPECT_EQ(serve({"19"}), (Reply{{}, 0}));  // none at all
  EXPECT_EQ(written(), (std::vector{primary, backup}));

  flash() = {};
  write_file(primary, std::string(4096, '\xFF'));  // erased
  EXPECT_EQ(serve({"19"}), (Reply{{}, 0}));
  EXPECT_EQ(written(), (std::vector{primary, backup}));

  flash() = {};
  std::string block = read_file(primary);
  block.at(45) = static_cast<char>(block.at(45) ^ 1);  // damaged
  write_file(primary, block);
  EXPECT_EQ(serve({"19"}), (Reply{{}, 0}));
  EXPECT_EQ(written(), (std::vector{primary, backup}));
}

TEST_F(ConfigurationCommands, WhereverThePowerFailsOneBlockIsWhole) {
  ASSERT_EQ(serve({"0", kSummary, "old"}).result, 0);
  ASSERT_EQ(serve({"19"}).result, 0);
  const std::string old_block = read_file(primary);
  ASSERT_EQ(serve({"0", kSummary, "new"}).result, 0);
  for (const bool has_primary : {true, false}) {
    for (std::size_t steps = 0; steps < 500; ++steps) {
      flash() = {};
      flash().kind = test::ScriptedFlash::Kind::kErased;
      flash().steps = steps;
      write_file(primary, has_primary ? old_block : std::string(old_block.size(), '\xFF'));
      write_file(backup, old_block);
      EXPECT_EQ(serve({"19"}), (Reply{{}, 0}));
      const std::string texts = block_text(primary) + block_text(backup);
      EXPECT_TRUE(texts.find("\"old\"") != std::string::npos ||
                  texts.find("\"new\"") != std::string::npos)
          << steps << texts;
    }
  }
}

TEST_F(ConfigurationCommands, AFailedFlashWriteIsNotReported) {
  flash().fails = true;
  flash().reason = EIO;
  EXPECT_EQ(serve({"19"}), (Reply{{}, 0}));
  EXPECT_EQ(written(), (std::vector{primary, primary, primary, backup, backup, backup}));
  EXPECT_EQ(block_text(primary), "<none>");
  EXPECT_EQ(system_log().lines,
            (std::vector<LogLine>{not_saved_to(primary), not_saved_to(backup)}));
}

TEST_F(ConfigurationCommands, AnyWriteToTheFlashMayFailOnce) {
  ASSERT_EQ(serve({"0", kSummary, "old"}).result, 0);
  ASSERT_EQ(serve({"19"}).result, 0);
  const std::string old_block = read_file(primary);
  ASSERT_EQ(serve({"0", kSummary, "new"}).result, 0);
  for (const bool has_primary : {true, false}) {
    for (const std::size_t nth : {1u, 2u}) {
      flash() = {};
      flash().refuses = [nth](const auto&) { return flash().writes.size() == nth; };
      write_file(primary, has_primary ? old_block : "");
      write_file(backup, old_block);
      EXPECT_EQ(serve({"19"}), (Reply{{}, 0}));
      EXPECT_EQ(flash().writes.size(), 3u);
      EXPECT_EQ(block_text(primary), saved_summary("new"));
      EXPECT_EQ(block_text(backup), saved_summary("new"));
    }
  }
  EXPECT_TRUE(system_log().lines.empty());
}

/// A primary that holds other settings than the live tree and cannot be replaced.
class StubbornPrimary : public ConfigurationCommands {
 protected:
  void SetUp() override {
    ConfigurationCommands::SetUp();
    ASSERT_EQ(serve({"0", kSummary, "old"}).result, 0);
    ASSERT_EQ(serve({"19"}).result, 0);
    ASSERT_EQ(serve({"0", kSummary, "new"}).result, 0);
    flash() = {};
    flash().reason = EIO;
  }

  /// The value that a start finds.
  std::string value_after_restart() const {
    release_tree();
    static_cast<void>(test::stdout_of([] { EXPECT_EQ(start_up(nullptr), 0); }));
    return value_at(kSummary);
  }
};

TEST_F(StubbornPrimary, GivesWayToTheNewBackup) {
  // As a medium without room: what is there already can be written over.
  flash().refuses = [this](const auto& write) {
    return write.path == primary && write.bytes.size() > 40;
  };
  EXPECT_EQ(serve({"19"}), (Reply{{}, 0}));
  EXPECT_EQ(written(), (std::vector{backup, primary, primary, primary, primary}));
  EXPECT_EQ(block_text(primary), "<none>");
  EXPECT_EQ(block_text(backup), saved_summary("new"));
  EXPECT_EQ(system_log().lines,
            (std::vector<LogLine>{
                not_saved_to(primary),
                {LOG_ERR, primary + " was emptied of its older settings: the backup serves"}}));
  EXPECT_EQ(value_after_restart(), "new");
  // From now on it is the one that is written first.
  flash() = {};
  EXPECT_EQ(serve({"19"}), (Reply{{}, 0}));
  EXPECT_EQ(written(), (std::vector{primary, backup}));
  EXPECT_EQ(block_text(primary), saved_summary("new"));
}

TEST_F(StubbornPrimary, ThatCannotBeEmptiedEitherIsLogged) {
  flash().refuses = [this](const auto& write) { return write.path == primary; };
  EXPECT_EQ(serve({"19"}), (Reply{{}, 0}));
  EXPECT_EQ(block_text(primary), saved_summary("old"));
  EXPECT_EQ(block_text(backup), saved_summary("new"));
  EXPECT_EQ(system_log().lines,
            (std::vector<LogLine>{
                not_saved_to(primary),
                {LOG_ERR, primary + " keeps older settings: they come back at the next start"}}));
}

TEST_F(StubbornPrimary, StaysWhereTheBackupIsNoBetter) {
  flash().fails = true;
  EXPECT_EQ(serve({"19"}), (Reply{{}, 0}));
  EXPECT_EQ(written(), (std::vector{backup, backup, backup, primary, primary, primary}));
  EXPECT_EQ(value_after_restart(), "old");
}

TEST_F(StubbornPrimary, DoesNotComeBackWhenMemoryRunsOut) {
  const std::string old_block = read_file(primary);
  release_tree();
  Reply reply;
  std::set<std::string> outcomes;
  test::sweep_allocations(
      [&] {
        load_xml(kDefaults);
        ASSERT_EQ(serve({"0", kSummary, "new"}).result, 0);
        flash() = {};
        write_file(primary, old_block);
        write_file(backup, old_block);
      },
      [&] {
        reply = serve({"19"});
        release_tree();
      },
      [&] {
        const bool saved = !written().empty();
        const std::string value = value_after_restart();
        release_tree();
        outcomes.insert(std::to_string(reply.result) + (saved ? " saved " : " not saved ") + value);
      });
  EXPECT_EQ(outcomes, (std::set<std::string>{"0 saved new", "156 not saved old", "156 saved old"}));
}

TEST_F(StubbornPrimary, ThatHoldsNoBlockIsLeftAlone) {
  write_file(primary, "");
  flash().refuses = [this](const auto& write) { return write.path == primary; };
  EXPECT_EQ(serve({"19"}), (Reply{{}, 0}));
  EXPECT_EQ(written(), (std::vector{primary, primary, primary, backup}));
  EXPECT_EQ(system_log().lines, (std::vector<LogLine>{not_saved_to(primary)}));
  EXPECT_EQ(value_after_restart(), "new");
}

TEST_F(ConfigurationCommands, ABackupThatCannotBeWrittenIsLogged) {
  ASSERT_EQ(serve({"19"}).result, 0);
  ASSERT_EQ(serve({"0", kSummary, "new"}).result, 0);
  flash() = {};
  flash().reason = EIO;
  flash().refuses = [this](const auto& write) { return write.path == backup; };
  EXPECT_EQ(serve({"19"}), (Reply{{}, 0}));
  EXPECT_EQ(written(), (std::vector{backup, backup, backup, primary}));
  EXPECT_EQ(block_text(primary), saved_summary("new"));
  EXPECT_EQ(system_log().lines, (std::vector<LogLine>{not_saved_to(backup)}));
}

/// Makes the writer fail: a value whose attribute list does not fit its buffer.
void make_unwritable() {
  ASSERT_EQ(serve({"0", kSummary, std::string(2048, 'x')}).result, 0);
}

TEST_F(ConfigurationCommands, ATextThatCannotBeBuiltIsReportedAsAByte) {
  make_unwritable();
  EXPECT_EQ(serve({"19"}), (Reply{{}, 156}));
  EXPECT_TRUE(written().empty());
  EXPECT_FALSE(test::file_exists(paths().temporary_output));
  EXPECT_EQ(system_log().lines, (std::vector<LogLine>{unwritable("flash")}));
}

TEST_F(ConfigurationCommands, NobodyIsInTheWayOfTheTemporaryFile) {
  std::filesystem::create_directories(paths().temporary_output + "/inside"s);
  EXPECT_EQ(serve({"19"}), (Reply{{}, 0}));
  EXPECT_EQ(block_text(primary), kNothingSet);
  EXPECT_EQ(block_text(backup), kNothingSet);
  EXPECT_EQ(serve({"29", file}), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), kNothingSet + '\0');
}

TEST_F(ConfigurationCommands, AHalfWithoutATextIsLogged) {
  release_tree();
  std::set<std::string> lines;
  test::sweep_allocations(
      [] {
        load_xml(kDefaults);
        flash() = {};
        std::filesystem::remove(paths().primary_partition);
      },
      [] {
        static_cast<void>(serve({"19"}));
        release_tree();
      },
      [&] {
        for (const LogLine& line : system_log().lines)
          lines.insert(line.text);
        system_log() = {};
      });
  const std::string reason = ": no tree, no memory, or more than 2097152 bytes";
  EXPECT_EQ(lines, (std::set<std::string>{
                       "settings not saved to flash" + reason,
                       "settings not saved to " + primary + reason,
                       "settings not saved to " + backup + reason,
                       "settings not saved to " + primary + ": out of memory",
                       "settings not saved to " + backup + ": out of memory",
                   }));
}

TEST_F(ConfigurationCommands, TheResultIsThatOfTheSecondWrite) {
  release_tree();
  Reply reply;
  std::set<std::string> outcomes;
  test::sweep_allocations(
      [] {
        load_xml(kDefaults);
        flash() = {};
        std::filesystem::remove(paths().primary_partition);
      },
      [&] {
        reply = serve({"19"});
        release_tree();
      },
      [&] {
        std::string outcome = std::to_string(reply.result);
        for (const std::string& partition : written())
          outcome += partition == primary ? " primary" : " backup";
        outcomes.insert(outcome);
        EXPECT_TRUE(reply.answers.empty());
      });
  // The first text, or either block for a moment; the first block for good; the second text; the
  // second block; all of them.
  EXPECT_EQ(outcomes, (std::set<std::string>{"0 backup", "0 primary backup", "0 primary",
                                             "156 primary", "156"}));
}

TEST_F(ConfigurationCommands, WithoutALiveTreeThereIsNothingToCommit) {
  release_tree();
  EXPECT_EQ(serve({"19"}), (Reply{{}, 156}));
  EXPECT_TRUE(written().empty());
}

TEST_F(ConfigurationCommands, ABlockTooLargeForTheFlashIsNotReported) {
  // What does not compress below the size of a block.
  std::string noise;
  unsigned state = 1;
  for (int i = 0; i < 1500; ++i) {
    state = state * 1103515245 + 12345;
    noise += static_cast<char>('!' + state / 65536 % 90);
  }
  load_xml(kDefaults);
  for (int i = 2; i < 100; ++i) {
    std::rotate(noise.begin(), noise.begin() + 13, noise.end());
    noise[static_cast<std::size_t>(i)] = static_cast<char>('a' + i % 26);
    std::string value;
    for (const char c : noise) {
      state = state * 1103515245 + 12345;
      value += static_cast<char>('0' + (static_cast<unsigned>(c) + state / 65536) % 60);
    }
    for (char& c : value)
      if (c == '<' || c == '>' || c == '\\') c = '.';
    ASSERT_EQ(serve({"10", kHost, std::to_string(i)}).result, 0);
    ASSERT_EQ(serve({"0", kHost + std::to_string(i) + ".Name", value}).result, 0);
  }
  system_log() = {};
  EXPECT_EQ(serve({"19"}), (Reply{{}, 0}));
  EXPECT_TRUE(written().empty());
  EXPECT_GT(read_file(paths().last_block_text).size(), 100'000u);
  ASSERT_EQ(system_log().lines.size(), 2u);
  EXPECT_TRUE(system_log().lines[0].text.starts_with("settings not saved to " + primary +
                                                     ": the block would have "));
  EXPECT_TRUE(system_log().lines[1].text.starts_with("settings not saved to " + backup +
                                                     ": the block would have "));
}

// --- Reset ---

TEST_F(ConfigurationCommands, ResetBringsTheDefaultsBackAndCommitsThem) {
  ASSERT_EQ(serve({"0", kSummary, "mine"}).result, 0);
  ASSERT_EQ(serve({"10", kHost, "4"}).result, 0);
  ASSERT_EQ(serve({"12", kHost, "1"}).result, 0);
  ASSERT_EQ(serve({"19"}).result, 0);
  flash().writes.clear();
  EXPECT_EQ(serve({"20"}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"2", kSummary}), (Reply{{"default"}, 0}));
  // The record of deleted instances is the defaults' own, too.
  EXPECT_EQ(children_of(kHost), "0. 1.");
  EXPECT_EQ(written(), (std::vector{backup, primary}));
  EXPECT_EQ(block_text(primary), kNothingSet);
  EXPECT_EQ(block_text(backup), kNothingSet);

  // A restart gives the same.
  const std::string after = test::live_outline();
  release_tree();
  static_cast<void>(test::stdout_of([] { EXPECT_EQ(start_up(nullptr), 0); }));
  EXPECT_EQ(test::live_outline(), after);
}

TEST_F(ConfigurationCommands, ResetWithoutAGoodPrimaryWritesItFirst) {
  EXPECT_EQ(serve({"20"}), (Reply{{}, 0}));
  EXPECT_EQ(written(), (std::vector{primary, backup}));
}

TEST_F(ConfigurationCommands, ResetDoesNotLookAtHowTheDefaultsLoaded) {
  std::filesystem::remove(paths().defaults);
  EXPECT_EQ(serve({"20"}), (Reply{{}, 0}));
  EXPECT_EQ(block_text(primary), kNothingSet);
  EXPECT_EQ(serve({"2", kSummary}), (Reply{{""}, 2}));
  // Defaults that end too early leave what could be read.
  write_file(paths().defaults, kDefaults.substr(0, kDefaults.find("<OBJECT name=\"Host.\"")));
  EXPECT_EQ(serve({"20"}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"2", kSummary}), (Reply{{"default"}, 0}));
  write_file(paths().defaults, kDefaults);
  EXPECT_EQ(serve({"20"}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1.");
}

TEST_F(ConfigurationCommands, ResetWithoutMemoryForARootLeavesNoLiveTree) {
  {
    const test::FailingHeap heap{1, test::FailingHeap::Kind::kOnce};
    EXPECT_EQ(serve({"20"}), (Reply{{}, -100}));
    EXPECT_TRUE(heap.fired());
  }
  EXPECT_EQ(cml_root, nullptr);
  EXPECT_TRUE(written().empty());
  EXPECT_EQ(serve({"2", kSummary}), (Reply{{""}, 2}));
  EXPECT_EQ(serve({"20"}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"2", kSummary}), (Reply{{"default"}, 0}));
}

TEST_F(ConfigurationCommands, ResetOutOfMemory) {
  release_tree();
  Reply reply;
  const std::size_t failures =
      test::sweep_allocations([] { load_xml(kDefaults); },
                              [&] {
                                reply = serve({"20"});
                                release_tree();
                              },
                              [&] {
                                EXPECT_TRUE(reply == (Reply{{}, 0}) || reply == (Reply{{}, -100}) ||
                                            reply == (Reply{{}, 156}))
                                    << reply;
                                EXPECT_EQ(serve({"20"}), (Reply{{}, 0}));
                                EXPECT_EQ(children_of(kHost), "0. 1.");
                                release_tree();
                              });
  EXPECT_GE(failures, 50u);
}

// --- Save ---

/// A tree whose saved text has `size` bytes.
std::string outline_saved_as(std::size_t size) {
  const std::string frame =
      "<DATAMODEL>\n<OBJECT name=\"A.\" type=\"object\" writable=\"0\" "
      ">\n</OBJECT>\n</DATAMODEL>\n";
  const std::string row = "<PARAMETER name=\"P\" type=\"string\" value=\"\" writable=\"0\" />\n";
  std::size_t rest = size - frame.size();
  std::string outline = "A.\n";
  while (rest > 0) {
    // No row is left with less room than an empty one takes.
    const std::size_t length = rest < 2000 ? rest : std::min<std::size_t>(1900, rest - 100);
    outline += "  P [8] = " + std::string(length - row.size(), 'v') + "\n";
    rest -= length;
  }
  return outline;
}

TEST_F(ConfigurationCommands, ASavedFileIsTheTextAndOneNul) {
  ASSERT_EQ(serve({"0", kSummary, "a \"b\" & \\c"}).result, 0);
  EXPECT_EQ(serve({"29", file}), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), saved_summary("a &quot;b&quot; &amp; \\\\c") + '\0');
  EXPECT_TRUE(written().empty());
}

TEST_F(ConfigurationCommands, SavingReplacesALongerFile) {
  write_file(file, std::string(100'000, 'x'));
  EXPECT_EQ(serve({"29", file}), (Reply{{}, 0}));
  EXPECT_EQ(read_file(file), kNothingSet + '\0');
}

TEST_F(ConfigurationCommands, AFileThatCannotBeOpenedIsNotSaved) {
  const std::string before = test::live_outline();
  const std::string fifo = sandbox("/tmp/fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (const std::string& path :
       {sandbox("/tmp/missing/saved.xml"), sandbox("/tmp"), fifo, ""s, std::string(32768, 'x'),
        "/dev/null"s, "/proc/self/coredump_filter"s})
    EXPECT_EQ(serve({"29", path}), (Reply{{}, -100})) << path.substr(0, 60);
  EXPECT_EQ(test::live_outline(), before);
}

TEST_F(ConfigurationCommands, AFileThatTheServiceMayNotOpenIsRefused) {
  write_file(file, saved_summary("kept"));
  const auto served = [this](const std::string& command) {
    test::Detached service{[&] {
      test::heed_file_modes();
      const Reply reply = serve({command, file});
      return std::to_string(reply.result) + " " + value_at(kSummary);
    }};
    return service.text();
  };
  ASSERT_EQ(chmod(file.c_str(), 0400), 0);
  EXPECT_EQ(served("29"), "-100 default");
  EXPECT_EQ(read_file(file), saved_summary("kept"));
  EXPECT_EQ(served("30"), "0 kept");
  ASSERT_EQ(chmod(file.c_str(), 0), 0);
  EXPECT_EQ(served("30"), "-100 default");
}

TEST_F(ConfigurationCommands, ASavedFileIsNotForOthers) {
  const mode_t mask = umask(0);
  EXPECT_EQ(serve({"29", file}), (Reply{{}, 0}));
  umask(mask);
  struct stat saved {};
  ASSERT_EQ(stat(file.c_str(), &saved), 0);
  EXPECT_EQ(saved.st_mode & 07777u, 0660u);
}

TEST_F(ConfigurationCommands, AFileThatIsNotWrittenWholeIsReported) {
  const auto saved_with_room_for = [this](rlim_t size) {
    test::Detached service{[&] {
      std::signal(SIGXFSZ, SIG_IGN);
      const rlimit room{size, size};
      setrlimit(RLIMIT_FSIZE, &room);
      return std::to_string(serve({"29", file}).result);
    }};
    return service.text();
  };
  load(outline_saved_as(20'000));
  EXPECT_EQ(saved_with_room_for(20'001), "0");
  EXPECT_EQ(saved_with_room_for(20'000), "-100");
}

TEST_F(ConfigurationCommands, AnUnreadablePathSavesNothing) {
  for (const char* command : {"29", "30"}) {
    const std::string before = test::live_outline();
    EXPECT_EQ(serve({command}), (Reply{{}, 10}));
    EXPECT_EQ(serve_bytes(message(command) + framed(0, "")), (Reply{{}, 10}));
    EXPECT_EQ(serve_bytes(message(command) + framed(-1, file)), (Reply{{}, 10}));
    EXPECT_EQ(serve_bytes(message(command) + framed(32770, file)), (Reply{{}, 10}));
    EXPECT_EQ(test::live_outline(), before);
  }
}

TEST_F(ConfigurationCommands, ATextThatCannotBeBuiltTouchesNoFile) {
  make_unwritable();
  write_file(file, "kept");
  EXPECT_EQ(serve({"29", file}), (Reply{{}, -100}));
  EXPECT_EQ(read_file(file), "kept");
  EXPECT_EQ(system_log().lines, (std::vector<LogLine>{unwritable(file)}));
  release_tree();
  EXPECT_EQ(serve({"29", file}), (Reply{{}, -100}));
  EXPECT_EQ(read_file(file), "kept");
}

TEST_F(ConfigurationCommands, TheSizeOfASavedFileIsBounded) {
  load(outline_saved_as(2'097'151));
  EXPECT_EQ(serve({"29", file}), (Reply{{}, 0}));
  EXPECT_EQ(std::filesystem::file_size(file), 2'097'152u);

  // One more, with its NUL: the file is left empty.
  load(outline_saved_as(2'097'152));
  EXPECT_EQ(serve({"29", file}), (Reply{{}, -100}));
  EXPECT_EQ(read_file(file), "");

  // A text past the bound is not even built.
  load(outline_saved_as(2'097'153));
  write_file(file, "kept");
  EXPECT_EQ(serve({"29", file}), (Reply{{}, -100}));
  EXPECT_EQ(read_file(file), "kept");
}

TEST_F(ConfigurationCommands, SaveOutOfMemoryTouchesNoFile) {
  release_tree();
  Reply reply;
  const std::size_t failures = test::sweep_allocations(
      [&] {
        load_xml(kDefaults);
        ASSERT_EQ(serve({"0", kSummary, "mine"}).result, 0);
        write_file(file, "kept");
      },
      [&] {
        reply = serve({"29", file});
        release_tree();
      },
      [&] {
        EXPECT_EQ(reply, (Reply{{}, -100}));
        EXPECT_EQ(read_file(file), "kept");
      });
  EXPECT_GE(failures, 10u);
}

// --- Files of others ---

class ConfigurationFiles : public ConfigurationCommands {
 protected:
  void SetUp() override {
    if (const char* reason = test::no_strangers()) GTEST_SKIP() << reason;
    ConfigurationCommands::SetUp();
    folder = folder_of_stranger();
    write_file(roots, saved_summary("root's"));
    ASSERT_EQ(chmod(roots.c_str(), 0660), 0);
    std::filesystem::create_symlink(roots, folder + "/link");
  }
  void TearDown() override {
    if (!test::no_strangers()) ConfigurationCommands::TearDown();
  }

  static Reply serve_stranger(const std::string& command, const std::string& path) {
    return test::serve_on(test::Connection{test::kStranger}, {command, path});
  }

  std::string folder;
  const std::string roots = sandbox("/tmp/roots.xml");
};

TEST_F(ConfigurationFiles, AreSavedWithTheRightsOfTheClient) {
  for (const std::string& path : {roots, folder + "/link", sandbox("/tmp/new.xml")})
    EXPECT_EQ(serve_stranger("29", path), (Reply{{}, -100})) << path;
  EXPECT_EQ(read_file(roots), saved_summary("root's"));
  EXPECT_FALSE(test::file_exists(sandbox("/tmp/new.xml")));
  EXPECT_EQ(serve_stranger("29", folder + "/own.xml"), (Reply{{}, 0}));
  EXPECT_EQ(read_file(folder + "/own.xml"), kNothingSet + '\0');
  struct stat saved {};
  ASSERT_EQ(stat((folder + "/own.xml").c_str(), &saved), 0);
  EXPECT_EQ(saved.st_uid, test::kStranger);
  // Root goes on as ever.
  EXPECT_EQ(serve({"29", folder + "/link"}), (Reply{{}, 0}));
  EXPECT_EQ(read_file(roots), kNothingSet + '\0');
}

TEST_F(ConfigurationFiles, AreRestoredWithTheRightsOfTheClient) {
  for (const std::string& path : {roots, folder + "/link"})
    EXPECT_EQ(serve_stranger("30", path), (Reply{{}, -100})) << path;
  EXPECT_EQ(value_at(kSummary), "default");
  // The defaults are root's: they are loaded with the service's own rights.
  ASSERT_EQ(chmod(paths().defaults, 0600), 0);
  ASSERT_EQ(chmod(roots.c_str(), 0664), 0);
  EXPECT_EQ(serve_stranger("30", folder + "/link"), (Reply{{}, 0}));
  EXPECT_EQ(value_at(kSummary), "root's");
}

TEST_F(ConfigurationFiles, WithoutTheRightOfTheClientNothingIsOpened) {
  ASSERT_EQ(chmod(roots.c_str(), 0666), 0);
  test::Detached service{[this] {
    const test::Connection save{test::kStranger};
    const test::Connection restore{test::kStranger};
    test::heed_file_modes();
    return std::to_string(serve_on(save, {"29", roots}).result) + " " +
           std::to_string(serve_on(restore, {"30", roots}).result) + " " + value_at(kSummary);
  }};
  EXPECT_EQ(service.text(), "-100 -100 default");
  EXPECT_EQ(read_file(roots), saved_summary("root's"));
}

// --- Restore ---

class Restore : public ConfigurationCommands {
 protected:
  void SetUp() override {
    ConfigurationCommands::SetUp();
    ASSERT_EQ(serve({"0", kSummary, "saved"}).result, 0);
    ASSERT_EQ(serve({"10", kHost, "4"}).result, 0);
    ASSERT_EQ(serve({"0", kHost + "4.Name", "fourth"}).result, 0);
    ASSERT_EQ(serve({"29", file}), (Reply{{}, 0}));
    ASSERT_EQ(serve({"0", kSummary, "changed since"}).result, 0);
    ASSERT_EQ(serve({"12", kHost, "4"}).result, 0);
    live_before = test::live_outline();
  }

  /// A restore of `path` fails with a code, and the tree stays.
  void expect_refused(const std::string& path, std::int32_t code) const {
    EXPECT_EQ(serve({"30", path}), (Reply{{}, code})) << path;
    EXPECT_EQ(test::live_outline(), live_before) << path;
  }

  std::string live_before;
};

TEST_F(Restore, LaysTheFileOverTheDefaults) {
  ASSERT_EQ(serve({"0", kHost + "1.Name", "not in the file"}).result, 0);
  EXPECT_EQ(serve({"30", file}), (Reply{{}, 0}));
  EXPECT_EQ(test::live_outline(),
            "InternetGatewayDevice.\n"
            "  Summary [9] = saved\n"
            "  HostNumberOfEntries = 2\n"
            "  Host.\n"
            "    0. [1]\n"
            "      Name = new\n"
            "    1. [1]\n"
            "      Name = first\n"
            "    4. [9]\n"
            "      Name [8] = fourth\n"
            "  X_VT_MiscCfg.\n"
            "    DeletedDefaultInstances.\n"
            "      0. [1]\n"
            "        URI =\n");
  EXPECT_EQ(cml_root_new, nullptr);
  EXPECT_EQ(cml_root_restore, nullptr);
}

TEST_F(Restore, LeavesFlashAlone) {
  ASSERT_EQ(serve({"19"}).result, 0);
  const std::string block = read_file(primary);
  flash().writes.clear();
  EXPECT_EQ(serve({"30", file}), (Reply{{}, 0}));
  EXPECT_TRUE(written().empty());
  EXPECT_EQ(read_file(primary), block);
  ASSERT_EQ(serve({"19"}).result, 0);
  EXPECT_NE(read_file(primary), block);
}

TEST_F(Restore, WorksASecondTime) {
  EXPECT_EQ(serve({"30", file}), (Reply{{}, 0}));
  const std::string restored = test::live_outline();
  ASSERT_EQ(serve({"0", kSummary, "changed again"}).result, 0);
  EXPECT_EQ(serve({"30", file}), (Reply{{}, 0}));
  EXPECT_EQ(test::live_outline(), restored);
  EXPECT_EQ(serve({"30"}), (Reply{{}, 10}));  // nothing is freed twice
  EXPECT_EQ(serve({"30", file}), (Reply{{}, 0}));
  EXPECT_EQ(test::live_outline(), restored);
}

TEST_F(Restore, DoesNotDeleteTheRecordedInstances) {
  ASSERT_EQ(serve({"12", kHost, "1"}).result, 0);
  ASSERT_EQ(serve({"29", file}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"30", file}), (Reply{{}, 0}));
  EXPECT_EQ(children_of(kHost), "0. 1.");
  EXPECT_EQ(value_at("InternetGatewayDevice.X_VT_MiscCfg.DeletedDefaultInstances.1.URI"),
            "InternetGatewayDevice.Host.1.");
}

TEST_F(Restore, TakesBothDialects) {
  write_file(file,
             "<VANTREL_CML><Element name=\"InternetGatewayDevice.\">"
             "<Element name=\"Summary\" value=\"from elements\"/></Element></VANTREL_CML>");
  EXPECT_EQ(serve({"30", file}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"2", kSummary}), (Reply{{"from elements"}, 0}));
}

TEST_F(Restore, SkipsWhatTheDefaultsDoNotKnow) {
  write_file(file,
             "<DATAMODEL><OBJECT name=\"InternetGatewayDevice.\">"
             "<PARAMETER name=\"Unknown\" value=\"x\"/><PARAMETER name=\"Summary\" value=\"y\"/>"
             "<OBJECT name=\"Gone.\"><PARAMETER name=\"P\" value=\"x\"/></OBJECT>"
             "</OBJECT></DATAMODEL>");
  EXPECT_EQ(serve({"30", file}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"2", kSummary}), (Reply{{"y"}, 0}));
  EXPECT_EQ(serve({"2", "InternetGatewayDevice.Unknown"}), (Reply{{""}, 2}));
  EXPECT_EQ(children_of("InternetGatewayDevice."), "Host. X_VT_MiscCfg.");
}

TEST_F(Restore, AFileThatIsNoneLeavesTheLiveTree) {
  expect_refused(sandbox("/tmp/missing.xml"), -100);
  expect_refused("", -100);
  expect_refused(sandbox("/tmp"), -100);
  expect_refused(std::string(32768, '/'), -100);
  const std::string fifo = sandbox("/tmp/fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  expect_refused(fifo, -100);
}

TEST_F(Restore, AFileThatDoesNotParseLeavesTheLiveTree) {
  const std::string whole = read_file(file);
  for (const std::string& text : {
           ""s,
           "\0"s,
           kNothingSet,  // no root object
           "text"s,
           "<DATAMODEL><OBJECT name=\"InternetGatewayDevice.\">"s,
           "<DATAMODEL></OBJECT></DATAMODEL>"s,
           "<DATAMODEL><OBJECT name='InternetGatewayDevice.'></OBJECT></DATAMODEL>"s,
           std::string(100'000, '<'),
       }) {
    write_file(file, text);
    expect_refused(file, -100);
  }
  // Cut anywhere inside the root object.
  for (std::size_t k = 0; k < whole.find("</OBJECT>\n</DATAMODEL>"); ++k) {
    write_file(file, whole.substr(0, k));
    expect_refused(file, -100);
  }
}

TEST_F(Restore, TheSizeOfAFileIsBounded) {
  std::string text = read_file(file);
  text.pop_back();  // its NUL
  write_file(file, text + std::string(2'097'153 - text.size(), '\n'));
  expect_refused(file, -100);
  write_file(file, text + std::string(2'097'152 - text.size(), '\n'));
  EXPECT_EQ(serve({"30", file}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"2", kSummary}), (Reply{{"saved"}, 0}));
}

TEST_F(Restore, WithoutMemoryForTheFilesTreeTheLiveOneStays) {
  const test::FailingHeap heap{1, test::FailingHeap::Kind::kOnce};
  expect_refused(file, 4);
  EXPECT_TRUE(heap.fired());
}

TEST_F(Restore, DefaultsThatFailLeaveNoLiveTree) {
  for (const std::string& defaults : {"<none>"s, ""s, "<DATAMODEL>"s, kDefaults.substr(0, 500)}) {
    if (defaults == "<none>")
      std::filesystem::remove(paths().defaults);
    else
      write_file(paths().defaults, defaults);
    EXPECT_EQ(serve({"30", file}), (Reply{{}, 156}));
    EXPECT_EQ(cml_root, nullptr);
    // The service goes on without a tree,
    EXPECT_EQ(serve({"2", kSummary}), (Reply{{""}, 2}));
    EXPECT_EQ(serve({"0", kSummary, "x"}), (Reply{{}, 2}));
    EXPECT_EQ(serve({"31", "InternetGatewayDevice."}), (Reply{{""}, 2}));
    EXPECT_EQ(serve({"19"}), (Reply{{}, 156}));
    EXPECT_EQ(serve({"29", sandbox("/tmp/other")}), (Reply{{}, -100}));
    // until the defaults are back.
    write_file(paths().defaults, kDefaults);
    EXPECT_EQ(serve({"30", file}), (Reply{{}, 0}));
    EXPECT_EQ(serve({"2", kSummary}), (Reply{{"saved"}, 0}));
  }
  std::filesystem::remove(paths().defaults);
  EXPECT_EQ(serve({"30", file}), (Reply{{}, 156}));
  write_file(paths().defaults, kDefaults);
  EXPECT_EQ(serve({"20"}), (Reply{{}, 0}));
  EXPECT_EQ(serve({"2", kSummary}), (Reply{{"default"}, 0}));
}

TEST_F(Restore, OutOfMemoryAtEachStep) {
  release_tree();
  Reply reply;
  std::string after;
  std::set<std::string> outcomes;
  test::sweep_allocations(
      [] { load_xml(kDefaults); },
      [&] {
        reply = serve({"30", file});
        after = test::live_outline();
        release_tree();
      },
      [&] {
        EXPECT_TRUE(reply.answers.empty());
        EXPECT_EQ(cml_root_new, nullptr);
        EXPECT_EQ(cml_root_restore, nullptr);
        outcomes.insert(std::to_string(reply.result) +
                        (after == "<none>"                              ? " no tree"
                         : after.find("= default") != std::string::npos ? " defaults"
                                                                        : " restored"));
      });
  EXPECT_EQ(outcomes, (std::set<std::string>{
                          "4 defaults",     // no memory for the file's tree
                          "-100 defaults",  // none to load the file
                          "4 no tree",      // none for the new tree, the old one gone
                          "156 no tree",    // none to load the defaults
                          "0 defaults",     // none to merge the first value,
                          "0 restored",     // or a later one: a merge does not fail
                      }));
}

TEST_F(Restore, AnUnreadablePathFreesNothing) {
  EXPECT_EQ(serve({"30"}), (Reply{{}, 10}));
  EXPECT_EQ(serve({"30", sandbox("/tmp/missing.xml")}), (Reply{{}, -100}));
  EXPECT_EQ(serve({"30"}), (Reply{{}, 10}));
  EXPECT_EQ(test::live_outline(), live_before);
}

}  // namespace
}  // namespace gwconf
