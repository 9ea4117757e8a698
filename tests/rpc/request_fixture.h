#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <ostream>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

#include <gtest/gtest.h>

#include "core/tree.h"

namespace gwconf::test {

/// A text as its message: the length of the text with its NUL, the text, the NUL.
[[nodiscard]] std::string message(std::string_view text);
/// A body as it stands, under a length that need not be its own.
[[nodiscard]] std::string framed(std::int32_t length, std::string_view body);
/// The messages of several texts, one behind the other.
[[nodiscard]] std::string messages(const std::vector<std::string>& texts);
/// The texts of the messages in `bytes`; the test fails when that is not all there is.
[[nodiscard]] std::vector<std::string> texts_of(std::string_view bytes);

/// What the other end sends until it closes the connection.
[[nodiscard]] std::string read_to_end(int fd);

/// What a request came to: the answers in order, and the result of CM_RPC_RPOCESS.
struct Reply {
  std::vector<std::string> answers;
  std::int32_t result = CM_OK;

  bool operator==(const Reply&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Reply& reply);

/// A user that owns nothing, with a group of the same number.
inline constexpr uid_t kStranger = 65534;

/// Why a test that needs another user cannot run, or nothing: only root can take on another.
[[nodiscard]] const char* no_strangers();

/// A client and the daemon's end of its connection.
class Connection {
 public:
  Connection();
  /// A client of another user and the group of the same number. By root.
  explicit Connection(uid_t user);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  [[nodiscard]] int client() const { return ends_[0]; }
  [[nodiscard]] int server() const { return ends_[1]; }

  /// The client sends `bytes` with one call.
  void send(std::string_view bytes) const;
  /// The client sends no more; what the daemon reads from then on is the end of the stream.
  void finish() const;
  /// The client is gone, with or without having read its answers.
  void vanish();
  /// Serves the request on the daemon's end and reads what the client gets.
  [[nodiscard]] Reply serve() const;
  /// What the daemon did not read of a finished client.
  [[nodiscard]] std::string unread() const;

 private:
  int ends_[2];
};

/// Sends a whole request, given as the texts of its messages or as bytes, and serves it. The client
/// sends nothing else, so that no read waits.
[[nodiscard]] Reply serve(const std::vector<std::string>& texts);
[[nodiscard]] Reply serve_bytes(std::string_view bytes);
/// The same for a connection that is there.
[[nodiscard]] Reply serve_on(const Connection& connection, const std::vector<std::string>& texts);

/// Runs `task` in a process of its own, on a copy of everything, and hands over its text.
class Detached {
 public:
  explicit Detached(const std::function<std::string()>& task);
  ~Detached();
  Detached(const Detached&) = delete;
  Detached& operator=(const Detached&) = delete;

  /// Waits for the text.
  [[nodiscard]] std::string text();

 private:
  int pid_;
  int pipe_;
};

/// Runs `action` while this process can open no further descriptor.
void without_descriptors(const std::function<void()>& action);

/// Gives up what root may do beyond the modes of files. For a process of its own (Detached): there
/// is no way back.
void heed_file_modes();

/// The number of open descriptors of a process.
[[nodiscard]] std::size_t open_descriptors(int pid);

/// Forgets who listens to changes.
void clear_registration();

/// A sandbox, a command table and no live tree; afterwards nothing may be left of the tree's memory
/// or of the descriptors.
class RequestTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  /// Makes an outline (tree_builder.h), or an XML text, the live tree.
  static void load(std::string_view outline);
  static void load_xml(std::string_view text);
  static void release_tree();

  /// Lets other users into the sandbox and gives the stranger a folder there: its path.
  [[nodiscard]] static std::string folder_of_stranger();

  /// A path in the sandbox.
  [[nodiscard]] static std::string sandbox(const std::string& path);

 private:
  std::size_t blocks_ = 0;
  std::size_t descriptors_ = 0;
};

}  // namespace gwconf::test
