#include "tests/commit/failing_call.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "tests/support/sandbox.h"

namespace gwconf::test {
namespace {

// --- The process under test ---

/// What never goes wrong: memory, the end, and the call that brings back what the task tells.
constexpr int kSpared[] = {SYS_brk,        SYS_mmap,    SYS_munmap,        SYS_mremap,
                           SYS_mprotect,   SYS_madvise, SYS_futex,         SYS_rt_sigaction,
                           SYS_exit_group, SYS_sendmsg, SYS_rt_sigprocmask};

/// From now on `action` is done at every call of this process but the spared ones. Returns the
/// descriptor through which they are told and answered, where they are to be.
int install_filter(std::uint32_t action) {
  std::vector<sock_filter> program = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const int number : kSpared) {
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(number), 0, 1));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  }
  program.push_back(BPF_STMT(BPF_RET | BPF_K, action));
  const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
  prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  return static_cast<int>(
      syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &filter));
}

union DescriptorRoom {
  cmsghdr header;
  char bytes[CMSG_SPACE(sizeof(int))];
};

bool send_text(int channel, const std::string& text, int descriptor = -1) {
  iovec part{const_cast<char*>(text.data()), text.size()};
  DescriptorRoom room{};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  if (descriptor >= 0) {
    message.msg_control = room.bytes;
    message.msg_controllen = sizeof room.bytes;
    room.header.cmsg_level = SOL_SOCKET;
    room.header.cmsg_type = SCM_RIGHTS;
    room.header.cmsg_len = CMSG_LEN(sizeof descriptor);
    std::memcpy(CMSG_DATA(&room.header), &descriptor, sizeof descriptor);
  }
  return sendmsg(channel, &message, 0) == static_cast<ssize_t>(text.size());
}

std::string receive_text(int channel, int* descriptor) {
  std::string text(65536, '\0');
  iovec part{text.data(), text.size()};
  DescriptorRoom room{};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = room.bytes;
  message.msg_controllen = sizeof room.bytes;
  const ssize_t got = recvmsg(channel, &message, MSG_CMSG_CLOEXEC);
  *descriptor = -1;
  if (const cmsghdr* header = CMSG_FIRSTHDR(&message); got > 0 && header)
    std::memcpy(descriptor, CMSG_DATA(header), sizeof *descriptor);
  text.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
  return text;
}

[[noreturn]] void run_task(int channel, const std::function<std::string()>& task) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int listener = install_filter(SECCOMP_RET_USER_NOTIF);
  if (!send_text(channel, "listener", listener)) _exit(1);
  _exit(send_text(channel, task()) ? 0 : 1);
}

// --- The process that watches it ---

class Watch {
 public:
  Watch(pid_t pid, int listener, const Fault& fault, Medium& medium)
      : pid_{pid}, listener_{listener}, fault_{fault}, medium_{medium} {}

  /// Lets the next call go or go wrong.
  void handle_one();

  [[nodiscard]] bool fired() const { return fired_; }
  [[nodiscard]] const std::string& call() const { return call_; }

 private:
  [[nodiscard]] std::string file_of(const seccomp_notif& asked) const;
  [[nodiscard]] bool is_meant(const seccomp_notif& asked) const;
  [[nodiscard]] std::int64_t do_half(const seccomp_notif& asked) const;
  void follow(const seccomp_notif& asked, bool succeeds, seccomp_notif_resp* answer);

  pid_t pid_;
  int listener_;
  const Fault& fault_;
  Medium& medium_;
  std::size_t calls_ = 0;
  bool fired_ = false;
  std::string call_;
};

bool is_read(int number) {
  return number == SYS_read || number == SYS_pread64;
}
bool is_write(int number) {
  return number == SYS_write || number == SYS_pwrite64;
}
bool changes(int number) {
  return is_write(number) || number == SYS_writev || number == SYS_fallocate ||
         number == SYS_ftruncate;
}

/// The file of a call whose first argument is a descriptor.
std::string Watch::file_of(const seccomp_notif& asked) const {
  const std::string link = "/proc/" + std::to_string(pid_) + "/fd/" +
                           std::to_string(static_cast<int>(asked.data.args[0]));
  char path[4096];
  const ssize_t length = readlink(link.c_str(), path, sizeof path);
  return {path, length > 0 ? static_cast<std::size_t>(length) : 0};
}

bool Watch::is_meant(const seccomp_notif& asked) const {
  if (fault_.kind == Fault::Kind::kError)
    return fault_.calls.empty() || std::ranges::count(fault_.calls, asked.data.nr) > 0;
  return (is_read(asked.data.nr) || is_write(asked.data.nr)) && asked.data.args[2] > 1;
}

