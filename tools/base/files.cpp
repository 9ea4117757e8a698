#include "tools/base/files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "storage/file.h"
#include "tools/base/failure.h"

namespace gwconf::tool {
namespace {

[[nodiscard]] std::string reason() {
  return std::strerror(errno);
}

/// Why the daemon's way of opening files took nothing: the system's reason, or what stands there.
[[nodiscard]] std::string why_not_opened(const std::string& path) {
  const int error = errno;
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) return "is a folder";
    if (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode)) return "is not a file";
  }
  return std::strerror(error);
}

[[nodiscard]] bool is_no_file(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

void write_all(std::FILE* file, const std::string& path, std::string_view content) {
  if (std::fwrite(content.data(), 1, content.size(), file) != content.size() ||
      std::fflush(file) != 0)
    throw wrong_file(path, reason());
}

}  // namespace

FileContent read_file(const std::string& path, std::size_t most) {
  const FilePtr file = open_regular(path.c_str(), "r");
  if (!file) throw wrong_file(path, why_not_opened(path));
  FileContent content;
  char piece[16384];
  while (content.bytes.size() < most) {
    const std::size_t wanted = std::min(sizeof piece, most - content.bytes.size());
    const std::size_t got = std::fread(piece, 1, wanted, file.get());
    content.bytes.append(piece, got);
    if (std::ferror(file.get())) throw wrong_file(path, reason());
    if (got < wanted) break;
  }
  content.size = content.bytes.size();
  struct stat status {};
  if (fstat(fileno(file.get()), &status) == 0 && S_ISREG(status.st_mode))
    content.size =
        std::max<std::uint64_t>(content.size, static_cast<std::uint64_t>(status.st_size));
  return content;
}

NewFile::NewFile(const std::string& path, Privacy privacy) : asked_{path} {
  if (is_no_file(path)) throw wrong_file(path, "is not a file");
  std::error_code error;
  target_ = std::filesystem::weakly_canonical(path, error).string();
  if (error) target_ = path;
  path_ = target_ + ".new." + std::to_string(getpid());
  const int fd = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                      privacy == Privacy::kOwner ? 0600 : 0666);
  if (fd < 0) throw wrong_file(path, reason());
  struct stat status {};
  if (stat(target_.c_str(), &status) == 0) static_cast<void>(fchmod(fd, status.st_mode & 0777));
  close(fd);
}

NewFile::~NewFile() {
  if (!kept_) unlink(path_.c_str());
}

void NewFile::keep() {
  const int fd = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  const bool on_medium = fd >= 0 && fsync(fd) == 0;
  if (fd >= 0) close(fd);
  if (!on_medium || rename(path_.c_str(), target_.c_str()) != 0) throw wrong_file(asked_, reason());
  kept_ = true;
}

void write_file(const std::string& path, std::string_view content, Privacy privacy) {
  if (is_no_file(path)) {
    const FilePtr device = open_regular(path.c_str(), O_WRONLY);
    if (!device) throw wrong_file(path, why_not_opened(path));
    write_all(device.get(), path, content);
    return;
  }
  NewFile file{path, privacy};
  {
    const FilePtr stream = open_regular(file.path().c_str(), O_WRONLY);
    if (!stream) throw wrong_file(path, reason());
    write_all(stream.get(), path, content);
  }
  file.keep();
}

}  // namespace gwconf::tool
