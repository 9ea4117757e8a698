#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace gwconf::test {

/// The sandbox's daemon as a process of its own, over the sandbox of this test. It is killed when
/// this ends.
class DaemonProcess {
 public:
  enum class Descriptors { kOpen, kClosed };

  /// Starts it. Its standard output goes to a file; with kClosed it starts without descriptors 0
  /// to 2.
  explicit DaemonProcess(const std::vector<std::string>& arguments = {},
                         Descriptors descriptors = Descriptors::kOpen);
  ~DaemonProcess();
  DaemonProcess(const DaemonProcess&) = delete;
  DaemonProcess& operator=(const DaemonProcess&) = delete;

  [[nodiscard]] pid_t id() const { return id_; }

  /// Waits until it answers requests. False when it ended instead.
  [[nodiscard]] bool serves();

  /// Whether it has not ended by now.
  [[nodiscard]] bool is_running() { return !ended(); }

  void send(int signal) const;

  static constexpr int kKilled = -9;
  static constexpr int kStillRunning = -1000;

  /// Waits for its end: the exit status, or the number of the signal that ended it, negative;
  /// kStillRunning when it did not come within half a minute.
  [[nodiscard]] int wait();

  /// What it wrote to standard output by now.
  [[nodiscard]] static std::string said();

 private:
  [[nodiscard]] bool ended();

  pid_t id_ = -1;
  bool reaped_ = false;
  int status_ = 0;
};

}  // namespace gwconf::test
