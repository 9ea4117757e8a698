#include "storage/big_endian.h"

#include <string_view>

#include <gtest/gtest.h>

namespace gwconf {
namespace {

TEST(BigEndian, LoadsTheHighestByteFirst) {
  EXPECT_EQ(load_be32("\x00\x12\x31\x23"), 0x00123123u);
  EXPECT_EQ(load_be32("\xFF\xFE\xFD\xFC"), 0xFFFEFDFCu);
  static_assert(load_be32("\x80\x00\x00\x01") == 0x80000001u);
}

TEST(BigEndian, StoresTheHighestByteFirstAndNothingElse) {
  char bytes[6] = {'a', 'b', 'c', 'd', 'e', 'f'};
  store_be32(bytes + 1, 0xA1B2C3D4);
  EXPECT_EQ((std::string_view{bytes, 6}),
            "a\xA1\xB2\xC3\xD4"
            "f");
}

}  // namespace
}  // namespace gwconf
