#include "tests/rpc/request_fixture.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <linux/capability.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "core/short_name_index.h"
#include "rpc/commands.h"
#include "rpc/configuration_commands.h"
#include "rpc/instance_commands.h"
#include "rpc/notification.h"
#include "rpc/server.h"
#include "tests/rpc/system_log.h"
#include "tests/storage/scripted_flash.h"
#include "tests/support/failing_heap.h"
#include "tests/support/sandbox.h"
#include "tests/support/tree_builder.h"
#include "xml/loader.h"

namespace gwconf::test {
namespace {

std::string escaped(std::string_view text) {
  std::string shown;
  for (const char c : text)
    c == '\n' ? shown += "\\n" : shown += c;
  return shown;
}

}  // namespace

std::string message(std::string_view text) {
  return framed(static_cast<std::int32_t>(text.size()) + 1, std::string{text} + '\0');
}

std::string framed(std::int32_t length, std::string_view body) {
  std::string bytes(sizeof length, '\0');
  std::memcpy(bytes.data(), &length, sizeof length);
  return bytes.append(body);
}

std::string messages(const std::vector<std::string>& texts) {
  std::string bytes;
  for (const std::string& text : texts)
    bytes += message(text);
  return bytes;
}

std::vector<std::string> texts_of(std::string_view bytes) {
  std::vector<std::string> texts;
  while (!bytes.empty()) {
    std::int32_t length = 0;
    if (bytes.size() >= sizeof length) std::memcpy(&length, bytes.data(), sizeof length);
    const std::string_view rest = bytes.substr(std::min(sizeof length, bytes.size()));
    if (length < 1 || rest.size() < static_cast<std::size_t>(length)) {
      ADD_FAILURE() << "no message: " << bytes.size() << " bytes, length " << length;
      break;
    }
    const std::string_view body = rest.substr(0, static_cast<std::size_t>(length));
    if (body.find('\0') != body.size() - 1) ADD_FAILURE() << "not one text: " << body;
    texts.emplace_back(body.substr(0, body.size() - 1));
    bytes = rest.substr(body.size());
  }
  return texts;
}

std::string read_to_end(int fd) {
  std::string bytes;
  char part[65536];
  for (;;) {
    const ssize_t got = read(fd, part, sizeof part);
    // The end of a connection whose other end did not read all shows as a reset.
    if (got == 0 || (got < 0 && errno == ECONNRESET)) return bytes;
    if (got < 0) throw std::runtime_error(std::strerror(errno));
    bytes.append(part, static_cast<std::size_t>(got));
  }
}

std::ostream& operator<<(std::ostream& out, const Reply& reply) {
  for (const std::string& text : reply.answers)
    out << '"' << escaped(text) << "\", ";
  return out << "result " << reply.result;
}

Connection::Connection() {
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_) != 0)
    throw std::runtime_error("no connection");
}

const char* no_strangers() {
  return geteuid() == 0 ? nullptr : "only root can take on another user";
}

Connection::Connection(uid_t user) {
  const gid_t group = getegid();
  if (setegid(user) != 0 || seteuid(user) != 0) throw std::runtime_error("not that user");
  const bool made = socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_) == 0;
  if (seteuid(0) != 0 || setegid(group) != 0) throw std::runtime_error("root no more");
  if (!made) throw std::runtime_error("no connection");
}

Connection::~Connection() {
  for (const int end : ends_)
    if (end >= 0) close(end);
}

