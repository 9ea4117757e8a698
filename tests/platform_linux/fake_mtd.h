#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "platform/linux/mtd_control.h"

namespace gwconf::test {

/// Flash over plain files: erasing sets bits, programming whole pages clears them. It stands in for
/// platform/linux/mtd_control.cpp.
struct FakeMtd {
  static constexpr std::size_t kForever = std::numeric_limits<std::size_t>::max();

  bool present = false;  ///< whether plain files are flash
  MtdGeometry geometry = {.size = 256, .erase_size = 64, .page_size = 1};
  bool tells_geometry = true;
  std::size_t steps = kForever;  ///< erased blocks and programmed bytes until the power goes
  std::uint32_t bad_block =
      std::numeric_limits<std::uint32_t>::max();  ///< offset that never erases
  std::size_t most_at_once = kForever;            ///< bytes that one call programs
  int interruptions = 0;                          ///< calls that a signal ends first
  std::vector<std::string> calls;  ///< "erase <offset>+<length>", "program <offset>+<length>"
};

/// The flash in use; assign a fresh one to start anew.
[[nodiscard]] FakeMtd& mtd();

}  // namespace gwconf::test
