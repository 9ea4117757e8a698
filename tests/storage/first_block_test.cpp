#include <string>

#include <gtest/gtest.h>

#include "core/paths.h"
#include "storage/settings_block.h"
#include "tests/storage/scripted_flash.h"
#include "tests/support/sandbox.h"

namespace gwconf {
namespace {

// The only test of its executable, so that no block was read before.
TEST(FirstBlock, CarriesZeroBeforeAnyBlockWasRead) {
  const char* primary = paths().primary_partition;
  test::write_file(primary,
                   std::string{"\x00\x12\x31\x23", 4} + "no block at all, but a word in its place");
  EXPECT_FALSE(CM_UTL_GetMTDBlockSettings(primary));
  ASSERT_EQ(CM_UTL_SetMTDBlockSettings(primary, "text"), CM_OK);
  EXPECT_EQ(test::flash().writes.at(0).bytes.substr(16, 4), std::string(4, '\0'));
}

}  // namespace
}  // namespace gwconf
