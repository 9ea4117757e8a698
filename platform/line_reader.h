#pragma once

#include <cstddef>
#include <string_view>

#include "platform/regular_file.h"

namespace gwconf {

/// Reads the lines of a file through a buffer of `kLineSize` bytes, NUL included. The rest of a
/// longer line is passed over, and no file is read without end.
template <std::size_t kLineSize>
class LineReader {
 public:
  explicit LineReader(const char* path) : file_{path} {}

  [[nodiscard]] bool is_open() const { return file_.is_open(); }

  /// Reads the next line. False at the end of the file, and when it cannot be read.
  [[nodiscard]] bool next() {
    length_ = 0;
    bool found = false;
    while (at_ < filled_ || refill()) {
      found = true;
      const char c = chunk_[at_++];
      if (c == '\n') break;
      if (length_ < kLineSize - 1) line_[length_++] = c;
    }
    line_[length_] = '\0';
    return found;
  }

  /// The line read last, without its line break. Held until the next one is read.
  [[nodiscard]] std::string_view line() const { return {line_, length_}; }
  [[nodiscard]] const char* c_str() const { return line_; }

 private:
  static constexpr std::size_t kReadAtMost = 16 * 1024 * 1024;

  [[nodiscard]] bool refill() {
    at_ = 0;
    filled_ = total_ < kReadAtMost ? file_.read(chunk_, sizeof chunk_) : 0;
    total_ += filled_;
    return filled_ > 0;
  }

  RegularFile file_;
  std::size_t total_ = 0;
  std::size_t at_ = 0;
  std::size_t filled_ = 0;
  std::size_t length_ = 0;
  char chunk_[512];
  char line_[kLineSize];
};

}  // namespace gwconf
