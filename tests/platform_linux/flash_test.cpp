#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/paths.h"
#include "platform/services.h"
#include "storage/settings_block.h"
#include "tests/platform_linux/fake_mtd.h"
#include "tests/support/failing_heap.h"
#include "tests/support/sandbox.h"

namespace gwconf {
namespace {

using test::FakeMtd;
using test::mtd;
using test::read_file;
using test::write_file;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// `size` bytes with every value among them.
std::string pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i)
    bytes[i] = static_cast<char>(i * 37 + 11);
  return bytes;
}

class Flash : public ::testing::Test {
 protected:
  void SetUp() override {
    test::clear_sandbox();
    mtd() = {};
    descriptors_ = open_descriptors();
    blocks_ = test::live_blocks();
  }
  void TearDown() override {
    EXPECT_EQ(open_descriptors(), descriptors_) << "descriptors left open";
    EXPECT_EQ(test::live_blocks(), blocks_) << "blocks left";
  }

  static long open_descriptors() {
    const std::filesystem::directory_iterator all{"/proc/self/fd"};
    return std::distance(begin(all), end(all));
  }

  static int write(const std::string& path, const std::string& bytes) {
    return flash_write(path.c_str(), bytes.data(), static_cast<std::int32_t>(bytes.size()));
  }

  const std::string partition = paths().primary_partition;

 private:
  long descriptors_ = 0;
  std::size_t blocks_ = 0;
};

// --- Plain files ---

using PlainFile = Flash;

TEST_F(PlainFile, IsWrittenAtItsStartAndNotCut) {
  write_file(partition, "0123456789");
  EXPECT_EQ(write(partition, "abc"), 0);
  EXPECT_EQ(read_file(partition), "abc3456789");
  EXPECT_EQ(write(partition, ""), 0);
  EXPECT_EQ(read_file(partition), "abc3456789");
  EXPECT_THAT(mtd().calls, IsEmpty());
}

TEST_F(PlainFile, GrowsWithItsContent) {
  write_file(partition, "old");
  EXPECT_EQ(write(partition, pattern(65535)), 0);
  EXPECT_TRUE(read_file(partition) == pattern(65535));
}

TEST_F(PlainFile, IsMadeWhereTheKernelHasNoFlash) {
  const mode_t mask = umask(0);
  EXPECT_EQ(write(partition, "abc"), 0);
  umask(mask);
  EXPECT_EQ(read_file(partition), "abc");
  struct stat made;
  ASSERT_EQ(stat(partition.c_str(), &made), 0);
  EXPECT_EQ(made.st_mode & 07777u, 0600u);
}

TEST_F(PlainFile, IsNotMadeWhereTheKernelHasFlash) {
  write_file(paths().proc_mtd, "dev:    size   erasesize  name\n");
  EXPECT_LT(write(partition, "abc"), 0);
  EXPECT_FALSE(test::file_exists(partition));
  write_file(partition, "old");
  EXPECT_EQ(write(partition, "abc"), 0);
  EXPECT_EQ(read_file(partition), "abc");
}

TEST_F(PlainFile, IsNotMadeWhereNoFolderIs) {
  EXPECT_LT(write(partition + "/below", "abc"), 0);
  EXPECT_LT(write("", "abc"), 0);
}

TEST_F(PlainFile, IsNotMadeBehindALinkThatLeadsNowhere) {
  std::filesystem::create_symlink(test::sandbox_root() + "/elsewhere", partition);
  EXPECT_LT(write(partition, "abc"), 0);
  EXPECT_FALSE(test::file_exists(test::sandbox_root() + "/elsewhere"));
}

TEST_F(PlainFile, ThatHoldsTheBytesAlreadyIsNotWritten) {
  write_file(partition, "0123456789");
  const timespec long_ago[2] = {{.tv_sec = 1, .tv_nsec = 0}, {.tv_sec = 1, .tv_nsec = 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, partition.c_str(), long_ago, 0), 0);
  const auto written = [this] {
    struct stat file;
    return stat(partition.c_str(), &file) == 0 && file.st_mtim.tv_sec != 1;
  };
  EXPECT_EQ(write(partition, "01234"), 0);
  EXPECT_EQ(write(partition, "0123456789"), 0);
  EXPECT_FALSE(written());
  EXPECT_EQ(write(partition, "0123x"), 0);
  EXPECT_TRUE(written());
  EXPECT_EQ(read_file(partition), "0123x56789");
}

