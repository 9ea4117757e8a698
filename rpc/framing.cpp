#include "rpc/framing.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include "rpc/request_time.h"

namespace gwconf {
namespace {

/// Waits until `fd` is ready for `events` (the end of the stream and errors are readiness too).
/// CM_UNREADABLE, and the connection is shut down, when the request's time is over.
Status wait_ready(int fd, short events) {
  pollfd waiting{.fd = fd, .events = events, .revents = 0};
  const int ready = poll(&waiting, 1, next_wait());
  if (ready == 0 && next_wait() == 0) {
    shutdown(fd, SHUT_RDWR);
    return CM_UNREADABLE;
  }
  if (ready == 0) return CM_TIMED_OUT;
  return ready < 0 || (waiting.revents & POLLNVAL) != 0 ? CM_NOT_READY : CM_OK;
}

/// One read of at most `size` bytes, after a wait only where nothing is there yet. `*got` is the
/// read's own result.
Status read_once(int fd, void* destination, std::size_t size, ssize_t* got) {
  *got = recv(fd, destination, size, MSG_DONTWAIT);
  if (*got >= 0) return CM_OK;
  if (errno == EBADF || errno == ENOTSOCK) return CM_NOT_READY;
  if (errno != EAGAIN && errno != EWOULDBLOCK) return CM_OK;
  if (const Status status = wait_ready(fd, POLLIN)) return status;
  *got = recv(fd, destination, size, MSG_DONTWAIT);
  return CM_OK;
}

}  // namespace

Received receive_message(int fd, char* buf) {
  std::int32_t length = 0;
  ssize_t got = 0;
  const Status status = read_once(fd, &length, sizeof length, &got);
  if (status == CM_UNREADABLE) return {};
  if (status != CM_OK) return {.readiness = status, .length = 0};
  if (got == 0 || length < 1 || length > kMessageMax) return {};
  // Whatever came of the body counts; a client that sends it in pieces is cut short.
  if (read_once(fd, buf, static_cast<std::size_t>(length), &got) == CM_UNREADABLE) return {};
  buf[kMessageMax - 1] = '\0';
  return {.readiness = CM_OK, .length = length};
}

std::int32_t CM_RPC_SocketRead(int fd, char* buf) {
  const Received received = receive_message(fd, buf);
  return received.readiness == CM_OK ? received.length : received.readiness;
}

std::int32_t CM_RPC_SocketWrite(int fd, const char* text) {
  if (static_cast<unsigned>(fd) <= STDERR_FILENO) return std::fputs(text, stderr);
  std::int32_t length = static_cast<std::int32_t>(std::strlen(text)) + 1;
  iovec parts[] = {{&length, sizeof length},
                   {const_cast<char*>(text), static_cast<std::size_t>(length)}};
  msghdr message{};
  message.msg_iov = parts;
  message.msg_iovlen = 2;
  bool stalled = false;
  while (message.msg_iovlen > 0) {
    ssize_t sent = sendmsg(fd, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent < 0) {
      if (errno == EINTR) continue;
      if (errno != EAGAIN && errno != EWOULDBLOCK) return -1;
      if (stalled) {
        shutdown(fd, SHUT_RDWR);
        return -1;
      }
      // A socket counts as ready only when most of its room is free: whether a slow reader took
      // anything in the meantime shows when more is sent.
      stalled = wait_ready(fd, POLLOUT) != CM_OK;
      continue;
    }
    stalled = false;
    while (message.msg_iovlen > 0 && static_cast<std::size_t>(sent) >= message.msg_iov->iov_len) {
      sent -= static_cast<ssize_t>(message.msg_iov->iov_len);
      ++message.msg_iov;
      --message.msg_iovlen;
    }
    if (message.msg_iovlen > 0) {
      message.msg_iov->iov_base = static_cast<char*>(message.msg_iov->iov_base) + sent;
      message.msg_iov->iov_len -= static_cast<std::size_t>(sent);
    }
  }
  return length;
}

}  // namespace gwconf
