#include "tools/apply/pending_file.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <sys/stat.h>
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

}  // namespace gwconf::tool
