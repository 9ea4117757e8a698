#include "storage/settings_block.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>
#include <vector>
#include <zlib.h>

#include <gtest/gtest.h>

#include "core/paths.h"
#include "storage/big_endian.h"
#include "tests/rpc/system_log.h"
#include "tests/storage/scripted_flash.h"
#include "tests/support/capture.h"
#include "tests/support/failing_heap.h"
#include "tests/support/sandbox.h"

namespace {

bool zlib_fails = false;
uLongf compress_room = 0;  // what compress was given last

}  // namespace

extern "C" {

int __real_compress(Bytef* destination, uLongf* size, const Bytef* source, uLong length);

int __wrap_compress(Bytef* destination, uLongf* size, const Bytef* source, uLong length) {
  compress_room = *size;
  return zlib_fails ? Z_MEM_ERROR : __real_compress(destination, size, source, length);
}

}  // extern "C"

namespace gwconf {
namespace {

using namespace std::string_literals;
using test::flash;
using test::LogLine;
using test::read_file;
using test::ScriptedFlash;
using test::system_log;
using test::write_file;

const std::string kSmallText = "<DATAMODEL>\n</DATAMODEL>\n";

std::string deflated(std::string_view text) {
  uLongf size = compressBound(text.size());
  std::string packed(size, '\0');
  EXPECT_EQ(__real_compress(reinterpret_cast<Bytef*>(packed.data()), &size,
                            reinterpret_cast<const Bytef*>(text.data()), text.size()),
            Z_OK);
  packed.resize(size);
  return packed;
}

std::string word(std::uint32_t value) {
  std::string bytes(4, '\0');
  store_be32(bytes.data(), value);
  return bytes;
}

/// A block as another program of the device would make it.
std::string make_block(std::string_view data, std::uint32_t text_length,
                       std::uint32_t carried = 0) {
  const auto crc =
      ::crc32(0, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size()));
  return "\x00\x12\x31\x23"s + word(static_cast<std::uint32_t>(data.size())) +
         word(static_cast<std::uint32_t>(crc)) + word(text_length) + word(carried) +
         std::string(20, '\0') + std::string{data};
}

std::string make_block_of(std::string_view text, std::uint32_t carried = 0) {
  return make_block(deflated(text), static_cast<std::uint32_t>(text.size()) + 1, carried);
}

/// The text of a block, or "<none>".
std::string read_block(const std::string& path) {
  const OwnedText text = CM_UTL_GetMTDBlockSettings(path.c_str());
  return text ? std::string{text.view()} : "<none>";
}

/// Any byte but NUL, from a seed.
std::string noise(std::size_t length, unsigned seed) {
  std::minstd_rand random{seed};
  std::string text(length, '\0');
  for (char& c : text)
    c = static_cast<char>(random() % 255 + 1);
  return text;
}

/// A text whose compressed form has exactly `size` bytes.
std::string text_that_deflates_to(std::size_t size) {
  for (unsigned seed = 1; seed < 100; ++seed) {
    const std::string text = noise(size + 200, seed);
    std::size_t shortest = size - 200;
    std::size_t longest = text.size();
    while (shortest < longest) {
      const std::size_t middle = (shortest + longest) / 2;
      const std::size_t found = deflated({text.data(), middle}).size();
      if (found == size) return {text.data(), middle};
      if (found < size)
        shortest = middle + 1;
      else
        longest = middle;
    }
  }
  ADD_FAILURE() << "no text deflates to " << size << " bytes";
  return {};
}

/// Lets no file grow past `room` bytes while it lives.
class NarrowFiles {
 public:
  explicit NarrowFiles(std::size_t room) : handler_{std::signal(SIGXFSZ, SIG_IGN)} {
    getrlimit(RLIMIT_FSIZE, &before_);
    rlimit narrow = before_;
    narrow.rlim_cur = room;
    setrlimit(RLIMIT_FSIZE, &narrow);
  }
  NarrowFiles(const NarrowFiles&) = delete;
  NarrowFiles& operator=(const NarrowFiles&) = delete;
  ~NarrowFiles() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }

 private:
  rlimit before_ = {};
  void (*handler_)(int);
};

class SettingsBlock : public ::testing::Test {
 protected:
  void SetUp() override {
    test::clear_sandbox();
    flash() = {};
    system_log() = {};
    zlib_fails = false;
    descriptors_ = open_descriptors();
    blocks_ = test::live_blocks();
  }
  void TearDown() override {
    zlib_fails = false;
    EXPECT_EQ(open_descriptors(), descriptors_) << "descriptors left open";
    EXPECT_EQ(test::live_blocks(), blocks_) << "blocks left";
  }

