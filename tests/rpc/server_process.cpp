#include "tests/rpc/server_process.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "core/paths.h"
#include "rpc/commands.h"
#include "rpc/server.h"
#include "tests/rpc/request_fixture.h"
#include "tests/rpc/system_log.h"

namespace gwconf::test {
namespace {

constexpr std::size_t kEmptySlot = 28;

Status stop_service(int /*fd*/, char* /*buf*/) {
  return CM_STOP;
}

int connect_to_socket() {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, paths().socket, sizeof address.sun_path - 1);
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return fd;
  close(fd);
  return -1;
}

/// Whether a whole request is served. The command is one beyond the table.
bool serves() {
  const int fd = connect_to_socket();
  if (fd < 0) return false;
  const std::string request = message("34");
  const bool sent = send(fd, request.data(), request.size(), MSG_NOSIGNAL) > 0;
  const std::string answer = sent ? read_to_end(fd) : "";
  close(fd);
  return answer == message("-100");
}

}  // namespace

ServerProcess::ServerProcess(const std::function<void()>& prepare) {
  pid_ = fork();
  if (pid_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // The log is opened when the table is filled.
    system_log().on_open = [] { CM_RPC_PROCESS_FUNCTABLE[kEmptySlot] = stop_service; };
    if (prepare) prepare();
    _exit(CM_RPC_ServerStart());
  }
  if (!eventually(serves)) throw std::runtime_error("the service does not start");
}

ServerProcess::~ServerProcess() {
  if (pid_ < 0) return;
  kill(pid_, SIGKILL);
  static_cast<void>(wait());
}

std::string ServerProcess::status(std::string_view key) const {
  std::ifstream file{"/proc/" + std::to_string(pid_) + "/status"};
  for (std::string line; std::getline(file, line);)
    if (line.starts_with(std::string{key} + ":\t")) return line.substr(key.size() + 2);
  return "<none>";
}

int ServerProcess::stop() {
  const Client client;
  client.send_request({std::to_string(kEmptySlot)});
  return wait();
}

int ServerProcess::wait() {
  int status = 0;
  waitpid(std::exchange(pid_, -1), &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

Client::Client() : fd_{connect_to_socket()} {
  if (fd_ < 0) throw std::runtime_error("no connection to the service");
}

Client::~Client() {
  close(fd_);
}

void Client::send(std::string_view bytes) const {
  if (::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size()))
    throw std::runtime_error("request not sent");
}

void Client::send_request(const std::vector<std::string>& texts) const {
  send(messages(texts));
}

std::vector<std::string> Client::answers() const {
  return texts_of(read_to_end(fd_));
}

bool Client::hears_within(int milliseconds) const {
  pollfd waiting{fd_, POLLIN, 0};
  return poll(&waiting, 1, milliseconds) == 1;
}

bool Client::is_closed() const {
  return hears_within(0) && read_to_end(fd_).empty();
}

std::vector<std::string> ask(const std::vector<std::string>& texts) {
  const Client client;
  client.send_request(texts);
  return client.answers();
}

bool eventually(const std::function<bool()>& condition) {
  for (int tries = 0; tries < 3000; ++tries) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds{10});
  }
  return false;
}

}  // namespace gwconf::test
