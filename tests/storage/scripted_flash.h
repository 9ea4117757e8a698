#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace gwconf::test {

/// The flash service of these tests, over files. It can fail, and its power can go.
struct ScriptedFlash {
  enum class Kind {
    kFile,    ///< bytes are written over
    kErased,  ///< blocks of kEraseSize bytes are erased first; programming only clears bits
  };
  static constexpr std::size_t kEraseSize = 32;
  static constexpr std::size_t kForever = std::numeric_limits<std::size_t>::max();

  struct Write {
    std::string path;
    std::string bytes;
  };

  Kind kind = Kind::kFile;
  bool fails = false;            ///< every write fails before its first step
  int reason = 0;                ///< what a failing write leaves in errno
  std::size_t steps = kForever;  ///< erased blocks and programmed bytes until the power goes
  std::vector<Write> writes;     ///< what was asked for, in order
  std::function<bool(const Write&)> refuses;  ///< picks writes that fail likewise
  int lies = 0;  ///< writes from now on that tell of success and leave the partition as it was
};

/// The flash in use; assign a fresh one to start anew.
[[nodiscard]] ScriptedFlash& flash();

}  // namespace gwconf::test
