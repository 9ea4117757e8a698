#include "storage/settings_block.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <syslog.h>
#include <unistd.h>
#include <utility>
#include <zlib.h>

#include "core/heap.h"
#include "core/log.h"
#include "core/paths.h"
#include "platform/medium.h"
#include "platform/services.h"
#include "storage/big_endian.h"
#include "storage/crc32.h"
#include "storage/file.h"

namespace gwconf {
namespace {

/// The carried word of the block read last. Its meaning is another program's.
std::uint32_t carried_word = 0;

/// A block in the making: room for the header, and the compressed bytes behind it.
struct Block {
  HeapBytes bytes;
  std::uint32_t data_length = 0;

  [[nodiscard]] char* data() const { return bytes.get() + block::kDataAt; }
  [[nodiscard]] std::size_t size() const { return block::kDataAt + data_length; }
};

Status compress_text(std::string_view text, Block* out) {
  *out = {};
  constexpr std::int32_t kMargin = 12;
  // A tenth more than the text, and the margin: more than any stream of zlib's takes. Where that
  // passes 32 bits no memory could hold it either.
  const double bound = static_cast<double>(text.size()) * 1.1;
  constexpr double kMost =
      std::numeric_limits<std::int32_t>::max() - kMargin - static_cast<double>(block::kDataAt);
  if (bound > kMost) return CM_NO_MEMORY;
  const std::int32_t capacity = static_cast<std::int32_t>(bound) + kMargin;

  Block made;
  made.bytes = heap_zeroed(block::kDataAt + static_cast<std::size_t>(capacity));
  if (!made.bytes) return CM_NO_MEMORY;
  const std::int32_t length =
      CM_UTL_compress(made.data(), capacity, text.data(), static_cast<std::int32_t>(text.size()));
  if (length < 0) return CM_INVALID;
  made.data_length = static_cast<std::uint32_t>(length);
  *out = std::move(made);
  return CM_OK;
}

/// Fills in the header. CM_INVALID when no reader would take the block.
Status fill_header(const Block& made, std::string_view text, std::uint32_t carried) {
  if (made.data_length > block::kDataMax || text.size() >= block::kTextMax) return CM_INVALID;
  char* header = made.bytes.get();
  store_be32(header + block::kMagicAt, block::kMagic);
  store_be32(header + block::kDataLengthAt, made.data_length);
  store_be32(header + block::kDataCrcAt,
             crc32(made.data(), static_cast<std::int32_t>(made.data_length)));
  store_be32(header + block::kTextLengthAt, static_cast<std::uint32_t>(text.size()) + 1);
  store_be32(header + block::kCarriedWordAt, carried);
  return CM_OK;
}

/// Calls `attempt` until it succeeds: what fails may be a moment's lack of descriptors, memory or
/// room. There is no pause, since no other request is served meanwhile.
template <typename Attempt>
bool persist(Attempt attempt) {
  for (int tries = 3; tries > 0; --tries)
    if (attempt()) return true;
  return false;
}

/// Whether the partition gives these bytes back to a reader.
bool reads_back(const char* path, const char* bytes, std::size_t length) {
  const FilePtr partition = open_regular(path, "r");
  return partition && begins_with(fileno(partition.get()), bytes, length);
}

/// Writes to the start of a partition. False when it does not hold the bytes then; `errno` tells
/// why, or is 0 where nobody knows.
bool program(const char* path, const char* bytes, std::size_t length) {
  return persist([=] {
    errno = 0;
    return flash_write(path, bytes, static_cast<std::int32_t>(length)) >= 0 &&
           reads_back(path, bytes, length);
  });
}

void log_not_saved(const char* path, const char* reason) {
  if (log_keeps_up()) syslog(LOG_ERR, "settings not saved to %s: %s", path, reason);
}

void log_too_large(const char* path, const Block& made, std::string_view text) {
  const bool block_is = made.data_length > block::kDataMax;
  char reason[96];
  std::snprintf(reason, sizeof reason, "the %s would have %zu bytes, %u are the most",
                block_is ? "block" : "text", block_is ? made.size() : text.size(),
                block_is ? block::kSizeMax : block::kTextMax - 1);
  log_not_saved(path, reason);
}

/// The copy is for whoever looks into the device. It lies where anybody may have laid something
/// else: a file that others may read, a link, or another file's second name. So it is a fresh one
/// of the daemon's own each time, or none where that something cannot be removed; and it may find
/// no room. None of that keeps the settings from flash.
void keep_plain_copy(std::string_view text) {
  const char* path = paths().last_block_text;
  unlink(path);
  const FilePtr copy = open_regular(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
  if (copy) std::fwrite(text.data(), 1, text.size(), copy.get());
}

/// The length is not looked at: what a short device does not hold stays zero, and the magic or the
/// checksum tells.
void read_unchecked(std::FILE* file, char* to, std::size_t size) {
  [[maybe_unused]] const std::size_t length = std::fread(to, 1, size, file);
}

}  // namespace

std::int32_t CM_UTL_compress(void* destination, std::int32_t capacity, const void* source,
                             std::int32_t length) {
  if (capacity < 0 || length < 0) return CM_INVALID;
  auto size = static_cast<uLongf>(capacity);
  if (compress(static_cast<Bytef*>(destination), &size, static_cast<const Bytef*>(source),
               static_cast<uLong>(length)) != Z_OK)
    return CM_INVALID;
  return static_cast<std::int32_t>(size);
}

std::int32_t CM_UTL_decompress(void* destination, std::int32_t capacity, const void* source,
                               std::int32_t length) {
  if (capacity < 0 || length < 0) return CM_INVALID;
  auto size = static_cast<uLongf>(capacity);
  if (uncompress(static_cast<Bytef*>(destination), &size, static_cast<const Bytef*>(source),
                 static_cast<uLong>(length)) != Z_OK)
    return CM_INVALID;
  return static_cast<std::int32_t>(size);
}

OwnedText CM_UTL_GetMTDBlockSettings(const char* path) {
  const FilePtr partition = open_regular(path, "r");
  if (!partition) return {};
  char header[block::kReservedAt] = {};
  read_unchecked(partition.get(), header, sizeof header);
  if (load_be32(header + block::kMagicAt) != block::kMagic) return {};
  const std::uint32_t data_length = load_be32(header + block::kDataLengthAt);
  const std::uint32_t text_length = load_be32(header + block::kTextLengthAt);
  // No stream is empty, but the checksum of no bytes is 0: a write that was cut behind the magic
  // must not pass for a block.
  if (data_length == 0 || data_length > block::kDataMax || text_length > block::kTextMax) return {};

  const HeapBytes data = heap_zeroed(data_length + 1);
  if (!data || std::fseek(partition.get(), block::kDataAt, SEEK_SET) != 0) return {};
  read_unchecked(partition.get(), data.get(), data_length);
  if (crc32(data.get(), static_cast<std::int32_t>(data_length)) !=
      load_be32(header + block::kDataCrcAt))
    return {};

  HeapBytes text = heap_zeroed(text_length + 1);
  if (!text) return {};
  // A cut text is still a text: the parse that follows judges it.
  static_cast<void>(CM_UTL_decompress(text.get(), static_cast<std::int32_t>(text_length + 1),
                                      data.get(), static_cast<std::int32_t>(data_length + 1)));
  text[text_length] = '\0';
  carried_word = load_be32(header + block::kCarriedWordAt);
  return OwnedText::adopt(text.release());
}

Status CM_UTL_SetMTDBlockSettings(const char* path, const char* text) {
  if (!text) return CM_INVALID;
  const std::string_view whole{text};
  Block made;
  Status result = CM_OK;
  if (!persist([&] { return (result = compress_text(whole, &made)) == CM_OK; })) {
    log_not_saved(path, "out of memory");
    return result;
  }
  keep_plain_copy(whole);
  if (fill_header(made, whole, carried_word) != CM_OK) {
    log_too_large(path, made, whole);
    return CM_INVALID;
  }
  if (program(path, made.bytes.get(), made.size())) return CM_OK;
  log_not_saved(path, errno != 0 ? std::strerror(errno) : "the flash does not take them");
  return CM_NOT_WRITTEN;
}

Status discard_settings_block(const char* path) {
  char erased[block::kDataAt];  // as a partition looks that never held one
  std::fill(std::begin(erased), std::end(erased), '\xFF');
  return program(path, erased, sizeof erased) ? CM_OK : CM_NOT_WRITTEN;
}

Status write_settings_file(const char* path, std::string_view text, std::uint32_t carried) {
  Block made;
  if (const Status result = compress_text(text, &made); result != CM_OK) return result;
  if (const Status result = fill_header(made, text, carried); result != CM_OK) return result;
  const FilePtr file = open_regular(path, O_WRONLY);
  if (!file) return CM_NOT_WRITTEN;
  const bool written =
      std::fwrite(made.bytes.get(), 1, block::kReservedAt, file.get()) == block::kReservedAt &&
      std::fseek(file.get(), block::kDataAt, SEEK_SET) == 0 &&
      std::fwrite(made.data(), 1, made.data_length, file.get()) == made.data_length &&
      std::fflush(file.get()) == 0;
  return written ? CM_OK : CM_NOT_WRITTEN;
}

}  // namespace gwconf
