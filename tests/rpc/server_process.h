#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace gwconf::test {

/// The service over the live tree and the sandbox of the test, in a process of its own. Command 28,
/// which the product leaves without a handler, stops it.
class ServerProcess {
 public:
  /// Runs `prepare` in the new process, then the service, and waits until it serves.
  explicit ServerProcess(const std::function<void()>& prepare = {});
  ~ServerProcess();
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  [[nodiscard]] pid_t pid() const { return pid_; }
  /// The rest of the line of /proc/<pid>/status that starts with `key` and a colon.
  [[nodiscard]] std::string status(std::string_view key) const;
  /// Ends the service by a request. What CM_RPC_ServerStart returned.
  [[nodiscard]] int stop();
  /// Waits for the end of the process; its exit status, or -1 when it ended otherwise.
  [[nodiscard]] int wait();

 private:
  pid_t pid_ = -1;
};

/// A client of the socket.
class Client {
 public:
  Client();
  ~Client();
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  [[nodiscard]] int fd() const { return fd_; }
  void send(std::string_view bytes) const;
  /// Sends the texts of a whole request.
  void send_request(const std::vector<std::string>& texts) const;
  /// Everything until the daemon closes the connection, as texts.
  [[nodiscard]] std::vector<std::string> answers() const;
  /// Whether something can be read, or the connection is at its end, within a time.
  [[nodiscard]] bool hears_within(int milliseconds) const;
  /// Whether the daemon has closed the connection without sending anything.
  [[nodiscard]] bool is_closed() const;

 private:
  int fd_;
};

/// One request over the socket: the answers, the result last.
[[nodiscard]] std::vector<std::string> ask(const std::vector<std::string>& texts);

/// Waits up to half a minute until `condition` holds.
[[nodiscard]] bool eventually(const std::function<bool()>& condition);

}  // namespace gwconf::test