TEST_F(PlainFile, ThatHoldsTheBeginningOnlyIsWritten) {
  for (const std::size_t held : {0u, 1u, 4095u, 4096u, 4097u, 9999u}) {
    write_file(partition, pattern(10'000).substr(0, held));
    EXPECT_EQ(write(partition, pattern(10'000)), 0) << held;
    EXPECT_TRUE(read_file(partition) == pattern(10'000)) << held;
  }
}

TEST_F(PlainFile, AnyOtherByteIsNoticed) {
  const std::string fresh = pattern(5'000);
  for (const std::size_t at : {0u, 1u, 4095u, 4096u, 4999u}) {
    std::string old = fresh;
    old[at] = static_cast<char>(old[at] ^ 1);
    write_file(partition, old);
    EXPECT_EQ(write(partition, fresh), 0) << at;
    EXPECT_TRUE(read_file(partition) == fresh) << at;
  }
}

TEST_F(PlainFile, NegativeLengthIsRefused) {
  write_file(partition, "old");
  EXPECT_LT(flash_write(partition.c_str(), "abc", -1), 0);
  EXPECT_EQ(read_file(partition), "old");
}

TEST_F(PlainFile, AWriteCutAnywhereIsReported) {
  const std::string old(64, '#');
  const std::string fresh = pattern(50);
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  for (std::size_t room = 0; room <= fresh.size(); ++room) {
    write_file(partition, old);
    rlimit narrow = before;
    narrow.rlim_cur = room;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &narrow), 0);
    const int result = write(partition, fresh);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ(result < 0, room < fresh.size()) << room;
    EXPECT_EQ(read_file(partition), fresh.substr(0, room) + old.substr(room)) << room;
  }
  std::signal(SIGXFSZ, handler);
}

TEST_F(PlainFile, WhatHasNoRoomToGrowKeepsItsContent) {
  const std::string old(64, '#');
  const std::string fresh = pattern(100);
  rlimit before;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  for (std::size_t room = 0; room <= fresh.size(); ++room) {
    write_file(partition, old);
    rlimit narrow = before;
    narrow.rlim_cur = room;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &narrow), 0);
    const int result = write(partition, fresh);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ(result < 0, room < fresh.size()) << room;
    EXPECT_EQ(read_file(partition), room < fresh.size() ? old : fresh) << room;
  }
  std::signal(SIGXFSZ, handler);
}

TEST_F(PlainFile, AFullDeviceIsReported) {
  EXPECT_LT(write("/dev/full", "abc"), 0);
  EXPECT_EQ(CM_UTL_SetMTDBlockSettings("/dev/full", "text"), 1);
}

TEST_F(PlainFile, AnotherDeviceIsWrittenWithoutAMediumToFlush) {
  EXPECT_EQ(write("/dev/null", "abc"), 0);
}

TEST_F(PlainFile, AFifoWithOrWithoutAReaderIsRefused) {
  ASSERT_EQ(mkfifo(partition.c_str(), 0600), 0);
  EXPECT_LT(write(partition, "abc"), 0);
  const int reader = open(partition.c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_GE(reader, 0);
  EXPECT_LT(write(partition, "abc"), 0);
  char byte;
  EXPECT_EQ(read(reader, &byte, 1), 0);
  close(reader);
}

TEST_F(PlainFile, AFolderIsRefused) {
  EXPECT_LT(write(test::sandbox_root(), "abc"), 0);
}

TEST_F(PlainFile, HoldsABlockThatReadsBack) {
  ASSERT_EQ(CM_UTL_SetMTDBlockSettings(partition.c_str(), "<DATAMODEL>\n</DATAMODEL>\n"), CM_OK);
  const OwnedText text = CM_UTL_GetMTDBlockSettings(partition.c_str());
  EXPECT_EQ(text.view(), "<DATAMODEL>\n</DATAMODEL>\n");
}

// --- Flash ---

class Mtd : public Flash {
 protected:
  void SetUp() override {
    Flash::SetUp();
    mtd().present = true;
    write_file(partition, old);
  }
  const std::string old = std::string(256, '\x11');
};

TEST_F(Mtd, IsErasedBlockByBlockAsFarAsNeededAndThenProgrammed) {
  const std::string bytes = pattern(100);
  EXPECT_EQ(write(partition, bytes), 0);
  EXPECT_THAT(mtd().calls, ElementsAre("erase 0+64", "erase 64+64", "program 0+100"));
  EXPECT_EQ(read_file(partition), bytes + std::string(28, '\xFF') + old.substr(128));
}

TEST_F(Mtd, AWriteThatFillsItsBlockErasesNoOther) {
  EXPECT_EQ(write(partition, pattern(64)), 0);
  EXPECT_THAT(mtd().calls, ElementsAre("erase 0+64", "program 0+64"));
  EXPECT_EQ(read_file(partition), pattern(64) + old.substr(64));
}

TEST_F(Mtd, AWriteOfOneByteMoreErasesTheNext) {
  EXPECT_EQ(write(partition, pattern(65)), 0);
  EXPECT_THAT(mtd().calls, ElementsAre("erase 0+64", "erase 64+64", "program 0+65"));
}

TEST_F(Mtd, ThatHoldsTheBytesAlreadyIsNotWorn) {
  mtd().geometry.page_size = 16;
  EXPECT_EQ(write(partition, pattern(100)), 0);
  mtd().calls.clear();
  EXPECT_EQ(write(partition, pattern(100)), 0);
  EXPECT_EQ(write(partition, pattern(64)), 0);
  EXPECT_THAT(mtd().calls, IsEmpty());
  EXPECT_EQ(write(partition, pattern(100) + '#'), 0);
  EXPECT_THAT(mtd().calls,
              ElementsAre("erase 0+64", "erase 64+64", "program 0+96", "program 96+16"));
}

TEST_F(Mtd, AWriteThatTakesNothingIsReported) {
  mtd().most_at_once = 0;
  errno = 0;
  EXPECT_LT(write(partition, pattern(64)), 0);
  EXPECT_EQ(errno, EIO);
}

TEST_F(Mtd, TellsWhyItWasNotWritten) {
  EXPECT_LT(write(partition, pattern(257)), 0);
  EXPECT_EQ(errno, ENOSPC);
  mtd().geometry.erase_size = 0;
  EXPECT_LT(write(partition, "abc"), 0);
  EXPECT_EQ(errno, EINVAL);
}

TEST_F(Mtd, AnEmptyWriteErasesNothing) {
  EXPECT_EQ(write(partition, ""), 0);
  EXPECT_THAT(mtd().calls, IsEmpty());
}

TEST_F(Mtd, TheWholePartitionCanBeWritten) {
  EXPECT_EQ(write(partition, pattern(256)), 0);
  EXPECT_EQ(read_file(partition), pattern(256));
}

TEST_F(Mtd, AWritePastThePartitionLeavesIt) {
  EXPECT_LT(write(partition, pattern(257)), 0);
  EXPECT_THAT(mtd().calls, IsEmpty());
  EXPECT_EQ(read_file(partition), old);
}

TEST_F(Mtd, AWriteWhoseLastBlockIsNotWholeLeavesThePartition) {
  mtd().geometry.size = 100;
  EXPECT_LT(write(partition, pattern(65)), 0);
  EXPECT_THAT(mtd().calls, IsEmpty());
}

TEST_F(Mtd, TheLastPageIsFilledUpWithErasedBits) {
  mtd().geometry.page_size = 16;
  EXPECT_EQ(write(partition, pattern(72)), 0);
  EXPECT_THAT(mtd().calls,
              ElementsAre("erase 0+64", "erase 64+64", "program 0+64", "program 64+16"));
  EXPECT_EQ(read_file(partition), pattern(72) + std::string(56, '\xFF') + old.substr(128));
}

TEST_F(Mtd, WholePagesNeedNoFilling) {
  mtd().geometry.page_size = 16;
  EXPECT_EQ(write(partition, pattern(48)), 0);
  EXPECT_THAT(mtd().calls, ElementsAre("erase 0+64", "program 0+48"));
}

TEST_F(Mtd, AWriteWithinOnePage) {
  mtd().geometry.page_size = 16;
  EXPECT_EQ(write(partition, pattern(5)), 0);
  EXPECT_THAT(mtd().calls, ElementsAre("erase 0+64", "program 0+16"));
  EXPECT_EQ(read_file(partition), pattern(5) + std::string(59, '\xFF') + old.substr(64));
}

TEST_F(Mtd, WithoutMemoryForTheLastPageNothingIsErased) {
  mtd().geometry.page_size = 16;
  int result = 0;
  EXPECT_EQ(test::sweep_allocations(
                [&] {
                  mtd().calls.clear();
                  write_file(partition, old);
                },
                [&] { result = write(partition, pattern(72)); },
                [&] {
                  EXPECT_LT(result, 0);
                  EXPECT_THAT(mtd().calls, IsEmpty());
                  EXPECT_EQ(read_file(partition), old);
                }),
            2u);
  EXPECT_EQ(result, 0);
}

TEST_F(Mtd, ABadBlockIsReportedAndNothingProgrammed) {
  mtd().bad_block = 64;
  EXPECT_LT(write(partition, pattern(200)), 0);
  EXPECT_THAT(mtd().calls, ElementsAre("erase 0+64", "erase 64+64"));
  EXPECT_EQ(write(partition, pattern(64)), 0);
}

TEST_F(Mtd, AnUntoldOrImpossibleGeometryIsReported) {
  mtd().tells_geometry = false;
  EXPECT_LT(write(partition, "abc"), 0);
  mtd().tells_geometry = true;
  mtd().geometry.erase_size = 0;
  EXPECT_LT(write(partition, "abc"), 0);
  mtd().geometry = {.size = 256, .erase_size = 64, .page_size = 0};
  EXPECT_LT(write(partition, "abc"), 0);
  EXPECT_THAT(mtd().calls, IsEmpty());
  EXPECT_EQ(read_file(partition), old);
}

TEST_F(Mtd, ProgrammingGoesOnAfterAnInterruptionAndAShortWrite) {
  mtd().interruptions = 2;
  mtd().most_at_once = 40;
  EXPECT_EQ(write(partition, pattern(100)), 0);
  EXPECT_THAT(mtd().calls, ElementsAre("erase 0+64", "erase 64+64", "program 0+40", "program 40+40",
                                       "program 80+20"));
  EXPECT_EQ(read_file(partition).substr(0, 100), pattern(100));
}

TEST_F(Mtd, AWriteCutAnywhereIsReported) {
  for (std::size_t steps = 0; steps <= 102; ++steps) {
    write_file(partition, old);
    mtd().steps = steps;
    EXPECT_EQ(write(partition, pattern(100)) < 0, steps < 102) << steps;
  }
}

TEST_F(Mtd, ThePairHoldsAGoodBlockWhereverItsWriteIsCut) {
  const std::string backup = paths().backup_partition;
  const std::string before = "settings as they were";
  const std::string after = "settings as they are now, which takes a second block to erase";
  const auto text_of = [](const std::string& path) {
    const OwnedText text = CM_UTL_GetMTDBlockSettings(path.c_str());
    return text ? std::string{text.view()} : "<none>";
  };
  const auto save = [](const std::string& path, const std::string& text) {
    return CM_UTL_SetMTDBlockSettings(path.c_str(), text.c_str());
  };
  std::filesystem::create_directory(
      paths().last_block_text);  // no copies: only the partitions count
  for (const bool primary_was_good : {true, false}) {
    std::size_t steps = 0;
    for (bool whole = false; !whole; ++steps) {
      SCOPED_TRACE(::testing::Message() << "power goes after " << steps << " steps");
      mtd().steps = FakeMtd::kForever;
      std::filesystem::remove(partition);
      std::filesystem::remove(backup);
      write_file(partition, std::string(256, '\xFF'));
      write_file(backup, std::string(256, '\xFF'));
      ASSERT_EQ(save(primary_was_good ? partition : backup, before), CM_OK);

      mtd().steps = steps;
      const bool good = text_of(partition) != "<none>";
      ASSERT_EQ(good, primary_was_good);
      const Status first = save(good ? backup : partition, after);
      const Status second = save(good ? partition : backup, after);
      whole = first == CM_OK && second == CM_OK;

      const std::string primary_text = text_of(partition);
      const std::string text = primary_text != "<none>" ? primary_text : text_of(backup);
      // The second write finds the old settings until its first block is erased.
      EXPECT_TRUE(text == after || (text == before && !whole)) << text;
      ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(steps, 200u);
  }
}

}  // namespace
}  // namespace gwconf