  static long open_descriptors() {
    const std::filesystem::directory_iterator all{"/proc/self/fd"};
    return std::distance(begin(all), end(all));
  }

  /// Makes `carried` the carried word.
  void read_block_with_word(std::uint32_t carried) const {
    const std::string other = test::sandbox_root() + "/tmp/other";
    std::filesystem::remove(other);
    write_file(other, make_block_of("x", carried));
    ASSERT_EQ(read_block(other), "x");
  }

  [[nodiscard]] Status write(const std::string& text) const {
    return CM_UTL_SetMTDBlockSettings(primary.c_str(), text.c_str());
  }

  /// What the log holds when the settings were not saved to the primary.
  [[nodiscard]] std::vector<LogLine> logged(const std::string& reason) const {
    return {{LOG_ERR, "settings not saved to " + primary + ": " + reason}};
  }

  const std::string primary = paths().primary_partition;
  const std::string backup = paths().backup_partition;
  const std::string plain_copy = paths().last_block_text;

 private:
  long descriptors_ = 0;
  std::size_t blocks_ = 0;
};

// --- The bytes ---

TEST_F(SettingsBlock, GoldenFileIsReadAndWritten) {
  const std::string golden = GWCONF_TEST_DATA "/settings_block.bin";
  const std::string bytes = read_file(golden);
  EXPECT_EQ((std::string_view{bytes.data(), 40}),
            "\x00\x12\x31\x23"      // magic
            "\x00\x00\x00\x18"      // 24 compressed bytes
            "\x63\x9B\x7A\x7E"      // their checksum
            "\x00\x00\x00\x1A"      // 25 characters and the NUL
            "\x00\x00\x00\x07"      // the carried word
            "\0\0\0\0\0\0\0\0\0\0"  // reserved
            "\0\0\0\0\0\0\0\0\0\0"s);
  EXPECT_EQ(read_block(golden), kSmallText);
  ASSERT_EQ(write(kSmallText), CM_OK);
  EXPECT_EQ(read_file(primary), bytes);
  ASSERT_EQ(flash().writes.size(), 1u);
  EXPECT_EQ(flash().writes[0].path, primary);
  EXPECT_EQ(flash().writes[0].bytes, bytes);
}

TEST_F(SettingsBlock, GoldenConfigurationIsRead) {
  EXPECT_EQ(read_block(GWCONF_TEST_DATA "/settings_block_full.bin"),
            "<DATAMODEL>\n"
            "<OBJECT name=\"InternetGatewayDevice.\" type=\"object\" writable=\"0\" >\n"
            "<PARAMETER name=\"DeviceSummary\" type=\"string(1024)\" "
            "value=\"a \\\"quoted\\\" word\" writable=\"0\" />\n"
            "</OBJECT>\n"
            "</DATAMODEL>\n");
  ASSERT_EQ(write("x"), CM_OK);
  EXPECT_EQ(flash().writes[0].bytes.substr(16, 4), "\xA1\xB2\xC3\xD4");
}

TEST_F(SettingsBlock, AnEmptyTextIsABlockWithTextLengthOne) {
  read_block_with_word(0);
  ASSERT_EQ(write(""), CM_OK);
  EXPECT_EQ(read_file(primary), "\x00\x12\x31\x23\x00\x00\x00\x08"s + word(0xC36C0B3C) +
                                    "\x00\x00\x00\x01"s + std::string(24, '\0') +
                                    "\x78\x9C\x03\x00\x00\x00\x00\x01"s);
  const OwnedText text = CM_UTL_GetMTDBlockSettings(primary.c_str());
  ASSERT_TRUE(text);
  EXPECT_STREQ(text.get(), "");
  EXPECT_EQ(read_file(plain_copy), "");
}

TEST_F(SettingsBlock, NothingBehindTheBlockIsRead) {
  write_file(primary, make_block_of(kSmallText) + noise(70000, 3));
  EXPECT_EQ(read_block(primary), kSmallText);
}

TEST_F(SettingsBlock, ReservedBytesAreNotRead) {
  std::string bytes = make_block_of(kSmallText);
  bytes.replace(20, 20, 20, '\xFF');
  write_file(primary, bytes);
  EXPECT_EQ(read_block(primary), kSmallText);
}

TEST_F(SettingsBlock, EveryTextSizeSurvives) {
  for (const std::size_t length : {1u, 2u, 100u, 4095u, 4096u, 4097u, 16384u, 40000u, 65000u}) {
    const std::string text = noise(length, static_cast<unsigned>(length));
    ASSERT_EQ(write(text), CM_OK) << length;
    EXPECT_TRUE(read_block(primary) == text) << length;
  }
}

