#pragma once

#include <cstddef>

#include "client/buffer.h"
#include "client/deadline.h"
#include "client/descriptor.h"

namespace gwconf::client {

/// The messages of one request in the order in which the daemon reads them.
class Request {
 public:
  /// Appends `text` with its NUL as a message. GWCONF_E_ARGUMENT: none, or longer than a message
  /// may be; GWCONF_E_MEMORY. The request is unchanged after a failure.
  [[nodiscard]] int append(const char* text) noexcept;

  [[nodiscard]] const Buffer& bytes() const noexcept { return bytes_; }

 private:
  Buffer bytes_;
};

/// The connection of one request, until a deadline. All codes are GWCONF_OK or GWCONF_E_*.
class Connection {
 public:
  explicit Connection(int timeout) noexcept : deadline_{timeout} {}

  /// Connects to the socket at `path`, waiting while the daemon's queue is full.
  /// GWCONF_E_CONNECT, GWCONF_E_TIMEOUT or GWCONF_E_SYSTEM.
  [[nodiscard]] int open(const char* path) noexcept;

  /// Sends the whole request. GWCONF_OK also when the daemon hung up meanwhile: it may have
  /// answered before. GWCONF_E_TIMEOUT or GWCONF_E_SYSTEM.
  [[nodiscard]] int send(const Request& request) noexcept;

  /// Appends the next message, a text with its NUL, to `messages`.
  /// GWCONF_E_CLOSED: the stream ended before it; GWCONF_E_PROTOCOL: it is no message, or the
  /// stream ended inside; GWCONF_E_TIMEOUT, GWCONF_E_MEMORY or GWCONF_E_SYSTEM. The bytes that
  /// `messages` held stay.
  [[nodiscard]] int receive(Buffer& messages) noexcept;

 private:
  [[nodiscard]] int send_piece(const char* bytes, std::size_t count) noexcept;
  [[nodiscard]] int receive_some(char* bytes, std::size_t count, std::size_t* received) noexcept;
  [[nodiscard]] int wait_for(short events) noexcept;

  Descriptor socket_;
  Deadline deadline_;
  std::size_t ahead_begin_ = 0;
  std::size_t ahead_end_ = 0;
  char ahead_[1024];  ///< read but not yet asked for: most answers and results fit one read
};

}  // namespace gwconf::client
