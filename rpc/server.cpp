#include "rpc/server.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include "core/number.h"
#include "core/paths.h"
#include "platform/recall.h"
#include "rpc/commands.h"
#include "rpc/instance_commands.h"
#include "rpc/notification.h"
#include "rpc/request.h"
#include "rpc/request_time.h"

namespace gwconf {

std::uint32_t CM_RPC_CMD = 0;
std::uint32_t CM_EventType = 0;
std::uint32_t CM_AttrType = 0;

namespace {

constexpr int kBacklog = 16;

/// The file of a bound socket. While the socket is open, no other file gets the same number.
struct SocketFile {
  dev_t device = 0;
  ino_t inode = 0;

  bool operator==(const SocketFile&) const = default;
};

/// What lies at the socket's path: the default when that is nothing.
SocketFile file_at_socket_path() {
  struct stat file;
  if (lstat(paths().socket, &file) != 0) return {};
  return {.device = file.st_dev, .inode = file.st_ino};
}

/// The default when no socket is bound.
SocketFile own_socket;

/// Whether the next request finds the descriptors that it may need: its connection's, the log's,
/// and two for files.
bool descriptors_left() {
  std::array<int, 4> copies;
  for (int& copy : copies)
    copy = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
  const bool left = copies.back() >= 0;
  for (const int copy : copies)
    if (copy >= 0) close(copy);
  return left;
}

/// Connections whose request was unreadable. Their clients get no answer and no end of the stream;
/// a client that has gone is let go of, and one more than there is room for pushes the oldest out.
/// So does one whose descriptor the requests of others would lack.
class ParkedConnections {
 public:
  ~ParkedConnections() {
    while (count_ > 0)
      drop_oldest();
  }

  void park(int fd) {
    if (count_ == kMax) drop_oldest();
    waits_[1 + count_++] = {.fd = fd, .events = 0, .revents = 0};
    while (!descriptors_left() && drop_oldest()) {
    }
  }

  /// Closes the oldest. False when there is none.
  bool drop_oldest() {
    if (count_ == 0) return false;
    drop(0);
    return true;
  }

  /// Waits until a client connects to `listener`, and lets go of those that have gone in the
  /// meantime.
  void wait_for_client(int listener) {
    while (count_ > 0) {
      waits_[0] = {.fd = listener, .events = POLLIN, .revents = 0};
      if (poll(waits_.data(), 1 + count_, -1) < 0) return;
      for (std::size_t i = count_; i-- > 0;)
        if (waits_[1 + i].revents != 0) drop(i);
      if (waits_[0].revents != 0) return;
    }
  }

 private:
  static constexpr std::size_t kMax = 64;

  void drop(std::size_t index) {
    close(waits_[1 + index].fd);
    std::copy(waits_.begin() + 2 + index, waits_.begin() + 1 + count_, waits_.begin() + 1 + index);
    --count_;
  }

  std::array<pollfd, 1 + kMax> waits_ = {};  // the first is the listener's
  std::size_t count_ = 0;
};

class Server {
 public:
  Server() = default;
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
  ~Server() {
    remove_own_socket();  // while the socket is open, see SocketFile
    own_socket = {};
    if (listener_ >= 0) close(listener_);
  }

  [[nodiscard]] bool listen_on(const char* path);
  void serve();

 private:
  [[nodiscard]] int accept_client();

  int listener_ = -1;
  ParkedConnections parked_;
};

bool Server::listen_on(const char* path) {
  unlink(path);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (std::strlen(path) >= sizeof address.sun_path) return false;
  std::strcpy(address.sun_path, path);
  listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const mode_t others = umask(0117);  // owner and group may connect
  const bool bound =
      bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  umask(others);
  if (bound) own_socket = file_at_socket_path();
  return bound && listen(listener_, kBacklog) == 0;
}

int Server::accept_client() {
  parked_.wait_for_client(listener_);
  int client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
  while (client < 0) {
    // Out of descriptors, mostly: the parked ones are the first to go, and then time may bring some
    // back.
    if (!parked_.drop_oldest()) poll(nullptr, 0, 100);
    client = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
  }
  return client;
}

void Server::serve() {
  for (;;) {
    const int client = accept_client();
    scan_recall_func_table();
    const Status result = CM_RPC_RPOCESS(client);
    if (result == CM_STOP) return;
    if (result == CM_UNREADABLE) {
      parked_.park(client);
      continue;
    }
    answer_number(client, result);
    close(client);
  }
}

}  // namespace

Status CM_RPC_RPOCESS(int fd) {
  start_request_time();
  char buf[kMessageMax] = {};
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  const std::int32_t number = to_number(buf);
  if (number < 0 || number >= kCommandCount) return CM_INVALID;
  const Handler handler = CM_RPC_PROCESS_FUNCTABLE[static_cast<std::size_t>(number)];
  return handler ? handler(fd, buf) : CM_INVALID;
}

void remove_own_socket() {
  if (own_socket != SocketFile{} && file_at_socket_path() == own_socket) unlink(paths().socket);
}

int CM_RPC_ServerStart() {
  fill_command_table();
  exclude_from_listening(getpid());
  cm_log_priority = LOG_WARNING;
  openlog("[CONFIG]", 0, LOG_USER);
  Server server;
  if (!server.listen_on(paths().socket)) return CM_NO_SERVER;
  signal(SIGPIPE, SIG_IGN);  // a client that has gone makes a write fail, and nothing else
  server.serve();
  return CM_OK;
}

}  // namespace gwconf