// --- Blocks that are none ---

TEST_F(SettingsBlock, AnotherMagicIsNoBlock) {
  const std::string good = make_block_of(kSmallText);
  for (const std::string& magic :
       {"\x00\x12\x31\x24"s, "\x23\x31\x12\x00"s, "\xFF\xFF\xFF\xFF"s, "\0\0\0\0"s}) {
    write_file(primary, magic + good.substr(4));
    EXPECT_EQ(read_block(primary), "<none>");
  }
}

TEST_F(SettingsBlock, EveryFlippedBitIsNoticedOrHarmless) {
  const std::string good = make_block_of(kSmallText, 7);
  std::filesystem::create_directory(plain_copy);
  for (std::size_t bit = 0; bit < good.size() * 8; ++bit) {
    SCOPED_TRACE(::testing::Message() << "bit " << bit);
    read_block_with_word(99);
    std::string bytes = good;
    bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ 1 << bit % 8);
    std::filesystem::remove(primary);
    write_file(primary, bytes);
    const std::string text = read_block(primary);
    const std::size_t at = bit / 8;
    if (at < block::kTextLengthAt || at >= block::kDataAt) {
      EXPECT_EQ(text, "<none>");
    } else if (at < block::kCarriedWordAt) {
      const std::uint32_t told = load_be32(&bytes[block::kTextLengthAt]);
      // The header's own length has no checksum: it may cut the text, but not past its bound.
      EXPECT_EQ(text, told > 2097153 ? "<none>" : kSmallText.substr(0, told));
    } else {
      EXPECT_EQ(text, kSmallText);
    }
    ASSERT_EQ(CM_UTL_SetMTDBlockSettings(backup.c_str(), "y"), CM_OK);
    const std::uint32_t carried = load_be32(&flash().writes.back().bytes[16]);
    EXPECT_EQ(carried, text == "<none>" ? 99 : load_be32(&bytes[16]));
  }
}

TEST_F(SettingsBlock, EveryCutBlockIsNoBlock) {
  const std::string good = make_block_of(kSmallText);
  for (std::size_t size = 0; size < good.size(); ++size) {
    write_file(primary, good.substr(0, size));
    EXPECT_EQ(read_block(primary), "<none>") << size;
  }
}

TEST_F(SettingsBlock, AMagicWithNothingBehindItIsNoBlock) {
  // A write that ended behind the magic, into a partition of zeros.
  write_file(primary, "\x00\x12\x31\x23"s + std::string(100, '\0'));
  EXPECT_EQ(read_block(primary), "<none>");
}

TEST_F(SettingsBlock, APathThatCannotBeReadIsNoBlock) {
  EXPECT_EQ(read_block(primary), "<none>");
  EXPECT_EQ(read_block(""), "<none>");
  EXPECT_EQ(read_block("/dev/null"), "<none>");
  EXPECT_EQ(read_block(test::sandbox_root()), "<none>");
  ASSERT_EQ(mkfifo(primary.c_str(), 0600), 0);
  EXPECT_EQ(read_block(primary), "<none>");
}

TEST_F(SettingsBlock, TheCompressedLengthHasABound) {
  write_file(primary, make_block(std::string(65495, 'x'), 5));
  EXPECT_EQ(read_block(primary), "");  // the checksum fits, the stream is none
  write_file(primary, make_block(std::string(65496, 'x'), 5));
  EXPECT_EQ(read_block(primary), "<none>");
  for (const std::uint32_t length : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    std::string bytes = make_block_of(kSmallText);
    store_be32(&bytes[block::kDataLengthAt], length);
    write_file(primary, bytes);
    EXPECT_EQ(read_block(primary), "<none>") << length;
  }
}

