#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/owned_text.h"
#include "protocol/status.h"

namespace gwconf {

/// A settings block: the whole saved configuration, at the start of its partition or file. Words
/// have 32 bits, the highest byte first. What follows the compressed bytes does not belong to it.
namespace block {

inline constexpr std::size_t kMagicAt = 0;         ///< always kMagic
inline constexpr std::size_t kDataLengthAt = 4;    ///< compressed bytes, 1 to kDataMax
inline constexpr std::size_t kDataCrcAt = 8;       ///< crc32 of the compressed bytes alone
inline constexpr std::size_t kTextLengthAt = 12;   ///< of the text with its NUL, at most kTextMax
inline constexpr std::size_t kCarriedWordAt = 16;  ///< passed on as it was found
inline constexpr std::size_t kReservedAt = 20;     ///< 20 zero bytes, never read
inline constexpr std::size_t kDataAt = 40;         ///< zlib stream of the text without its NUL

inline constexpr std::uint32_t kMagic = 0x00123123;
inline constexpr std::uint32_t kSizeMax = 65535;
inline constexpr std::uint32_t kDataMax = kSizeMax - kDataAt;
inline constexpr std::uint32_t kTextMax = 2097152 + 1;  // the largest configuration file

}  // namespace block

/// Compresses `length` bytes at `source` into the `capacity` bytes at `destination`. Returns the
/// compressed length, or -100: a negative number, or zlib fails for want of room or memory.
[[nodiscard]] std::int32_t CM_UTL_compress(void* destination, std::int32_t capacity,
                                           const void* source, std::int32_t length);

/// Inflates the zlib stream in the `length` bytes at `source` into the `capacity` bytes at
/// `destination`. Returns the inflated length, or -100: a negative number, or zlib fails for want
/// of room, memory or a whole stream; `destination` then holds what was inflated by then.
[[nodiscard]] std::int32_t CM_UTL_decompress(void* destination, std::int32_t capacity,
                                             const void* source, std::int32_t length);

/// The text of the block at the start of the partition or file `path`, the caller's. None when
/// there is no valid block (no such device, another magic, lengths past their bounds, a wrong
/// checksum) or no memory. The text itself is not checked: with a header that understates its
/// length it is cut, with a damaged stream whose checksum fits it is cut or empty. Sets the carried
/// word when it returns a text.
[[nodiscard]] OwnedText CM_UTL_GetMTDBlockSettings(const char* path);

/// Writes `text`, NUL-terminated, as a block to the flash partition `path`, with the word carried
/// from the block read last (0 before any was read), and a plain copy of it to
/// paths().last_block_text; a copy that cannot be written fails nothing. What fails is tried again
/// at once, three times in all. CM_OK: the partition holds the block, it was read back.
/// CM_NO_MEMORY: the partition and the copy are unchanged. CM_INVALID: no text, or zlib failed,
/// likewise unchanged; or the block would be too large to be read back: the copy is written, the
/// partition unchanged. CM_NOT_WRITTEN: the flash failed, or does not give the block back, and the
/// partition is as it left it. Any failure but that of no text is told to the system log.
Status CM_UTL_SetMTDBlockSettings(const char* path, const char* text);

/// Makes the partition `path` hold no block: its header is overwritten, as often as a write is
/// tried. CM_OK: it was read back. CM_NOT_WRITTEN: the flash failed. Nothing is logged.
Status discard_settings_block(const char* path);

/// Writes `text` as a block with the given carried word into the file `path`, which exists and
/// whose reserved bytes stay as they are; no plain copy. CM_NO_MEMORY and CM_INVALID as above, the
/// file unchanged; CM_NOT_WRITTEN: it cannot be opened, or not be written to the end.
Status write_settings_file(const char* path, std::string_view text, std::uint32_t carried);

}  // namespace gwconf
