#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace gwconf::test {

/// The texts of one request: the command number, then the arguments.
using RequestTexts = std::vector<std::string>;

/// The daemon's end of one connection.
class Peer {
 public:
  Peer(int descriptor, RequestTexts& texts) : descriptor_{descriptor}, texts_{texts} {}

  /// The next message, read as the daemon reads it: a wait of five seconds, one read of the length
  /// and one of the body, whatever they bring. Kept as part of the request.
  std::string read();

  /// A text with its length and NUL.
  void answer(std::string_view text);

  void send_bytes(std::string_view bytes);

  /// Keeps the connection open when the script ends, until the daemon ends.
  void park() { parked_ = true; }

  [[nodiscard]] bool parked() const { return parked_; }

 private:
  int descriptor_;
  RequestTexts& texts_;
  bool parked_ = false;
};

/// A message as it travels.
[[nodiscard]] std::string message(std::string_view text);

/// A length without a body.
[[nodiscard]] std::string length_of(int length);

/// A scripted daemon on a socket in a folder of its own: serves one connection after the other in a
/// thread, each with the script.
class FakeDaemon {
 public:
  using Script = std::function<void(Peer&)>;
  enum class Start { kNow, kLater };

  explicit FakeDaemon(Script script, Start start = Start::kNow, int backlog = 16);
  ~FakeDaemon();
  FakeDaemon(const FakeDaemon&) = delete;
  FakeDaemon& operator=(const FakeDaemon&) = delete;

  /// Begins to accept.
  void start();

  [[nodiscard]] const std::string& socket_path() const { return socket_path_; }

  /// All requests that were served to the end of the script.
  [[nodiscard]] std::vector<RequestTexts> requests() const;

  /// The only one of them; fails the test when there is another number.
  [[nodiscard]] RequestTexts request() const;

 private:
  void serve();

  Script script_;
  std::string folder_;
  std::string socket_path_;
  int listener_ = -1;
  int wake_[2] = {-1, -1};
  mutable std::mutex mutex_;
  mutable std::condition_variable served_;
  std::vector<RequestTexts> requests_;
  std::vector<int> parked_;
  std::size_t accepted_ = 0;
  std::thread thread_;
};

/// Reads a command with `arguments` arguments and answers with `texts`, the result last.
[[nodiscard]] FakeDaemon::Script answering(int arguments, std::vector<std::string> texts);

}  // namespace gwconf::test