TEST_F(SettingsBlock, TheTextLengthHasABound) {
  const std::string longest(2097152, 'a');
  write_file(primary, make_block_of(longest));
  EXPECT_TRUE(read_block(primary) == longest);
  for (const std::uint32_t length : {2097154u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
    write_file(primary, make_block(deflated(kSmallText), length));
    EXPECT_EQ(read_block(primary), "<none>") << length;
  }
}

TEST_F(SettingsBlock, AnUnderstatedTextLengthCutsTheText) {
  for (std::uint32_t told = 0; told < kSmallText.size(); ++told) {
    write_file(primary, make_block(deflated(kSmallText), told));
    EXPECT_EQ(read_block(primary), kSmallText.substr(0, told)) << told;
  }
}

TEST_F(SettingsBlock, AnOverstatedTextLengthChangesNothing) {
  write_file(primary, make_block(deflated(kSmallText), 1000));
  EXPECT_EQ(read_block(primary), kSmallText);
}

TEST_F(SettingsBlock, ADamagedStreamWithAFittingChecksumGivesWhatCouldBeInflated) {
  write_file(primary, make_block("no zlib stream", 5));
  EXPECT_EQ(read_block(primary), "");
  const std::string text = noise(3000, 5);
  const std::string stream = deflated(text);
  write_file(primary, make_block(std::string_view{stream}.substr(0, 2000), 3001));
  const std::string cut = read_block(primary);
  EXPECT_GT(cut.size(), 1000u);
  EXPECT_TRUE(text.starts_with(cut));
}

TEST_F(SettingsBlock, TextBehindANulIsNotSeen) {
  write_file(primary, make_block_of("ab\0cd"s));
  EXPECT_EQ(read_block(primary), "ab");
}

// --- Blocks that cannot be written ---

TEST_F(SettingsBlock, TheLargestBlockIsWrittenAndTheNextRefused) {
  const std::string fits = text_that_deflates_to(65495);
  ASSERT_EQ(write(fits), CM_OK);
  EXPECT_EQ(read_file(primary).size(), 65535u);
  EXPECT_EQ(load_be32(&flash().writes[0].bytes[4]), 65495u);
  EXPECT_TRUE(read_block(primary) == fits);

  const std::string too_large = text_that_deflates_to(65496);
  EXPECT_EQ(write(too_large), -100);
  EXPECT_EQ(flash().writes.size(), 1u);
  EXPECT_TRUE(read_block(primary) == fits);
  EXPECT_TRUE(read_file(plain_copy) == too_large);
  EXPECT_EQ(system_log().lines, logged("the block would have 65536 bytes, 65535 are the most"));
}

TEST_F(SettingsBlock, ATextThatNoReaderWouldTakeIsRefused) {
  const std::string longest(2097152, 'a');
  ASSERT_EQ(write(longest), CM_OK);
  EXPECT_TRUE(read_block(primary) == longest);
  EXPECT_EQ(write(longest + 'a'), -100);
  EXPECT_EQ(flash().writes.size(), 1u);
  EXPECT_EQ(std::filesystem::file_size(plain_copy), 2097153u);
  EXPECT_EQ(system_log().lines, logged("the text would have 2097153 bytes, 2097152 are the most"));
}

TEST_F(SettingsBlock, NoTextIsRefused) {
  EXPECT_EQ(CM_UTL_SetMTDBlockSettings(primary.c_str(), nullptr), -100);
  EXPECT_TRUE(flash().writes.empty());
  EXPECT_FALSE(test::file_exists(plain_copy));
  EXPECT_TRUE(system_log().lines.empty());
}

TEST_F(SettingsBlock, AFailingFlashIsTriedThreeTimesAndGivesOne) {
  flash().fails = true;
  EXPECT_EQ(write(kSmallText), 1);
  EXPECT_EQ(flash().writes.size(), 3u);
  EXPECT_EQ(read_file(plain_copy), kSmallText);
  EXPECT_EQ(system_log().lines, logged("the flash does not take them"));
}

TEST_F(SettingsBlock, TheLogHasTheReasonThatTheFlashTells) {
  flash().fails = true;
  flash().reason = ENODEV;
  EXPECT_EQ(write(kSmallText), 1);
  EXPECT_EQ(system_log().lines, logged("No such device"));
}

TEST_F(SettingsBlock, AFlashThatFailsTwiceGetsItsBlock) {
  for (const std::size_t failures : {1u, 2u}) {
    flash() = {};
    flash().refuses = [=](const auto&) { return flash().writes.size() <= failures; };
    EXPECT_EQ(write(kSmallText), CM_OK);
    EXPECT_EQ(flash().writes.size(), failures + 1);
    EXPECT_EQ(read_block(primary), kSmallText);
    std::filesystem::remove(primary);
  }
  EXPECT_TRUE(system_log().lines.empty());
}

TEST_F(SettingsBlock, AFlashThatTellsOfSuccessIsNotBelieved) {
  ASSERT_EQ(write("as it was"), CM_OK);
  flash() = {};
  flash().lies = 2;
  EXPECT_EQ(write(kSmallText), CM_OK);
  EXPECT_EQ(flash().writes.size(), 3u);
  EXPECT_EQ(read_block(primary), kSmallText);
  EXPECT_TRUE(system_log().lines.empty());

  flash().lies = 3;
  EXPECT_EQ(write("what comes next"), CM_NOT_WRITTEN);
  EXPECT_EQ(flash().writes.size(), 6u);
  EXPECT_EQ(read_block(primary), kSmallText);
  EXPECT_EQ(system_log().lines, logged("the flash does not take them"));
}

TEST_F(SettingsBlock, ABlockThatCannotBeReadBackIsNotWritten) {
  std::filesystem::remove(primary);
  flash().lies = 3;
  EXPECT_EQ(write(kSmallText), CM_NOT_WRITTEN);
  EXPECT_EQ(system_log().lines, logged("No such file or directory"));
}

TEST_F(SettingsBlock, AFailingCompressionLeavesEverything) {
  zlib_fails = true;
  EXPECT_EQ(write(kSmallText), -100);
  EXPECT_TRUE(flash().writes.empty());
  EXPECT_FALSE(test::file_exists(plain_copy));
  EXPECT_EQ(system_log().lines, logged("out of memory"));
  write_file(primary, "as it was");
  EXPECT_EQ(write_settings_file(primary.c_str(), kSmallText, 1), -100);
  EXPECT_EQ(read_file(primary), "as it was");
}

TEST_F(SettingsBlock, WithoutMemoryNothingIsWritten) {
  std::optional<Status> result;
  EXPECT_EQ(test::sweep_allocations(
                [&] {
                  result.reset();
                  flash() = {};
                  std::filesystem::remove(plain_copy);
                },
                [&] { result = write(kSmallText); },
                [&] {
                  // What is missing for a moment is asked for again.
                  const bool written = system_log().lines.empty();
                  EXPECT_EQ(result, written ? CM_OK : CM_NO_MEMORY);
                  EXPECT_EQ(flash().writes.size(), written ? 1u : 0u);
                  EXPECT_EQ(test::file_exists(plain_copy), written);
                }),
            2u);
  EXPECT_EQ(result, CM_OK);
  EXPECT_EQ(system_log().lines, logged("out of memory"));
}

TEST_F(SettingsBlock, WithoutMemoryNothingIsReadAndTheCarriedWordStays) {
  write_file(primary, make_block_of(kSmallText, 8));
  std::string text;
  EXPECT_EQ(
      test::sweep_allocations([&] { read_block_with_word(7); }, [&] { text = read_block(primary); },
                              [&] {
                                EXPECT_EQ(text, "<none>");
                                ASSERT_EQ(CM_UTL_SetMTDBlockSettings(backup.c_str(), "x"), CM_OK);
                                EXPECT_EQ(flash().writes.back().bytes.substr(16, 4), "\0\0\0\x07"s);
                              }),
      4u);
  EXPECT_EQ(text, kSmallText);
}

TEST_F(SettingsBlock, ReaderAndWriterSayNothing) {
  EXPECT_EQ(test::stdout_of([&] {
              read_block(primary);
              write_file(primary, make_block("no zlib stream", 5));
              read_block(primary);
              write_file(primary, std::string(100, '#'));
              read_block(primary);
              ignore(write(noise(70000, 1)));
              flash().fails = true;
              ignore(write(kSmallText));
              ignore(write_settings_file("", kSmallText, 0));
            }),
            "");
}

// --- Blocks that are to be none ---

TEST_F(SettingsBlock, ADiscardedBlockIsNone) {
  ASSERT_EQ(write(kSmallText), CM_OK);
  const std::string before = read_file(primary);
  EXPECT_EQ(discard_settings_block(primary.c_str()), CM_OK);
  EXPECT_EQ(read_block(primary), "<none>");
  EXPECT_EQ(read_file(primary), std::string(40, '\xFF') + before.substr(40));
}

TEST_F(SettingsBlock, ABlockThatCannotBeDiscardedStays) {
  ASSERT_EQ(write(kSmallText), CM_OK);
  flash().writes.clear();
  flash().refuses = [](const auto&) { return flash().writes.size() <= 2; };
  EXPECT_EQ(discard_settings_block(primary.c_str()), CM_OK);
  ASSERT_EQ(write(kSmallText), CM_OK);
  flash().writes.clear();
  flash().fails = true;
  EXPECT_EQ(discard_settings_block(primary.c_str()), CM_NOT_WRITTEN);
  EXPECT_EQ(flash().writes.size(), 3u);
  EXPECT_EQ(read_block(primary), kSmallText);
  flash().fails = false;
  flash().lies = 3;
  EXPECT_EQ(discard_settings_block(primary.c_str()), CM_NOT_WRITTEN);
  EXPECT_TRUE(system_log().lines.empty());
}

// --- The plain copy ---

TEST_F(SettingsBlock, ThePlainCopyIsTheTextOfTheLastBlock) {
  ASSERT_EQ(write("a long text, written first"), CM_OK);
  EXPECT_EQ(read_file(plain_copy), "a long text, written first");
  ASSERT_EQ(write("short"), CM_OK);
  EXPECT_EQ(read_file(plain_copy), "short");
  struct stat made;
  ASSERT_EQ(stat(plain_copy.c_str(), &made), 0);
  EXPECT_EQ(made.st_mode & 07777u, 0600u) << "it holds passwords";
}

TEST_F(SettingsBlock, AFileInPlaceOfTheCopyIsReplacedNotFilled) {
  // Laid there to be read by its owner later, and held open already.
  write_file(plain_copy, "of somebody else");
  ASSERT_EQ(chmod(plain_copy.c_str(), 0666), 0);
  const int reader = open(plain_copy.c_str(), O_RDONLY);
  ASSERT_GE(reader, 0);
  EXPECT_EQ(write(kSmallText), CM_OK);
  char bytes[64] = {};
  EXPECT_EQ(read(reader, bytes, sizeof bytes), 16);
  close(reader);
  EXPECT_STREQ(bytes, "of somebody else");
  struct stat made;
  ASSERT_EQ(stat(plain_copy.c_str(), &made), 0);
  EXPECT_EQ(made.st_mode & 07777u, 0600u);
  EXPECT_EQ(made.st_uid, geteuid());
  EXPECT_EQ(read_file(plain_copy), kSmallText);
}

TEST_F(SettingsBlock, AFileWithASecondNameKeepsItsContent) {
  const std::string victim = test::sandbox_root() + "/etc/victim";
  write_file(victim, "of somebody else");
  std::filesystem::create_hard_link(victim, plain_copy);
  EXPECT_EQ(write(kSmallText), CM_OK);
  EXPECT_EQ(read_file(victim), "of somebody else");
  EXPECT_EQ(read_file(plain_copy), kSmallText);
}

TEST_F(SettingsBlock, AFolderInPlaceOfTheCopyDoesNotHinder) {
  std::filesystem::create_directory(plain_copy);
  EXPECT_EQ(write(kSmallText), CM_OK);
  EXPECT_EQ(read_block(primary), kSmallText);
}

TEST_F(SettingsBlock, AFifoInPlaceOfTheCopyIsReplaced) {
  ASSERT_EQ(mkfifo(plain_copy.c_str(), 0600), 0);
  EXPECT_EQ(write(kSmallText), CM_OK);
  EXPECT_EQ(read_block(primary), kSmallText);
  EXPECT_EQ(read_file(plain_copy), kSmallText);
}

TEST_F(SettingsBlock, ALinkInPlaceOfTheCopyIsReplacedNotFollowed) {
  const std::string victim = test::sandbox_root() + "/etc/victim";
  write_file(victim, "of somebody else");
  std::filesystem::create_symlink(victim, plain_copy);
  EXPECT_EQ(write(kSmallText), CM_OK);
  EXPECT_EQ(read_block(primary), kSmallText);
  EXPECT_EQ(read_file(victim), "of somebody else");
  EXPECT_FALSE(std::filesystem::is_symlink(plain_copy));
  EXPECT_EQ(read_file(plain_copy), kSmallText);
}

TEST_F(SettingsBlock, ACopyThatFindsNoRoomDoesNotHinder) {
  const std::string text(20000, 'a');
  const Status result = [&] {
    const NarrowFiles narrow{1000};
    return write(text);
  }();
  EXPECT_EQ(result, CM_OK);
  EXPECT_EQ(read_file(plain_copy), text.substr(0, 1000));
  EXPECT_TRUE(read_block(primary) == text);
}

// --- The carried word ---

TEST_F(SettingsBlock, TheCarriedWordGoesIntoEveryBlockUntilAnotherIsRead) {
  write_file(primary, make_block_of("first", 7));
  EXPECT_EQ(read_block(primary), "first");
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(write("again"), CM_OK);
    EXPECT_EQ(read_file(primary).substr(16, 4), "\0\0\0\x07"s);
    EXPECT_EQ(read_block(primary), "again");
  }
  write_file(backup, make_block_of("other", 0xFEDCBA98));
  EXPECT_EQ(read_block(backup), "other");
  ASSERT_EQ(write("last"), CM_OK);
  EXPECT_EQ(read_file(primary).substr(16, 4), "\xFE\xDC\xBA\x98");
}

