#include "storage/crc32.h"

#include <array>

namespace gwconf {
namespace {

constexpr std::array<std::uint32_t, 256> kTable = [] {
  std::array<std::uint32_t, 256> table = {};
  for (std::uint32_t i = 0; i < table.size(); ++i) {
    std::uint32_t remainder = i;
    for (int bit = 0; bit < 8; ++bit)
      remainder = remainder & 1 ? remainder >> 1 ^ 0xEDB88320 : remainder >> 1;
    table[i] = remainder;
  }
  return table;
}();
static_assert(kTable[1] == 0x77073096 && kTable[255] == 0x2D02EF8D);

}  // namespace

std::uint32_t crc32(const void* data, std::int32_t length) {
  if (length < 1) return 0;
  const auto* bytes = static_cast<const unsigned char*>(data);
  std::uint32_t remainder = 0xFFFFFFFF;
  for (std::int32_t i = 0; i < length; ++i)
    remainder = remainder >> 8 ^ kTable[(remainder ^ bytes[i]) & 0xFF];
  return ~remainder;
}

}  // namespace gwconf
