#include "storage/crc32.h"

#include <cstddef>
#include <random>
#include <string>
#include <zlib.h>

#include <gtest/gtest.h>

namespace gwconf {
namespace {

TEST(Crc32, HasTheStandardCheckValue) {
  EXPECT_EQ(crc32("123456789", 9), 0xCBF43926u);
  EXPECT_EQ(crc32("a", 1), 0xE8B7BE43u);
  EXPECT_EQ(crc32("\0\0\0\0", 4), 0x2144DF1Cu);
  EXPECT_EQ(crc32("\xFF\xFF\xFF\xFF", 4), 0xFFFFFFFFu);
}

TEST(Crc32, IsZeroForALengthBelowOne) {
  EXPECT_EQ(crc32("abc", 0), 0u);
  EXPECT_EQ(crc32("abc", -1), 0u);
  EXPECT_EQ(crc32(nullptr, -2147483647 - 1), 0u);
}

TEST(Crc32, AgreesWithZlibOnEveryLength) {
  std::minstd_rand random{1};
  std::string bytes;
  for (int length = 1; length <= 600; ++length) {
    bytes.push_back(static_cast<char>(random()));
    EXPECT_EQ(crc32(bytes.data(), length),
              ::crc32(0, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(length)))
        << length;
  }
}

}  // namespace
}  // namespace gwconf
