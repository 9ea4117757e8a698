#include "storage/file.h"

#include <cstring>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "core/heap.h"

namespace gwconf {
namespace {

int flags_of(const char* mode) {
  const bool reads_and_writes = std::strchr(mode, '+');
  const int access = reads_and_writes ? O_RDWR : O_WRONLY;
  switch (mode[0]) {
    case 'w':
      return access | O_CREAT | O_TRUNC;
    case 'a':
      return access | O_CREAT | O_APPEND;
    default:
      return reads_and_writes ? O_RDWR : O_RDONLY;
  }
}

/// The mode of a stream over a descriptor, which neither makes nor empties a file.
const char* stream_mode(int flags) {
  const bool appends = flags & O_APPEND;
  switch (flags & O_ACCMODE) {
    case O_RDONLY:
      return "r";
    case O_WRONLY:
      return appends ? "a" : "w";
    default:
      return appends ? "a+" : "r+";
  }
}

/// What may be opened to be written.
enum class Writable { kFiles, kFilesAndDevices };

/// Whether what was opened lies on a medium. The kernel's process files are switches that look like
/// files, and some of them ask for the right of the process itself instead of its files' user.
bool lies_on_a_medium(int fd) {
  struct statfs system;
  return fstatfs(fd, &system) == 0 && system.f_type != PROC_SUPER_MAGIC;
}

/// Whether what was opened serves as a file. Only then, and only a regular one, is emptied.
bool take(int fd, int flags, Writable writable) {
  struct stat file;
  if (fstat(fd, &file) != 0) return false;
  if (S_ISFIFO(file.st_mode) || S_ISSOCK(file.st_mode) || S_ISDIR(file.st_mode)) return false;
  const bool is_file = S_ISREG(file.st_mode);
  const bool files_only = writable == Writable::kFiles && (flags & O_ACCMODE) != O_RDONLY;
  if (files_only && !(is_file && lies_on_a_medium(fd))) return false;
  return !(flags & O_TRUNC) || !is_file || ftruncate(fd, 0) == 0;
}

FilePtr open_stream(const char* path, int flags, mode_t permissions, Writable writable) {
  const int fd = open(path, (flags & ~O_TRUNC) | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, permissions);
  if (fd < 0) return {};
  FilePtr stream{take(fd, flags, writable) ? fdopen(fd, stream_mode(flags)) : nullptr};
  if (!stream) close(fd);
  return stream;
}

}  // namespace

FilePtr open_regular(const char* path, const char* mode) {
  return open_stream(path, flags_of(mode), 0660, Writable::kFiles);
}

FilePtr open_regular(const char* path, int flags, mode_t permissions) {
  return open_stream(path, flags, permissions, Writable::kFilesAndDevices);
}

long CM_UTL_GetFileSize(std::FILE* stream) {
  const long size = std::fseek(stream, 0, SEEK_END) == 0 ? std::ftell(stream) : -1;
  std::rewind(stream);
  return size;
}

OwnedText CM_UTL_ReadFile(std::FILE* stream) {
  const long size = CM_UTL_GetFileSize(stream);
  // A folder opened as a stream tells the largest number there is.
  if (size < 0 || size > kWholeFileMax) return {};
  const auto length = static_cast<std::size_t>(size);
  HeapBytes text{static_cast<char*>(heap_allocate(length + 1))};
  if (!text) return {};
  const std::size_t got = std::fread(text.get(), 1, length, stream);
  if (std::ferror(stream)) return {};
  text[got] = '\0';
  return OwnedText::adopt(text.release());
}

}  // namespace gwconf
