#include "tools/live/watch.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <iostream>
#include <poll.h>
#include <string_view>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/base/interruption.h"
#include "tools/base/live_tree.h"

namespace gwconf::tool {
namespace {

constexpr std::array<const char*, 3> kWords = {"None", "Passive", "Active"};

/// Whether `path` is what the pattern names or lies below it.
[[nodiscard]] bool matches(std::string_view pattern, std::string_view path) {
  while (!pattern.empty()) {
    const std::size_t wanted = pattern.find('.');
    const std::size_t found = path.find('.');
    const std::string_view segment = pattern.substr(0, wanted);
    const bool is_instance =
        found != std::string_view::npos && instance_number(path.substr(0, found + 1)) > 0;
    if (!(segment == "*" && is_instance) && segment != path.substr(0, found)) return false;
    if (wanted == std::string_view::npos) return segment == "*" || found == std::string_view::npos;
    if (found == std::string_view::npos) return false;
    pattern.remove_prefix(wanted + 1);
    path.remove_prefix(found + 1);
  }
  return true;
}

[[nodiscard]] bool is_wanted(const std::vector<std::string>& patterns, const std::string& path) {
  for (const std::string& pattern : patterns)
    if (matches(pattern, path)) return true;
  return patterns.empty();
}

[[nodiscard]] std::string now() {
  timespec time{};
  clock_gettime(CLOCK_REALTIME, &time);
  tm parts{};
  localtime_r(&time.tv_sec, &parts);
  std::array<char, 16> text{};
  std::strftime(text.data(), text.size(), "%H:%M:%S", &parts);
  return text.data();
}

/// The daemon's socket: a daemon that ends takes it away, and the next one puts another in the
/// place of what a crash left behind. Either way nobody knows of a listener any more.
class SocketFile {
 public:
  explicit SocketFile(const std::string& path)
      : file_{open(path.c_str(), O_PATH | O_CLOEXEC)},
        events_{inotify_init1(IN_NONBLOCK | IN_CLOEXEC)} {
    inotify_add_watch(events_, path.c_str(), IN_ATTRIB);
  }
  ~SocketFile() {
    for (const int descriptor : {file_, events_})
      if (descriptor >= 0) close(descriptor);
  }
  SocketFile(const SocketFile&) = delete;
  SocketFile& operator=(const SocketFile&) = delete;

  /// Polls readable when is_gone() may have changed.
  [[nodiscard]] int fd() const { return events_; }

  [[nodiscard]] bool is_gone() const {
    std::array<char, 1024> dropped;
    while (read(events_, dropped.data(), dropped.size()) > 0) {
    }
    struct stat status {};
    return fstat(file_, &status) == 0 && status.st_nlink == 0;
  }

 private:
  int file_;
  int events_;
};

/// One line per change; JSON too, so that a reader need not wait for the end.
void tell(const Session& session, const Change& change, const Result<std::string>& value) {
  const char* word = kWords[static_cast<std::size_t>(change.notification)];
  const Output& output = session.output;
  if (output.json()) {
    Json row{{"time", now()}, {"path", change.parameter}, {"notification", word}};
    if (value)
      row["value"] = value.value;
    else
      row.update(json_of(value.code));
    output.line(row.dump(-1, ' ', false, Json::error_handler_t::replace));
  } else {
    output.line(output.screen().coloured(Screen::Colour::kFaint, now()) + " " +
                output.shown(change.parameter) + " " + word + " " +
                output.screen().coloured(Screen::Colour::kValue, output.shown(value.value)));
  }
  std::cout.flush();
}

}  // namespace

Exit watch(const Session& session, const std::vector<std::string>& paths) {
  for (const std::string& path : paths)
    if (!is_pattern(path))
      if (const int code = session.client.get_attributes(path).code; code != GWCONF_OK)
        return path_failure(session, "watch", path, code);
  const Interruption interruption;
  const SocketFile socket{session.output.socket_path()};
  Listener listener{session.client};
  if (listener.code() != GWCONF_OK) return session.output.failure("watch", listener.code());
  session.output.complaint(
      "watch",
      "listening until Ctrl-C. The daemon has one listener at a time: one that was there before "
      "is told nothing any more, also afterwards, until it registers again, and so is this one "
      "when another takes over");

  while (!interruption.happened()) {
    const Result<std::optional<Change>> next = listener.next();
    if (!next && next.code != GWCONF_E_PROTOCOL) return session.output.failure("watch", next.code);
    if (next.value) {
      if (!is_wanted(paths, next.value->parameter)) continue;
      const Result<std::string> value = session.client.get_value(next.value->parameter);
      tell(session, *next.value, value);
      if (!value) {
        const Exit exit = path_failure(session, "watch", next.value->parameter, value.code);
        if (exit == Exit::kUnreachable) return exit;
      }
      if (!std::cout) break;
      continue;
    }
    if (socket.is_gone()) {
      session.output.complaint("watch", "the daemon has ended; the next one knows no listener");
      return Exit::kUnreachable;
    }
    std::array<pollfd, 4> ends = {{{listener.fd(), POLLIN, 0},
                                   {socket.fd(), POLLIN, 0},
                                   {interruption.fd(), POLLIN, 0},
                                   // Nobody reads what is printed: the end of a pipe.
                                   {STDOUT_FILENO, 0, 0}}};
    if (poll(ends.data(), ends.size(), -1) < 0 && errno != EINTR)
      return session.output.failure("watch", GWCONF_E_SYSTEM);
    if (ends[2].revents != 0 || (ends[3].revents & (POLLERR | POLLHUP)) != 0) break;
  }
  session.output.complaint("watch",
                           "stopped; nobody listens now, unless another took over meanwhile");
  return Exit::kDone;
}

}  // namespace gwconf::tool