TEST_F(SettingsBlock, ARejectedBlockLeavesTheCarriedWord) {
  read_block_with_word(7);
  std::string damaged = make_block_of("x", 8);
  damaged.back() = static_cast<char>(damaged.back() ^ 1);
  write_file(primary, damaged);
  ASSERT_EQ(read_block(primary), "<none>");
  ASSERT_EQ(write("y"), CM_OK);
  EXPECT_EQ(read_file(primary).substr(16, 4), "\0\0\0\x07"s);
}

TEST_F(SettingsBlock, ABlockThatCannotBeInflatedStillSetsTheCarriedWord) {
  read_block_with_word(7);
  write_file(primary, make_block("no zlib stream", 5, 8));
  ASSERT_EQ(read_block(primary), "");
  ASSERT_EQ(write("y"), CM_OK);
  EXPECT_EQ(read_file(primary).substr(16, 4), "\0\0\0\x08"s);
}

// --- The file variant ---

TEST_F(SettingsBlock, AFileIsPatched) {
  read_block_with_word(7);
  write_file(primary, std::string(100, '#'));
  ASSERT_EQ(write_settings_file(primary.c_str(), kSmallText, 0x01020304), CM_OK);
  std::string expected = make_block_of(kSmallText, 0x01020304);
  expected.replace(20, 20, 20, '#');
  EXPECT_EQ(read_file(primary), expected + std::string(100 - 64, '#'));
  EXPECT_TRUE(flash().writes.empty());
  EXPECT_FALSE(test::file_exists(plain_copy));
  ASSERT_EQ(write("y"), CM_OK);
  EXPECT_EQ(read_file(primary).substr(16, 4), "\0\0\0\x07"s);
}

