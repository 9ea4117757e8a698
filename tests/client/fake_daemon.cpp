#include "tests/client/fake_daemon.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace gwconf::test {

std::string length_of(int length) {
  const std::int32_t number = length;
  std::string bytes(sizeof number, '\0');
  std::memcpy(bytes.data(), &number, sizeof number);
  return bytes;
}

std::string message(std::string_view text) {
  return length_of(static_cast<int>(text.size()) + 1) + std::string{text} + '\0';
}

std::string Peer::read() {
  pollfd entry{descriptor_, POLLIN, 0};
  std::int32_t length = 0;
  std::string body;
  if (poll(&entry, 1, 5000) == 1 && ::read(descriptor_, &length, sizeof length) == sizeof length &&
      length > 0) {
    body.resize(static_cast<std::size_t>(length));
    const ssize_t got = ::read(descriptor_, body.data(), body.size());
    body.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    if (!body.empty() && body.back() == '\0')
      body.pop_back();
    else
      body += "<cut>";
  }
  texts_.push_back(body);
  return body;
}

void Peer::answer(std::string_view text) {
  send_bytes(message(text));
}

void Peer::send_bytes(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

FakeDaemon::FakeDaemon(Script script, Start start_when, int backlog) : script_{std::move(script)} {
  char folder[] = "/tmp/gwconf-fake.XXXXXX";
  if (!mkdtemp(folder)) throw std::runtime_error("no folder for the fake daemon");
  folder_ = folder;
  socket_path_ = folder_ + "/socket";
  listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socket_path_.copy(address.sun_path, sizeof address.sun_path - 1);
  if (bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      listen(listener_, backlog) != 0 || pipe2(wake_, O_CLOEXEC) != 0)
    throw std::runtime_error("the fake daemon cannot listen");
  if (start_when == Start::kNow) start();
}

FakeDaemon::~FakeDaemon() {
  close(wake_[1]);
  if (thread_.joinable()) thread_.join();
  close(wake_[0]);
  close(listener_);
  for (const int descriptor : parked_)
    close(descriptor);
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void FakeDaemon::start() {
  thread_ = std::thread{[this] { serve(); }};
}

void FakeDaemon::serve() {
  for (;;) {
    pollfd entries[] = {{listener_, POLLIN, 0}, {wake_[0], POLLIN, 0}};
    if (poll(entries, 2, -1) < 0) continue;
    if (entries[1].revents != 0) return;
    const int descriptor = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor < 0) continue;
    {
      const std::lock_guard lock{mutex_};
      ++accepted_;
    }
    RequestTexts texts;
    Peer peer{descriptor, texts};
    script_(peer);
    if (peer.parked())
      parked_.push_back(descriptor);
    else
      close(descriptor);
    const std::lock_guard lock{mutex_};
    requests_.push_back(std::move(texts));
    served_.notify_all();
  }
}

std::vector<RequestTexts> FakeDaemon::requests() const {
  // A client has its result before the script is over.
  std::unique_lock lock{mutex_};
  served_.wait_for(lock, std::chrono::seconds{10},
                   [this] { return requests_.size() == accepted_; });
  return requests_;
}

RequestTexts FakeDaemon::request() const {
  const std::vector<RequestTexts> all = requests();
  EXPECT_EQ(all.size(), 1U);
  return all.empty() ? RequestTexts{} : all.front();
}

FakeDaemon::Script answering(int arguments, std::vector<std::string> texts) {
  return [arguments, texts](Peer& peer) {
    for (int i = 0; i <= arguments; ++i)
      peer.read();
    for (const std::string& text : texts)
      peer.answer(text);
  };
}

}  // namespace gwconf::test
