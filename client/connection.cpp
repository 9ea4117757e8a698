#include "client/connection.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include "gwconf/client.h"
#include "protocol/limits.h"

namespace gwconf::client {
namespace {

static_assert(GWCONF_TEXT_MAX == kMessageMax);

using Length = std::int32_t;

/// The daemon takes a message as far as it has arrived when it looks, so a message must arrive at
/// once. Linux queues up to 48,832 bytes of one call (16,064 of a buffer's head and eight pages of
/// 4 KiB) as one piece, which a reader sees whole or not at all; what is longer it queues piece by
/// piece, cut anywhere.
constexpr std::size_t kPieceMax = 48000;
static_assert(kPieceMax >= sizeof(Length) + kMessageMax);

/// A queued piece is never longer than half the send buffer.
constexpr int kSendBufferMin = 2 * 48832;

[[nodiscard]] Length length_at(const char* bytes) {
  Length length = 0;
  std::memcpy(&length, bytes, sizeof length);
  return length;
}

/// The longest run of whole messages at the start of `count` bytes that travels as one piece.
[[nodiscard]] std::size_t piece_of(const char* bytes, std::size_t count) {
  std::size_t end = 0;
  while (end < count) {
    const std::size_t next =
        end + sizeof(Length) + static_cast<std::size_t>(length_at(bytes + end));
    if (next > kPieceMax) break;
    end = next;
  }
  return end;
}

}  // namespace

int Request::append(const char* text) noexcept {
  if (!text) return GWCONF_E_ARGUMENT;
  const std::size_t size = strnlen(text, kMessageMax) + 1;
  if (size > kMessageMax) return GWCONF_E_ARGUMENT;
  const auto length = static_cast<Length>(size);
  if (!bytes_.reserve(sizeof length + size)) return GWCONF_E_MEMORY;
  std::memcpy(bytes_.data() + bytes_.size(), &length, sizeof length);
  std::memcpy(bytes_.data() + bytes_.size() + sizeof length, text, size);
  bytes_.commit(sizeof length + size);
  return GWCONF_OK;
}

int Connection::open(const char* path) noexcept {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path, strlen(path) + 1);

  socket_.reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket_) return GWCONF_E_SYSTEM;

  for (;;) {
    // A blocking connect waits in line for a place in the daemon's queue; this bounds the wait.
    const int left = deadline_.remaining();
    if (left == 0) return GWCONF_E_TIMEOUT;
    timeval wait{};
    wait.tv_sec = left / 1000;
    wait.tv_usec = left % 1000 * 1000;
    if (::setsockopt(socket_.get(), SOL_SOCKET, SO_SNDTIMEO, &wait, sizeof wait) != 0)
      return GWCONF_E_SYSTEM;
    if (::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
      return GWCONF_OK;
    if (errno == EAGAIN) return GWCONF_E_TIMEOUT;
    if (errno != EINTR) return GWCONF_E_CONNECT;
  }
}

int Connection::send(const Request& request) noexcept {
  const char* bytes = request.bytes().data();
  std::size_t count = request.bytes().size();

  int room = 0;
  socklen_t size = sizeof room;
  if (::getsockopt(socket_.get(), SOL_SOCKET, SO_SNDBUF, &room, &size) == 0 &&
      room < kSendBufferMin)
    ::setsockopt(socket_.get(), SOL_SOCKET, SO_SNDBUF, &kSendBufferMin, sizeof kSendBufferMin);

  while (count > 0) {
    const std::size_t piece = piece_of(bytes, count);
    const int code = send_piece(bytes, piece);
    if (code == GWCONF_E_CLOSED) return GWCONF_OK;
    if (code != GWCONF_OK) return code;
    bytes += piece;
    count -= piece;
  }
  return GWCONF_OK;
}

int Connection::send_piece(const char* bytes, std::size_t count) noexcept {
  while (count > 0) {
    const ssize_t sent = ::send(socket_.get(), bytes, count, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent >= 0) {
      bytes += sent;
      count -= static_cast<std::size_t>(sent);
    } else if (errno == EAGAIN) {
      if (const int code = wait_for(POLLOUT)) return code;
    } else if (errno == EPIPE || errno == ECONNRESET) {
      return GWCONF_E_CLOSED;
    } else if (errno != EINTR) {
      return GWCONF_E_SYSTEM;
    }
  }
  return GWCONF_OK;
}

int Connection::receive(Buffer& messages) noexcept {
  char head[sizeof(Length)];
  for (std::size_t have = 0; have < sizeof head;) {
    std::size_t received = 0;
    if (const int code = receive_some(head + have, sizeof head - have, &received)) return code;
    if (received == 0) return have == 0 ? GWCONF_E_CLOSED : GWCONF_E_PROTOCOL;
    have += received;
  }

  const Length length = length_at(head);
  if (length < 1) return GWCONF_E_PROTOCOL;
  const auto size = static_cast<std::size_t>(length);
  const std::size_t begin = messages.size();
  if (size > GWCONF_ANSWER_MAX - begin) return GWCONF_E_PROTOCOL;

  int code = GWCONF_OK;
  for (std::size_t have = 0; have < size;) {
    // Room is made as the bytes come: a length alone is not worth much memory.
    std::size_t received = 0;
    const std::size_t wanted = std::min<std::size_t>(size - have, 65536);
    if (!messages.reserve(wanted))
      code = GWCONF_E_MEMORY;
    else
      code = receive_some(messages.data() + messages.size(), wanted, &received);
    if (code == GWCONF_OK && received == 0) code = GWCONF_E_PROTOCOL;
    if (code != GWCONF_OK) break;
    messages.commit(received);
    have += received;
  }
  if (code == GWCONF_OK && messages.data()[messages.size() - 1] != '\0') code = GWCONF_E_PROTOCOL;
  if (code != GWCONF_OK) messages.shrink_to(begin);
  return code;
}

/// Up to `count` bytes; none at the end of the stream.
int Connection::receive_some(char* bytes, std::size_t count, std::size_t* received) noexcept {
  while (ahead_begin_ == ahead_end_) {
    // Long bodies go straight to where they belong.
    const bool direct = count >= sizeof ahead_;
    const ssize_t got = ::recv(socket_.get(), direct ? bytes : ahead_,
                               direct ? count : sizeof ahead_, MSG_DONTWAIT);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 && errno == EAGAIN) {
      if (const int code = wait_for(POLLIN)) return code;
      continue;
    }
    // A daemon that closes with arguments unread resets the connection, behind all that it sent.
    if (got < 0 && errno != ECONNRESET) return GWCONF_E_SYSTEM;
    const std::size_t bytes_got = got > 0 ? static_cast<std::size_t>(got) : 0;
    if (direct || bytes_got == 0) {
      *received = bytes_got;
      return GWCONF_OK;
    }
    ahead_begin_ = 0;
    ahead_end_ = bytes_got;
  }
  *received = std::min(count, ahead_end_ - ahead_begin_);
  std::memcpy(bytes, ahead_ + ahead_begin_, *received);
  ahead_begin_ += *received;
  return GWCONF_OK;
}

int Connection::wait_for(short events) noexcept {
  for (;;) {
    const int left = deadline_.remaining();
    if (left == 0) return GWCONF_E_TIMEOUT;
    pollfd entry{socket_.get(), events, 0};
    const int ready = ::poll(&entry, 1, left);
    if (ready > 0) return GWCONF_OK;
    if (ready < 0 && errno != EINTR) return GWCONF_E_SYSTEM;
  }
}

}  // namespace gwconf::client
