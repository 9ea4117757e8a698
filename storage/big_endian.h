#pragma once

#include <cstdint>

namespace gwconf {

/// The 32-bit word whose four bytes, the highest first, start at `bytes`.
[[nodiscard]] constexpr std::uint32_t load_be32(const char* bytes) {
  std::uint32_t word = 0;
  for (int i = 0; i < 4; ++i)
    word = word << 8 | static_cast<unsigned char>(bytes[i]);
  return word;
}

/// Puts `word` into the four bytes from `bytes` on, the highest first.
constexpr void store_be32(char* bytes, std::uint32_t word) {
  for (int i = 3; i >= 0; --i, word >>= 8)
    bytes[i] = static_cast<char>(word & 0xFF);
}

}  // namespace gwconf