TEST_F(SettingsBlock, AnEmptyFileIsFilled) {
  write_file(primary, "");
  ASSERT_EQ(write_settings_file(primary.c_str(), "", 9), CM_OK);
  EXPECT_EQ(read_file(primary), make_block_of("", 9));
}

TEST_F(SettingsBlock, AFileIsNotMade) {
  EXPECT_EQ(write_settings_file(primary.c_str(), kSmallText, 0), 1);
  EXPECT_FALSE(test::file_exists(primary));
}

TEST_F(SettingsBlock, AFileThatCannotBeWrittenGivesOne) {
  EXPECT_EQ(write_settings_file("/dev/full", kSmallText, 0), 1);
  EXPECT_EQ(write_settings_file(test::sandbox_root().c_str(), kSmallText, 0), 1);
  ASSERT_EQ(mkfifo(primary.c_str(), 0600), 0);
  EXPECT_EQ(write_settings_file(primary.c_str(), kSmallText, 0), 1);
}

TEST_F(SettingsBlock, AFileWhoseWriteIsCutAnywhereGivesOne) {
  const std::size_t size = make_block_of(kSmallText).size();
  for (std::size_t room = 0; room <= size; ++room) {
    write_file(primary, "");
    const Status result = [&] {
      const NarrowFiles narrow{room};
      return write_settings_file(primary.c_str(), kSmallText, 0);
    }();
    EXPECT_EQ(result, room < size ? CM_NOT_WRITTEN : CM_OK) << room;
    EXPECT_EQ(read_block(primary), room < size ? "<none>" : kSmallText) << room;
  }
}