/// Reads or writes half in the place of the process.
std::int64_t Watch::do_half(const seccomp_notif& asked) const {
  const int process = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
  const int fd = static_cast<int>(syscall(SYS_pidfd_getfd, process, asked.data.args[0], 0));
  close(process);
  std::string bytes(asked.data.args[2] / 2, '\0');
  const iovec here{bytes.data(), bytes.size()};
  const iovec there{reinterpret_cast<void*>(asked.data.args[1]), bytes.size()};
  const auto offset = static_cast<off_t>(asked.data.args[3]);
  ssize_t done = -1;
  if (is_write(asked.data.nr) && process_vm_readv(pid_, &here, 1, &there, 1, 0) > 0)
    done = asked.data.nr == SYS_write ? write(fd, bytes.data(), bytes.size())
                                      : pwrite(fd, bytes.data(), bytes.size(), offset);
  if (is_read(asked.data.nr)) {
    done = asked.data.nr == SYS_read ? read(fd, bytes.data(), bytes.size())
                                     : pread(fd, bytes.data(), bytes.size(), offset);
    if (done > 0 && process_vm_writev(pid_, &here, 1, &there, 1, 0) < 0) done = -1;
  }
  close(fd);
  if (done < 0) throw std::runtime_error("half a call cannot be done");
  return done;
}

/// Does to the medium what the call does. The flush itself is spared.
void Watch::follow(const seccomp_notif& asked, bool succeeds, seccomp_notif_resp* answer) {
  const int number = asked.data.nr;
  const bool flushes = number == SYS_fsync || number == SYS_fdatasync;
  if (!flushes && !changes(number) && number != SYS_fadvise64) return;
  const std::string path = file_of(asked);
  if (!medium_.holds(path)) return;
  if (changes(number)) medium_.wrote(path);
  if (number == SYS_fadvise64 && succeeds) medium_.dropped_from_memory(path);
  if (!flushes) return;
  medium_.flushed(path, succeeds);
  if (succeeds) answer->flags = 0;
}

void Watch::handle_one() {
  seccomp_notif asked{};
  if (ioctl(listener_, SECCOMP_IOCTL_NOTIF_RECV, &asked) != 0) return;
  seccomp_notif_resp answer{};
  answer.id = asked.id;
  answer.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
  const bool wrong = is_meant(asked) && ++calls_ == fault_.nth;
  const bool fails = wrong && fault_.kind == Fault::Kind::kError;
  follow(asked, !fails, &answer);
  if (wrong) {
    fired_ = true;
    call_ = "system call " + std::to_string(asked.data.nr) + " " + file_of(asked);
    answer.flags = 0;
    answer.error = fails ? -fault_.error : 0;
    answer.val = fails ? 0 : do_half(asked);
  }
  ioctl(listener_, SECCOMP_IOCTL_NOTIF_SEND, &answer);
}

}  // namespace

void make_file(const std::string& path, const std::optional<std::string>& content) {
  if (!content) {
    std::filesystem::remove(path);
    return;
  }
  // Not emptied first: a file system flushes a file that was emptied to be rewritten.
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const auto size = static_cast<ssize_t>(content->size());
  const bool written = fd >= 0 && pwrite(fd, content->data(), content->size(), 0) == size &&
                       ftruncate(fd, size) == 0;
  if (fd >= 0) close(fd);
  if (!written) throw std::runtime_error("cannot write " + path);
}

void Medium::put(const std::string& path, const std::optional<std::string>& content) {
  files_[path] = {content, false};
  make_file(path, content);
}

void Medium::lose_power() {
  for (auto& [path, file] : files_) {
    file.dirty = false;
    make_file(path, file.stored);
  }
}

void Medium::flushed(const std::string& path, bool succeeds) {
  File& file = files_.at(path);
  if (succeeds && file.dirty) file.stored = read_file(path);
  file.dirty = false;
}

void Medium::dropped_from_memory(const std::string& path) {
  const File& file = files_.at(path);
  // A new file of which nothing came to the medium is there as long as it is open.
  if (!file.dirty) make_file(path, file.stored.value_or(""));
}

bool calls_can_fail() {
  const pid_t pid = fork();
  if (pid == 0) _exit(install_filter(SECCOMP_RET_ALLOW) >= 0 ? 0 : 1);
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

Outcome run_with_fault(const std::function<std::string()>& task, const Fault& fault,
                       Medium& medium) {
  int channel[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, channel) != 0)
    throw std::runtime_error("no channel");
  const pid_t pid = fork();
  if (pid == 0) run_task(channel[1], task);
  close(channel[1]);
  int listener = -1;
  receive_text(channel[0], &listener);
  if (listener < 0) throw std::runtime_error("the calls cannot be watched");

  Watch watch{pid, listener, fault, medium};
  pollfd waits[] = {{.fd = listener, .events = POLLIN, .revents = 0},
                    {.fd = channel[0], .events = POLLIN, .revents = 0}};
  while (poll(waits, 2, -1) >= 0 && waits[1].revents == 0)
    watch.handle_one();
  int none = -1;
  Outcome outcome{watch.fired(), watch.call(), receive_text(channel[0], &none)};
  kill(pid, SIGKILL);  // nobody answers what it calls on its way out
  waitpid(pid, nullptr, 0);
  close(listener);
  close(channel[0]);
  return outcome;
}

}  // namespace gwconf::test
