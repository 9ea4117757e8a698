#include "core/log.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

namespace gwconf {

bool log_keeps_up() {
  const int log = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (log < 0) return false;
  constexpr sockaddr_un kAddress{.sun_family = AF_UNIX, .sun_path = _PATH_LOG};
  pollfd waiting{.fd = log, .events = POLLOUT, .revents = 0};
  const bool stands_still =
      connect(log, reinterpret_cast<const sockaddr*>(&kAddress), sizeof kAddress) == 0 &&
      poll(&waiting, 1, 0) == 0;
  close(log);
  return !stands_still;
}

}  // namespace gwconf
