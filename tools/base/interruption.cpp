#include "tools/base/interruption.h"

#include <initializer_list>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace gwconf::tool {

Interruption::Interruption() {
  sigset_t signals{};
  sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    sigaddset(&signals, signal);
  sigprocmask(SIG_BLOCK, &signals, &before_);
  fd_ = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
  pipe_before_ = std::signal(SIGPIPE, SIG_IGN);
}

Interruption::~Interruption() {
  // What was waiting has been dealt with, and must not end the program now.
  signalfd_siginfo taken{};
  while (fd_ >= 0 && read(fd_, &taken, sizeof taken) > 0) {
  }
  if (fd_ >= 0) close(fd_);
  restore();
}

bool Interruption::happened() const {
  pollfd end{fd_, POLLIN, 0};
  return poll(&end, 1, 0) > 0;
}

void Interruption::restore() const {
  std::signal(SIGPIPE, pipe_before_);
  sigprocmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace gwconf::tool
