#include "tests/startup/daemon_process.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "core/paths.h"
#include "gwconf/client.hpp"
#include "tests/support/sandbox.h"

namespace gwconf::test {
namespace {

std::string output_file() {
  return sandbox_root() + "/daemon.out";
}

/// Asks again and again for up to half a minute.
template <typename Condition>
bool comes_true(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{30};
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds{2});
  }
  return true;
}

}  // namespace

DaemonProcess::DaemonProcess(const std::vector<std::string>& arguments, Descriptors descriptors) {
  std::vector<std::string> command;
  if (std::strlen(GWCONF_EMULATOR) > 0) command.emplace_back(GWCONF_EMULATOR);
  command.emplace_back(GWCONF_DAEMON);
  command.insert(command.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& argument : command)
    argv.push_back(argument.data());
  argv.push_back(nullptr);

  const std::string output = output_file();
  id_ = fork();
  if (id_ < 0) throw std::runtime_error("no process for the daemon");
  if (id_ == 0) {
    if (descriptors == Descriptors::kOpen) {
      dup2(open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), STDOUT_FILENO);
    } else {
      for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
        close(fd);
    }
    execvp(argv[0], argv.data());
    _exit(127);
  }
}

DaemonProcess::~DaemonProcess() {
  if (ended()) return;
  kill(id_, SIGKILL);
  waitpid(id_, nullptr, 0);
}

bool DaemonProcess::ended() {
  if (!reaped_) reaped_ = waitpid(id_, &status_, WNOHANG) == id_;
  return reaped_;
}

bool DaemonProcess::serves() {
  const Client client{paths().socket};
  bool answered = false;
  const bool done = comes_true([&] {
    answered = client.get_value("none").code == GWCONF_NOT_FOUND;
    return answered || ended();
  });
  return done && answered;
}

void DaemonProcess::send(int signal) const {
  if (!reaped_) kill(id_, signal);
}

int DaemonProcess::wait() {
  if (!comes_true([this] { return ended(); })) return kStillRunning;
  return WIFEXITED(status_) ? WEXITSTATUS(status_) : -WTERMSIG(status_);
}

std::string DaemonProcess::said() {
  return read_file(output_file());
}

}  // namespace gwconf::test
