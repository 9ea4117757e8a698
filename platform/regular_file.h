#pragma once

#include <cstddef>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace gwconf {

/// A file opened for reading. Only regular files are (the kernel's count as such), so that a pipe
/// or a device in the place of a file cannot make the daemon wait.
class RegularFile {
 public:
  explicit RegularFile(const char* path) : file_{open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK)} {
    struct stat kind = {};
    if (file_ < 0) return;
    if (fstat(file_, &kind) == 0 && S_ISREG(kind.st_mode)) {
      size_ = kind.st_size;
    } else {
      close(file_);
      file_ = -1;
    }
  }
  ~RegularFile() {
    if (file_ >= 0) close(file_);
  }
  RegularFile(const RegularFile&) = delete;
  RegularFile& operator=(const RegularFile&) = delete;

  [[nodiscard]] bool is_open() const { return file_ >= 0; }
  /// Its size when it was opened; 0 for the kernel's files.
  [[nodiscard]] off_t size() const { return size_; }

  /// Reads the next bytes, `room` at most. Returns their number; 0 at the end and on failure.
  [[nodiscard]] std::size_t read(void* bytes, std::size_t room) {
    const ssize_t count = file_ < 0 ? 0 : ::read(file_, bytes, room);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
  }

  /// Goes on reading at `offset`.
  [[nodiscard]] bool seek(off_t offset) { return lseek(file_, offset, SEEK_SET) == offset; }

 private:
  int file_;
  off_t size_ = 0;
};

}  // namespace gwconf
