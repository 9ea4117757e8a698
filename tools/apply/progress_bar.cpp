#include "tools/apply/progress_bar.h"

#include <algorithm>
#include <iostream>
#include <string>
#include <unistd.h>

namespace gwconf::tool {
namespace {

/// From so many steps on there is a bar.
constexpr std::size_t kLong = 20;

}  // namespace

ProgressBar::ProgressBar(std::size_t total) : screen_{Screen::of(STDERR_FILENO)}, total_{total} {}

ProgressBar::~ProgressBar() {
  if (is_shown()) std::cerr << "\r\033[K" << std::flush;
}

void ProgressBar::show(std::size_t done) const {
  if (!is_shown()) return;
  const std::string count = std::to_string(done) + "/" + std::to_string(total_);
  std::string bar;
  if (screen_.width > count.size() + 6) {
    const std::size_t width = std::min<std::size_t>(screen_.width - count.size() - 4, 40);
    bar = std::string(width * done / total_, '#');
    bar = "[" + bar + std::string(width - bar.size(), ' ') + "] ";
  }
  std::cerr << '\r' << bar << count << std::flush;
}

bool ProgressBar::is_shown() const {
  return screen_.is_terminal && total_ >= kLong;
}

}  // namespace gwconf::tool