TEST_F(SettingsBlock, AFileKeepsItsBytesWhenTheBlockIsTooLarge) {
  write_file(primary, "as it was");
  EXPECT_EQ(write_settings_file(primary.c_str(), noise(70000, 1), 0), -100);
  EXPECT_EQ(read_file(primary), "as it was");
}

TEST_F(SettingsBlock, AFileKeepsItsBytesWithoutMemory) {
  std::optional<Status> result;
  EXPECT_EQ(
      test::sweep_allocations([&] { write_file(primary, "as it was"); },
                              [&] { result = write_settings_file(primary.c_str(), kSmallText, 0); },
                              [&] {
                                EXPECT_EQ(result, CM_NO_MEMORY);
                                EXPECT_EQ(read_file(primary), "as it was");
                              }),
      2u);
  EXPECT_EQ(result, CM_OK);
}

// --- Compression ---

TEST_F(SettingsBlock, CompressesAndInflates) {
  char packed[64];
  const std::int32_t length = CM_UTL_compress(packed, sizeof packed, "aaaaaaaaaaaaaaaaaaaa", 20);
  EXPECT_EQ((std::string{packed, static_cast<std::size_t>(length)}),
            deflated("aaaaaaaaaaaaaaaaaaaa"));
  char text[20];
  EXPECT_EQ(CM_UTL_decompress(text, sizeof text, packed, length), 20);
  EXPECT_EQ((std::string{text, 20}), "aaaaaaaaaaaaaaaaaaaa");
}

