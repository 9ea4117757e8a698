#pragma once

#include <cstddef>

#include "tools/base/screen.h"

namespace gwconf::tool {

/// "[####    ] 12/50" on a terminal that shows standard error, when there is much to do. Gone when
/// its life ends.
class ProgressBar {
 public:
  explicit ProgressBar(std::size_t total);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void show(std::size_t done) const;

 private:
  [[nodiscard]] bool is_shown() const;

  Screen screen_;
  std::size_t total_;
};

}  // namespace gwconf::tool