void Connection::send(std::string_view bytes) const {
  const ssize_t sent = ::send(client(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  if (sent != static_cast<ssize_t>(bytes.size())) throw std::runtime_error("request not sent");
}

void Connection::finish() const {
  shutdown(client(), SHUT_WR);
}

void Connection::vanish() {
  close(std::exchange(ends_[0], -1));
}

Reply Connection::serve() const {
  // Long answers fill the connection, so the client reads while it is served.
  std::string bytes;
  std::thread reader;
  if (client() >= 0) reader = std::thread{[&] { bytes = read_to_end(client()); }};
  const Status result = CM_RPC_RPOCESS(server());
  shutdown(server(), SHUT_WR);
  if (reader.joinable()) reader.join();
  return {texts_of(bytes), result};
}

std::string Connection::unread() const {
  return read_to_end(server());
}

Reply serve(const std::vector<std::string>& texts) {
  return serve_bytes(messages(texts));
}

Reply serve_bytes(std::string_view bytes) {
  const Connection connection;
  connection.send(bytes);
  connection.finish();
  return connection.serve();
}

Reply serve_on(const Connection& connection, const std::vector<std::string>& texts) {
  connection.send(messages(texts));
  connection.finish();
  return connection.serve();
}

Detached::Detached(const std::function<std::string()>& task) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe");
  pid_ = fork();
  if (pid_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    close(ends[0]);
    const std::string text = task();
    const ssize_t written = write(ends[1], text.data(), text.size());
    _exit(written == static_cast<ssize_t>(text.size()) ? 0 : 1);
  }
  close(ends[1]);
  pipe_ = ends[0];
}

Detached::~Detached() {
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
  close(pipe_);
}

std::string Detached::text() {
  return read_to_end(pipe_);
}

void without_descriptors(const std::function<void()>& action) {
  const int lowest_free = dup(STDERR_FILENO);
  close(lowest_free);
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  const rlimit none{static_cast<rlim_t>(lowest_free), before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  action();
  setrlimit(RLIMIT_NOFILE, &before);
}

void heed_file_modes() {
  __user_cap_header_struct self{_LINUX_CAPABILITY_VERSION_3, 0};
  const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
  if (syscall(SYS_capset, &self, none) != 0) throw std::runtime_error("capabilities kept");
}

std::size_t open_descriptors(int pid) {
  const std::filesystem::directory_iterator all{"/proc/" + std::to_string(pid) + "/fd"};
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

void clear_registration() {
  Registration* registration = std::exchange(notify_reg, nullptr);
  if (!registration) return;
  registration->~Registration();
  CM_UTL_mfree(registration);
}

void RequestTest::SetUp() {
  clear_sandbox();
  fill_command_table();
  exclude_from_listening(0);  // a test that started the service left this process there
  cm_log_priority = 4;
  system_log() = {};
  flash() = {};
  blocks_ = live_blocks();
  descriptors_ = open_descriptors(getpid());
}

void RequestTest::TearDown() {
  release_tree();
  clear_registration();
  ignore(CM_HASH_Free(hashroot_sname, kShortNameBuckets));
  ignore(CM_HASH_Clear(hashroot_sname, kShortNameBuckets));
  EXPECT_EQ(cml_root_new, nullptr);
  EXPECT_EQ(cml_root_restore, nullptr);
  EXPECT_EQ(live_blocks(), blocks_) << "blocks left";
  EXPECT_EQ(open_descriptors(getpid()), descriptors_) << "descriptors left open";
}

void RequestTest::load(std::string_view outline) {
  release_tree();
  cml_root = build_tree(outline).release();
}

void RequestTest::load_xml(std::string_view text) {
  release_tree();
  cml_root = new_node().release();
  ASSERT_EQ(VT_CM_XML2RAM(cml_root, text), CM_OK);
}

void RequestTest::release_tree() {
  ignore(CM_UTL_FreeNode(std::exchange(cml_root, nullptr)));
}

std::string RequestTest::folder_of_stranger() {
  const std::string folder = sandbox("/tmp/stranger");
  std::filesystem::create_directories(folder);
  if (chmod(sandbox_root().c_str(), 0711) != 0 || chmod(folder.c_str(), 0700) != 0 ||
      chown(folder.c_str(), kStranger, kStranger) != 0)
    throw std::runtime_error("no folder for the stranger");
  return folder;
}

std::string RequestTest::sandbox(const std::string& path) {
  return sandbox_root() + path;
}

}  // namespace gwconf::test
