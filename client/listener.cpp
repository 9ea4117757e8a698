#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "client/buffer.h"
#include "client/descriptor.h"
#include "client/notification.h"
#include "gwconf/client.h"

using gwconf::client::Descriptor;
using gwconf::client::kNotificationWords;

namespace {

/// What the daemon does to a process that it means to wake: nothing, unless the program has a
/// handler for it. It can go on after our end, to whoever has our process id by then.
constexpr int kHarmlessSignal = SIGURG;

/// The lock that the daemon's lockf takes while it appends a line.
class FileLock {
 public:
  explicit FileLock(int file) noexcept : file_{file} {
    do
      held_ = set(F_WRLCK) == 0;
    while (!held_ && errno == EINTR);
  }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  ~FileLock() {
    if (held_) set(F_UNLCK);
  }
  explicit operator bool() const noexcept { return held_; }

 private:
  int set(short kind) noexcept {
    struct flock whole {};
    whole.l_type = kind;
    whole.l_whence = SEEK_SET;
    return ::fcntl(file_, F_SETLKW, &whole);
  }

  int file_;
  bool held_ = false;
};

/// Splits "path,word" in place. False when it is not that.
[[nodiscard]] bool parse_change(char* line, gwconf_change* change) {
  char* comma = std::strrchr(line, ',');
  if (!comma || comma == line) return false;
  for (std::size_t i = 0; i < kNotificationWords.size(); ++i) {
    if (std::strcmp(comma + 1, kNotificationWords[i]) != 0) continue;
    *comma = '\0';
    change->parameter = line;
    change->notification = static_cast<gwconf_notification>(i);
    return true;
  }
  return false;
}

}  // namespace

struct gwconf_listener {
  ~gwconf_listener() {
    if (*folder == '\0' || owner != ::getpid()) return;
    ::unlink(path);
    ::rmdir(folder);
  }

  /// Makes the folder and the file in it, and watches the file. GWCONF_E_SYSTEM.
  [[nodiscard]] int prepare();

  /// Takes the next complete line out of the buffered bytes; none when there is no such line.
  [[nodiscard]] char* take_line();

  /// Buffers bytes that the daemon has appended, and empties the file when it has given all.
  /// `got` tells how many came. GWCONF_E_PROTOCOL: a line longer than any change was dropped;
  /// GWCONF_E_SYSTEM.
  [[nodiscard]] int fetch(std::size_t* got);

  /// Lets the descriptor wait for what happens from now on.
  void drain_events();

  pid_t owner = ::getpid();
  Descriptor file;
  Descriptor events;
  char folder[512] = "";
  char path[sizeof folder + 16] = "";
  off_t offset = 0;  ///< bytes of the file that are buffered or delivered
  std::size_t begin = 0;
  std::size_t end = 0;
  char bytes[2 * GWCONF_TEXT_MAX];
};

int gwconf_listener::prepare() {
  // The daemon opens the file by its path, so a relative folder would not do.
  const char* base = std::getenv("TMPDIR");
  if (!base || *base != '/') base = "/tmp";
  constexpr char kTemplate[] = "/gwconf-XXXXXX";
  if (std::strlen(base) + sizeof kTemplate > sizeof folder) {
    errno = ENAMETOOLONG;
    return GWCONF_E_SYSTEM;
  }
  char made[sizeof folder];
  std::snprintf(made, sizeof made, "%s%s", base, kTemplate);
  if (!::mkdtemp(made)) return GWCONF_E_SYSTEM;
  std::memcpy(folder, made, sizeof folder);
  std::snprintf(path, sizeof path, "%s/changes", folder);

  file.reset(::open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!file) return GWCONF_E_SYSTEM;
  events.reset(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (!events) return GWCONF_E_SYSTEM;
  // The daemon opens and closes the file for each line. Our own descriptor stays open, so that
  // emptying the file wakes nobody.
  return ::inotify_add_watch(events.get(), path, IN_CLOSE_WRITE) < 0 ? GWCONF_E_SYSTEM : GWCONF_OK;
}

char* gwconf_listener::take_line() {
  void* found = begin < end ? std::memchr(bytes + begin, '\n', end - begin) : nullptr;
  if (!found) return nullptr;
  char* line = bytes + begin;
  char* line_end = static_cast<char*>(found);
  *line_end = '\0';
  begin = static_cast<std::size_t>(line_end + 1 - bytes);
  return line;
}

int gwconf_listener::fetch(std::size_t* got) {
  *got = 0;
  std::memmove(bytes, bytes + begin, end - begin);
  end -= begin;
  begin = 0;
  if (end == sizeof bytes) {
    end = 0;
    return GWCONF_E_PROTOCOL;
  }

  const FileLock lock{file.get()};
  struct stat status {};
  if (!lock || ::fstat(file.get(), &status) != 0) return GWCONF_E_SYSTEM;
  if (status.st_size < offset) {
    // Emptied by a registration of the same file: what was begun has no end any more.
    offset = 0;
    end = 0;
  }
  ssize_t count = 0;
  do
    count = ::pread(file.get(), bytes + end, sizeof bytes - end, offset);
  while (count < 0 && errno == EINTR);
  if (count < 0) return GWCONF_E_SYSTEM;
  *got = static_cast<std::size_t>(count);
  end += *got;
  offset += count;
  if (offset > 0 && offset >= status.st_size && ::ftruncate(file.get(), 0) == 0) offset = 0;
  return GWCONF_OK;
}

void gwconf_listener::drain_events() {
  char dropped[1024];
  while (::read(events.get(), dropped, sizeof dropped) > 0) {
  }
}

int gwconf_listener_open(const gwconf_client* client, int signal, gwconf_listener** listener) {
  if (!listener) return GWCONF_E_ARGUMENT;
  *listener = nullptr;
  if (!client || signal < 0) return GWCONF_E_ARGUMENT;
  auto made = gwconf::client::make<gwconf_listener>();
  if (!made) return GWCONF_E_MEMORY;
  if (const int code = made->prepare()) return code;
  if (const int code =
          gwconf_register(client, made->owner, signal == 0 ? kHarmlessSignal : signal, made->path))
    return code;
  *listener = made.release();
  return GWCONF_OK;
}

int gwconf_listener_fd(const gwconf_listener* listener) {
  return listener ? listener->events.get() : -1;
}

int gwconf_listener_next(gwconf_listener* listener, gwconf_change* change) {
  if (!change) return GWCONF_E_ARGUMENT;
  *change = {nullptr, GWCONF_NOTIFICATION_NONE};
  if (!listener) return GWCONF_E_ARGUMENT;
  // The events are taken only once the file has nothing more, and the file is looked at once more
  // after that: the descriptor stays readable as long as there is a change to deliver, and a line
  // that comes in between is not missed.
  for (bool drained = false;;) {
    if (char* line = listener->take_line())
      return parse_change(line, change) ? GWCONF_OK : GWCONF_E_PROTOCOL;
    std::size_t got = 0;
    if (const int code = listener->fetch(&got)) return code;
    if (got > 0) continue;
    if (drained) return GWCONF_OK;
    listener->drain_events();
    drained = true;
  }
}

void gwconf_listener_close(gwconf_listener* listener) {
  const gwconf::client::Owned<gwconf_listener> owned{listener};
}
