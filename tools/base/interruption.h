#pragma once

#include <csignal>

namespace gwconf::tool {

/// Turns Ctrl-C, an end of the terminal and a request to end into a descriptor that polls readable,
/// and a write to a closed pipe into an error, as long as it lives.
class Interruption {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  [[nodiscard]] int fd() const { return fd_; }
  [[nodiscard]] bool happened() const;

  /// Gives a child process the signals that this one had before.
  void restore() const;

 private:
  int fd_ = -1;
  sigset_t before_{};
  void (*pipe_before_)(int) = SIG_DFL;
};

}  // namespace gwconf::tool
