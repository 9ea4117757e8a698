#include "tools/apply/guardian.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <sys/wait.h>
#include <syslog.h>
#include <system_error>
#include <thread>
#include <tuple>
#include <unistd.h>

namespace gwconf::tool {
namespace {

/// Bytes of the pending file that are locked: the first while a guardian lives, the second while
/// somebody decides.
constexpr off_t kLife = 0;
constexpr off_t kDecision = 1;

/// The file's permissions until somebody has decided, and from then on: a mark that needs no room
/// on a full disk.
constexpr mode_t kWaiting = 0600;
constexpr mode_t kDecided = 0400;

constexpr auto kGlance = std::chrono::milliseconds{100};

[[nodiscard]] bool lock(int descriptor, off_t byte, int command) {
  struct flock range {};
  range.l_type = F_WRLCK;
  range.l_whence = SEEK_SET;
  range.l_start = byte;
  range.l_len = 1;
  int result = 0;
  do
    result = fcntl(descriptor, command, &range);
  while (result < 0 && errno == EINTR);
  return result == 0;
}

void unlock(int descriptor, off_t byte) {
  struct flock range {};
  range.l_type = F_UNLCK;
  range.l_whence = SEEK_SET;
  range.l_start = byte;
  range.l_len = 1;
  fcntl(descriptor, F_OFD_SETLK, &range);
}

[[nodiscard]] std::string pending_path(const std::string& socket_path) {
  // Not a folder of the login, which is emptied when the line breaks that the batch has cut.
  const char* given = std::getenv("TMPDIR");
  std::error_code error;
  const std::string folder =
      given && *given == '/' && std::filesystem::is_directory(given, error) ? given : "/tmp";
  const std::filesystem::path socket = std::filesystem::absolute(socket_path, error);
  return folder + "/gwctl-" + std::to_string(geteuid()) + "-" +
         std::to_string(std::hash<std::string>{}(socket.lexically_normal().string())) + ".pending";
}

/// The file when it is one of ours.
[[nodiscard]] int open_own(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
  struct stat status {};
  if (descriptor >= 0 && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
      status.st_uid == geteuid())
    return descriptor;
  if (descriptor >= 0) close(descriptor);
  return -1;
}

/// What the guardian is told, line by line.
class Messages {
 public:
  explicit Messages(int descriptor) : descriptor_{descriptor} {}

