// A commit that was answered with 0 is there after a restart, whatever single system call failed.

#include <cerrno>
#include <optional>
#include <ostream>
#include <string>
#include <sys/syscall.h>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "core/paths.h"
#include "core/tree.h"
#include "rpc/configuration_commands.h"
#include "storage/settings_block.h"
#include "tests/commit/failing_call.h"
#include "tests/platform_linux/fake_mtd.h"
#include "tests/support/sandbox.h"
#include "tests/support/tree_builder.h"
#include "xml/writer.h"

namespace gwconf {
namespace {

using test::Fault;
using test::make_file;
using test::Medium;
using test::mtd;

enum class Partitions { kPlainFiles, kFlash };
enum class Before { kBothGood, kPrimaryGood, kBackupGood, kNothing };

std::ostream& operator<<(std::ostream& out, Partitions kind) {
  return out << (kind == Partitions::kFlash ? "Flash" : "PlainFiles");
}
std::ostream& operator<<(std::ostream& out, Before before) {
  const char* const names[] = {"BothGood", "PrimaryGood", "BackupGood", "Nothing"};
  return out << names[static_cast<int>(before)];
}

using Case = std::tuple<Partitions, Before>;

class Commit : public ::testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    if (!test::calls_can_fail()) GTEST_SKIP() << "this kernel lets no process watch system calls";
    test::clear_sandbox();
    mtd() = {};
    mtd().geometry = {.size = 4096, .erase_size = 1024, .page_size = 64};
    mtd().present = flash();
    load("old");
    old_text_ = rendered();
    ASSERT_EQ(CM_RAM2XML(primary.c_str(), cml_root), 0);
    old_block_ = test::read_file(primary);
    load("new, and somewhat longer than the old one");
    new_text_ = rendered();
    ASSERT_NE(new_text_, old_text_);
  }
  void TearDown() override { release_tree(); }

  [[nodiscard]] static bool flash() { return std::get<0>(GetParam()) == Partitions::kFlash; }

  static void release_tree() { ignore(CM_UTL_FreeNode(std::exchange(cml_root, nullptr))); }
  static void load(const std::string& value) {
    release_tree();
    cml_root = test::build_tree("A.\n  p [8] = " + value + "\n").release();
  }
  static std::string rendered() {
    OwnedText text;
    EXPECT_EQ(VT_CM_RAM2XML(&text, cml_root), CM_OK);
    return std::string{text.view()};
  }

  /// The partitions as they are before the commit.
  void prepare() {
    const Before before = std::get<1>(GetParam());
    const bool primary_good = before == Before::kBothGood || before == Before::kPrimaryGood;
    const bool backup_good = before == Before::kBothGood || before == Before::kBackupGood;
    for (const auto& [path, good] : {std::pair{primary, primary_good}, {backup, backup_good}}) {
      if (flash()) {
        const std::string erased(mtd().geometry.size, '\xFF');
        make_file(path, good ? old_block_ + erased.substr(old_block_.size()) : erased);
      } else {
        medium_.put(path, good ? std::optional{old_block_} : std::nullopt);
      }
    }
  }

  /// What a start would find.
  [[nodiscard]] std::string found() const {
    OwnedText text = CM_UTL_GetMTDBlockSettings(primary.c_str());
    if (!text) text = CM_UTL_GetMTDBlockSettings(backup.c_str());
    return text ? std::string{text.view()} : "<none>";
  }

  /// A single failure does not even leave a partition behind.
  void expect_saved(const std::string& answer) const {
    EXPECT_EQ(answer, "0");
    EXPECT_EQ(found(), new_text_);
    for (const std::string& path : {primary, backup}) {
      const OwnedText text = CM_UTL_GetMTDBlockSettings(path.c_str());
      EXPECT_EQ(text.view(), new_text_) << path;
    }
  }

  /// Commits once, with a system call going wrong or with none.
  test::Outcome commit(const Fault& fault) {
    return test::run_with_fault([] { return std::to_string(CM_RPC_RPOCESS_Commit(-1, nullptr)); },
                                fault, medium_);
  }

  /// Commits again and again, with the fault at another call each time.
  void sweep(Fault fault) {
    for (fault.nth = 1;; ++fault.nth) {
      prepare();
      const test::Outcome outcome = commit(fault);
      SCOPED_TRACE(::testing::Message() << "call " << fault.nth << ", " << outcome.call);
      expect_saved(outcome.text);
      medium_.lose_power();
      expect_saved(outcome.text);
      if (HasFailure()) return;
      if (!outcome.fired) {
        EXPECT_GT(fault.nth, 6u);
        return;
      }
    }
  }

  const std::string primary = paths().primary_partition;
  const std::string backup = paths().backup_partition;

  Medium medium_;

 private:
  std::string old_text_;
  std::string old_block_;
  std::string new_text_;
};

TEST_P(Commit, SurvivesWhenNoDescriptorIsLeftForAMoment) {
  sweep({.error = EMFILE, .calls = {SYS_openat, SYS_socket}});
}
TEST_P(Commit, SurvivesWhenTheMediumIsFullForAMoment) {
  sweep({.error = ENOSPC,
         .calls = {SYS_openat, SYS_write, SYS_pwrite64, SYS_fallocate, SYS_fsync, SYS_close}});
}
TEST_P(Commit, SurvivesWhenAnyCallFailsOnce) {
  sweep({.error = EIO});
}
TEST_P(Commit, SurvivesWhenAnyCallIsInterrupted) {
  sweep({.error = EINTR});
}
TEST_P(Commit, SurvivesAShortReadOrWrite) {
  sweep({.kind = Fault::Kind::kShort});
}

using CommitToFiles = Commit;

// What a daemon left that was killed between a write and its flush: memory holds the settings
// already, so there is nothing to write, but the medium does not.
TEST_P(CommitToFiles, FlushesWhatWasWrittenBefore) {
  prepare();
  ASSERT_EQ(commit({}).text, "0");
  const std::string new_block = test::read_file(primary);
  prepare();
  for (const std::string& path : {primary, backup}) {
    make_file(path, new_block);
    medium_.wrote(path);
  }
  EXPECT_EQ(commit({}).text, "0");
  medium_.lose_power();
  EXPECT_EQ(test::read_file(primary), new_block);
  EXPECT_EQ(test::read_file(backup), new_block);
}

INSTANTIATE_TEST_SUITE_P(PlainFiles, CommitToFiles,
                         ::testing::Values(Case{Partitions::kPlainFiles, Before::kBothGood}));

INSTANTIATE_TEST_SUITE_P(
    Partitions, Commit,
    ::testing::Combine(::testing::Values(Partitions::kPlainFiles, Partitions::kFlash),
                       ::testing::Values(Before::kBothGood, Before::kPrimaryGood,
                                         Before::kBackupGood, Before::kNothing)));

}  // namespace
}  // namespace gwconf
