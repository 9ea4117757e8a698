// What a `get` costs over what the framing alone costs: the daemon beside a bare server that reads
// the same messages and answers a constant, both asked by the same client in turns.
//
//   get_bench DAEMON DEFAULTS [ROUNDS]

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <signal.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kPath[] = "InternetGatewayDevice.ManagementServer.URL";

sockaddr_un address_of(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  return address;
}

void append_message(std::string* request, const std::string& text) {
  const auto length = static_cast<std::int32_t>(text.size() + 1);
  request->append(reinterpret_cast<const char*>(&length), sizeof length);
  request->append(text.c_str(), text.size() + 1);
}

std::string get_request() {
  std::string request;
  append_message(&request, "2");
  append_message(&request, kPath);
  return request;
}

/// One request on a connection of its own, as the protocol wants it. Returns all bytes of the
/// answer.
std::size_t ask(const sockaddr_un& address, const std::string& request) {
  const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  if (connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    throw std::runtime_error("cannot connect");
  if (send(fd, request.data(), request.size(), 0) != static_cast<ssize_t>(request.size()))
    throw std::runtime_error("cannot send");
  char answer[4096];
  std::size_t all = 0;
  for (ssize_t got = 0; (got = recv(fd, answer, sizeof answer, 0)) > 0;)
    all += static_cast<std::size_t>(got);
  close(fd);
  return all;
}

void read_message(int fd, char* buffer) {
  std::int32_t length = 0;
  if (read(fd, &length, sizeof length) != sizeof length ||
      read(fd, buffer, static_cast<std::size_t>(length)) < 0)
    _exit(1);
}

void write_message(int fd, const char* text) {
  const auto length = static_cast<std::int32_t>(std::strlen(text) + 1);
  if (write(fd, &length, sizeof length) < 0 ||
      write(fd, text, static_cast<std::size_t>(length)) < 0)
    _exit(1);
}

/// The floor: the same messages, one read or write call for each length and each body, and nothing
/// in between.
[[noreturn]] void serve_constant(const std::string& path, const char* constant) {
  const sockaddr_un address = address_of(path);
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) _exit(1);
  if (listen(listener, 16) != 0) _exit(1);
  static char buffer[32769];
  for (;;) {
    const int fd = accept(listener, nullptr, nullptr);
    read_message(fd, buffer);
    read_message(fd, buffer);
    write_message(fd, constant);
    write_message(fd, "0");
    close(fd);
  }
}

pid_t start_daemon(const char* daemon, const std::string& folder) {
  const pid_t pid = fork();
  if (pid == 0) {
    setenv("GWCONF_SANDBOX", folder.c_str(), 1);
    if (!std::freopen("/dev/null", "w", stdout)) _exit(1);
    execl(daemon, daemon, static_cast<char*>(nullptr));
    _exit(1);
  }
  return pid;
}

pid_t start_floor(const std::string& path, const char* constant) {
  const pid_t pid = fork();
  if (pid == 0) serve_constant(path, constant);
  return pid;
}

void wait_for(const std::string& socket_path) {
  for (int tries = 0; !std::filesystem::exists(socket_path); ++tries) {
    if (tries == 500) throw std::runtime_error("no server at " + socket_path);
    usleep(10'000);
  }
  usleep(100'000);
}

void stop(pid_t pid) {
  kill(pid, SIGTERM);
  waitpid(pid, nullptr, 0);
}

double microseconds_per_request(const sockaddr_un& address, const std::string& request, int count) {
  const auto start = Clock::now();
  for (int i = 0; i < count; ++i)
    ask(address, request);
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count() / count;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: get_bench DAEMON DEFAULTS [ROUNDS]\n");
    return 2;
  }
  const int rounds = argc > 3 ? std::atoi(argv[3]) : 40;
  constexpr int kRequestsPerRound = 1000;

  char folder[] = "/tmp/gwconf-bench.XXXXXX";
  if (!mkdtemp(folder)) return 1;
  const std::string root = folder;
  std::filesystem::create_directories(root + "/etc");
  std::filesystem::copy_file(argv[2], root + "/etc/default.xml");

  const std::string daemon_socket = root + "/tmp/Vantrel_cm_socket";
  const std::string floor_socket = root + "/floor";
  const pid_t daemon = start_daemon(argv[1], root);
  wait_for(daemon_socket);
  const std::string request = get_request();
  // The floor answers a constant of the same length, so that the same bytes travel.
  const std::size_t answer_size = ask(address_of(daemon_socket), request);
  const std::string constant(answer_size - 4 - 1 - 4 - 2, 'x');
  const pid_t floor = start_floor(floor_socket, constant.c_str());
  wait_for(floor_socket);

  std::vector<double> daemon_cost;
  std::vector<double> floor_cost;
  std::vector<double> ratios;
  for (int round = 0; round < rounds; ++round) {
    floor_cost.push_back(
        microseconds_per_request(address_of(floor_socket), request, kRequestsPerRound));
    daemon_cost.push_back(
        microseconds_per_request(address_of(daemon_socket), request, kRequestsPerRound));
    ratios.push_back(daemon_cost.back() / floor_cost.back());
  }
  stop(daemon);
  stop(floor);
  std::filesystem::remove_all(root);
  std::printf(
      "| `get` over the socket | %.1f us | bare server, same framing, constant answer | %.1f us | "
      "%.2f |\n",
      median(daemon_cost), median(floor_cost), median(ratios));
  return 0;
}
