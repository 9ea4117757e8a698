#pragma once

#include <cstdint>

namespace gwconf {

/// The standard CRC-32 (reflected polynomial 0xEDB88320, initial value and result complemented) of
/// `length` bytes; 0 when `length` is below 1. zlib's function of the same name is another one: it
/// has C linkage and takes a running value.
[[nodiscard]] std::uint32_t crc32(const void* data, std::int32_t length);

}  // namespace gwconf