  /// False at the end, which a message that broke off is too.
  [[nodiscard]] bool next(Json& message) {
    std::size_t end = 0;
    while ((end = text_.find('\n')) == std::string::npos) {
      std::array<char, 4096> bytes;
      const ssize_t count = read(descriptor_, bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return false;
      text_.append(bytes.data(), static_cast<std::size_t>(count));
    }
    message = Json::parse(text_.substr(0, end), nullptr, false);
    text_.erase(0, end + 1);
    return !message.is_discarded();
  }

 private:
  int descriptor_;
  std::string text_;
};

[[nodiscard]] bool is_confirmed(const PendingFile& pending, int seconds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{seconds};
  while (std::chrono::steady_clock::now() < end) {
    if (pending.is_taken()) return true;
    std::this_thread::sleep_for(kGlance);
  }
  return !pending.take() && pending.is_taken();
}

void take_back(const Client& client, const Steps& steps, const char* why) {
  std::vector<std::string> failures;
  undo(client, steps, failures);
  openlog("gwctl", LOG_PID, LOG_USER);
  syslog(LOG_WARNING, "batch undone: %s", why);
  for (const std::string& failure : failures)
    syslog(LOG_ERR, "not undone: %s", failure.c_str());
}

/// The life of the guardian.
void guard(const Client& client, const PendingFile* pending, int seconds, int descriptor) {
  Messages messages{descriptor};
  Steps steps;
  Json message;
  while (messages.next(message)) {
    if (message == "dismiss") return;
    if (message == "wait") {
      if (pending && !is_confirmed(*pending, seconds))
        take_back(client, steps, "nobody confirmed it");
      return;
    }
    const Steps newer = steps_of(message);
    steps.insert(steps.begin(), newer.begin(), newer.end());
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

}  // namespace

PendingFile::~PendingFile() {
  if (descriptor_ >= 0) close(descriptor_);
}

PendingFile::PendingFile(PendingFile&& other) noexcept
    : descriptor_{std::exchange(other.descriptor_, -1)}, path_{std::move(other.path_)} {}

PendingFile& PendingFile::operator=(PendingFile&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  std::swap(path_, other.path_);
  return *this;
}

std::optional<PendingFile> PendingFile::create(const std::string& socket_path) {
  const std::string path = pending_path(socket_path);
  // One without a guardian is left over from a crash of the machine.
  if (const int old = open_own(path); old >= 0) {
    if (lock(old, kLife, F_OFD_SETLK)) unlink(path.c_str());
    close(old);
  }
  const int descriptor =
      open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kWaiting);
  if (descriptor < 0) return {};
  PendingFile file{descriptor, path};
  struct stat status {};
  const bool is_locked = lock(descriptor, kLife, F_OFD_SETLK) && fstat(descriptor, &status) == 0;
  // Without the lock for a moment it may have been taken for a left over one.
  if (is_locked && status.st_nlink > 0) return file;
  errno = EEXIST;
  return {};
}

std::optional<PendingFile> PendingFile::open_waiting(const std::string& socket_path) {
  const std::string path = pending_path(socket_path);
  const int descriptor = open_own(path);
  if (descriptor < 0) return {};
  PendingFile file{descriptor, path};
  if (!lock(descriptor, kLife, F_OFD_SETLK)) return file;
  unlink(path.c_str());
  return {};
}

void PendingFile::write(const Json& content) const {
  const std::string text = content.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
  // For people who look what waits; the guardian has its own list.
  std::ignore = ::pwrite(descriptor_, text.data(), text.size(), 0);
}

bool PendingFile::take() const {
  if (!lock(descriptor_, kDecision, F_OFD_SETLKW)) return false;
  struct stat status {};
  const bool is_first =
      fstat(descriptor_, &status) == 0 && !is_taken() && fchmod(descriptor_, kDecided) == 0;
  // What has vanished may have made room for another batch's file.
  if (is_first && status.st_nlink > 0) unlink(path_.c_str());
  unlock(descriptor_, kDecision);
  return is_first;
}

bool PendingFile::is_taken() const {
  struct stat status {};
  return fstat(descriptor_, &status) == 0 && (status.st_mode & 0777) == kDecided;
}

Guardian::Guardian(const Client& client, const PendingFile* pending, int seconds) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error{errno, std::generic_category()};
  const pid_t child = fork();
  if (child < 0) {
    const int reason = errno;
    close(ends[0]);
    close(ends[1]);
    throw std::system_error{reason, std::generic_category()};
  }
  if (child == 0) {
    close(ends[1]);
    // A child of nobody, so that a shell need not wait for it.
    const pid_t guardian = fork();
    if (guardian != 0) _exit(guardian < 0 ? 1 : 0);
    detach();
    try {
      guard(client, pending, seconds, ends[0]);
    } catch (...) {
      _exit(1);
    }
    _exit(0);
  }
  close(ends[0]);
  descriptor_ = ends[1];
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (status != 0) {
    close(descriptor_);
    throw std::system_error{EAGAIN, std::generic_category()};
  }
}

Guardian::~Guardian() {
  if (descriptor_ >= 0) close(descriptor_);
}

bool Guardian::tell(const Json& message) const {
  const std::string text = message.dump() + "\n";
  for (std::size_t sent = 0; sent < text.size();) {
    const ssize_t count = write(descriptor_, text.data() + sent, text.size() - sent);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    sent += static_cast<std::size_t>(count);
  }
  return true;
}

bool Guardian::expect(const Steps& undo_steps) const {
  return tell(json_of(undo_steps));
}

void Guardian::dismiss() const {
  std::ignore = tell("dismiss");
}

void Guardian::wait_for_confirmation() const {
  std::ignore = tell("wait");
}

Exit confirm(const Session& session) {
  const std::optional<PendingFile> pending =
      PendingFile::open_waiting(session.output.socket_path());
  const bool is_done = pending && pending->take();
  if (!is_done) session.output.complaint("confirm", "no batch waits for it");
  if (session.output.json()) session.output.document({{"confirmed", is_done}});
  return is_done ? Exit::kDone : Exit::kFindings;
}

}  // namespace gwconf::tool