TEST_F(SettingsBlock, TheCompressedFormHasATenthMoreRoomThanTheTextAndTwelveBytes) {
  const struct {
    std::size_t text;
    uLongf room;
  } cases[] = {{0, 12}, {1, 13}, {9, 21}, {10, 23}, {19, 32}, {20, 34}, {2'000, 2'212}};
  for (const auto& c : cases) {
    ASSERT_EQ(write(std::string(c.text, 'a')), CM_OK);
    EXPECT_EQ(compress_room, c.room) << c.text;
  }
}

TEST_F(SettingsBlock, CompressionWithoutRoomFails) {
  char packed[64];
  EXPECT_EQ(CM_UTL_compress(packed, 7, "", 0), -100);
  EXPECT_EQ(CM_UTL_compress(packed, 8, "", 0), 8);
  EXPECT_EQ(CM_UTL_compress(packed, 0, "abc", 3), -100);
  EXPECT_EQ(CM_UTL_compress(packed, -1, "abc", 3), -100);
  EXPECT_EQ(CM_UTL_compress(packed, 64, "abc", -1), -100);
}

TEST_F(SettingsBlock, InflationFailsWithoutRoomOrStream) {
  const std::string packed = deflated("abcdef");
  const auto length = static_cast<std::int32_t>(packed.size());
  char text[6] = {};
  EXPECT_EQ(CM_UTL_decompress(text, 5, packed.data(), length), -100);
  EXPECT_EQ((std::string{text, 5}), "abcde");
  EXPECT_EQ(CM_UTL_decompress(text, 6, packed.data(), length - 5), -100);
  EXPECT_EQ(CM_UTL_decompress(text, 6, "no stream", 9), -100);
  EXPECT_EQ(CM_UTL_decompress(text, -1, packed.data(), length), -100);
  EXPECT_EQ(CM_UTL_decompress(text, 6, packed.data(), -1), -100);
  EXPECT_EQ(CM_UTL_decompress(text, 6, packed.data(), length), 6);
}

// --- The pair ---

const std::string kOld = "the old settings";
const std::string kNew = "the new settings, which are a little longer than the old ones were";

class SettingsPair : public SettingsBlock,
                     public ::testing::WithParamInterface<ScriptedFlash::Kind> {
 protected:
  /// Both partitions in the order that a commit uses.
  void write_pair() const {
    const bool primary_is_good = read_block(primary) != "<none>";
    ignore(CM_UTL_SetMTDBlockSettings((primary_is_good ? backup : primary).c_str(), kNew.c_str()));
    ignore(CM_UTL_SetMTDBlockSettings((primary_is_good ? primary : backup).c_str(), kNew.c_str()));
  }

  /// A partition without bytes is missing.
  static void put(const std::string& path, const std::string& bytes) {
    std::filesystem::remove(path);
    if (!bytes.empty()) write_file(path, bytes);
  }

  /// Lets the power go after every step of writing the pair.
  void cut_everywhere(const std::string& old_primary, const std::string& old_backup) const {
    std::filesystem::create_directory(plain_copy);  // no copies: only the partitions count
    for (std::size_t steps = 0;; ++steps) {
      SCOPED_TRACE(::testing::Message() << "power goes after " << steps << " steps");
      put(primary, old_primary);
      put(backup, old_backup);
      flash() = {};
      flash().kind = GetParam();
      flash().steps = steps;
      write_pair();
      const std::string first = read_block(primary);
      const std::string text = first != "<none>" ? first : read_block(backup);
      EXPECT_TRUE(text == kOld || text == kNew) << text;
      if (flash().steps > 0) {
        EXPECT_GT(steps, 2 * block::kDataAt);
        EXPECT_EQ(text, kNew);
        EXPECT_EQ(read_block(backup), kNew);
        break;
      }
      ASSERT_FALSE(HasFailure());
    }
  }

  const std::string good = make_block_of(kOld, 7);
  const std::string damaged[4] = {"", std::string(200, '\xFF'), std::string(200, '\0'),
                                  make_block_of(kOld).substr(0, 50)};
};

TEST_P(SettingsPair, OneIsGoodWhereverTheWriteIsCutWhenBothWere) {
  cut_everywhere(good, good);
}

TEST_P(SettingsPair, OneIsGoodWhereverTheWriteIsCutWhenThePrimaryWas) {
  for (const std::string& bad : damaged)
    cut_everywhere(good, bad);
}

TEST_P(SettingsPair, OneIsGoodWhereverTheWriteIsCutWhenTheBackupWas) {
  for (const std::string& bad : damaged)
    cut_everywhere(bad, good);
}

INSTANTIATE_TEST_SUITE_P(Flash, SettingsPair,
                         ::testing::Values(ScriptedFlash::Kind::kFile,
                                           ScriptedFlash::Kind::kErased));

}  // namespace
}  // namespace gwconf
