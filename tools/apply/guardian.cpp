#include "tools/apply/guardian.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/wait.h>
#include <syslog.h>
#include <thread>
#include <tuple>
#include <unistd.h>

#include "tools/base/failure.h"

namespace gwconf::tool {
namespace {

constexpr auto kGlance = std::chrono::milliseconds{100};

[[nodiscard]] bool is_confirmed(const PendingFile& pending, int seconds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{seconds};
  while (std::chrono::steady_clock::now() < end) {
    if (pending.is_taken()) return true;
    std::this_thread::sleep_for(kGlance);
  }
  return !pending.take() && pending.is_taken();
}

void take_back(const Client& client, const Steps& steps, const char* why) {
  const std::vector<std::string> failures = undo(client, steps);
  openlog("gwctl", LOG_PID, LOG_USER);
  syslog(LOG_WARNING, "batch undone: %s", why);
  for (const std::string& failure : failures)
    syslog(LOG_ERR, "not undone: %s", failure.c_str());
}

/// The life of the guardian.
void guard(const Client& client, const PendingFile* pending, int seconds, int descriptor) {
  MessageReader messages{descriptor};
  Steps steps;
  while (const std::optional<Message> message = messages.next()) {
    if (message->kind == Message::Kind::kDismiss) return;
    if (message->kind == Message::Kind::kWait) {
      if (pending && !is_confirmed(*pending, seconds))
        take_back(client, steps, "nobody confirmed it");
      return;
    }
    steps.insert(steps.begin(), message->steps.begin(), message->steps.end());
  }
  if (pending) std::ignore = pending->take();
  take_back(client, steps, "gwctl ended in the middle of it");
}

/// Leaves the terminal, the session and the signals of the one that started it.
void detach() {
  setsid();
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTSTP})
    std::signal(signal, SIG_IGN);
  sigset_t none{};
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  const int null = open("/dev/null", O_RDWR);
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    dup2(null, standard);
  if (null > STDERR_FILENO) close(null);
}

/// Makes this process, a child of gwctl, the parent of the guardian, and ends it: the guardian is a
/// child of nobody, so that a shell need not wait for it.
[[noreturn]] void become_guardian(const Client& client, const PendingFile* pending, int seconds,
                                  int descriptor) {
  const pid_t guardian = fork();
  if (guardian != 0) _exit(guardian < 0 ? 1 : 0);
  detach();
  try {
    guard(client, pending, seconds, descriptor);
  } catch (...) {
    _exit(1);
  }
  _exit(0);
}

[[nodiscard]] Failure no_guardian(int reason) {
  return {Exit::kRefused, std::strerror(reason)};
}

}  // namespace

Guardian::Guardian(const Client& client, const PendingFile* pending, int seconds) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw no_guardian(errno);
  const pid_t child = fork();
  if (child < 0) {
    const int reason = errno;
    close(ends[0]);
    close(ends[1]);
    throw no_guardian(reason);
  }
  if (child == 0) {
    close(ends[1]);
    become_guardian(client, pending, seconds, ends[0]);
  }
  close(ends[0]);
  descriptor_ = ends[1];
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (status != 0) {
    close(descriptor_);
    throw no_guardian(EAGAIN);
  }
}

Guardian::~Guardian() {
  if (descriptor_ >= 0) close(descriptor_);
}

bool Guardian::tell(const Message& message) const {
  const std::string text = encoded(message);
  for (std::size_t sent = 0; sent < text.size();) {
    const ssize_t count = write(descriptor_, text.data() + sent, text.size() - sent);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    sent += static_cast<std::size_t>(count);
  }
  return true;
}

bool Guardian::expect(const Steps& undo_steps) const {
  return tell({Message::Kind::kUndo, undo_steps});
}

void Guardian::dismiss() const {
  std::ignore = tell({Message::Kind::kDismiss, {}});
}

void Guardian::wait_for_confirmation() const {
  std::ignore = tell({Message::Kind::kWait, {}});
}

}  // namespace gwconf::tool
