#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace gwconf::client {

/// A file descriptor that closes itself, and leaves errno to whoever set it before.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) noexcept : number_{number} {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { reset(-1); }

  void reset(int number) noexcept {
    const int reason = errno;
    if (number_ >= 0) ::close(number_);
    number_ = number;
    errno = reason;
  }

  [[nodiscard]] int get() const noexcept { return number_; }
  explicit operator bool() const noexcept { return number_ >= 0; }

 private:
  int number_ = -1;
};

}  // namespace gwconf::client
