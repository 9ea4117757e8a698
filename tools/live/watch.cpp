#include <array>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <iostream>
#include <optional>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "client/notification.h"
#include "tools/base/interruption.h"
#include "tools/live/pattern.h"
#include "tools/live/verbs.h"

namespace gwconf::tool {
namespace {

struct WatchOptions {
  std::vector<std::string> paths;  ///< objects, parameters, "*" for any instance; none for all
};

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

/// Prints changes until Ctrl-C, the end of the daemon, or the end of the pipe that it prints to.
class Watch {
 public:
  /// Takes the place of the daemon's one listener. Throws Failure when it cannot.
  Watch(const Session& session, const std::vector<std::string>& paths)
      : session_{session},
        paths_{paths},
        socket_{session.output.socket_path()},
        listener_{session.client} {
    if (listener_.code() != GWCONF_OK) throw failure(listener_.code());
  }

  /// Returns when the user ends it. Throws Failure when the daemon does.
  void run() {
    while (!interruption_.happened()) {
      const Result<std::optional<Change>> next = listener_.next();
      if (!next && next.code != GWCONF_E_PROTOCOL) throw failure(next.code);
      if (next.value) {
        if (!is_wanted(paths_, next.value->parameter)) continue;
        show(*next.value);
        if (!std::cout) return;
        continue;
      }
      if (socket_.is_gone())
        throw Failure{Exit::kUnreachable,
                      "watch: the daemon has ended; the next one knows no listener"};
      if (!wait()) return;
    }
  }

 private:
  [[nodiscard]] Failure failure(int code) const {
    return {Output::exit_of(code), "watch: " + session_.output.reason_of(code)};
  }

  /// A value that cannot be read is reported; only a daemon that does not answer ends the watch.
  void show(const Change& change) const {
    const Result<std::string> value = session_.client.get_value(change.parameter);
    print(change, value);
    if (value) return;
    const Failure failure = path_failure(session_, "watch", change.parameter, value.code);
    if (failure.exit() == Exit::kUnreachable) throw failure;
    session_.output.failure(failure);
  }

  /// One line per change; JSON too, so that a reader need not wait for the end.
  void print(const Change& change, const Result<std::string>& value) const {
    const Output& output = session_.output;
    const char* word = client::kNotificationWords[static_cast<std::size_t>(change.notification)];
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

  /// Waits for something to happen. False when the user has ended the watch.
  [[nodiscard]] bool wait() const {
    std::array<pollfd, 4> ends = {{{listener_.fd(), POLLIN, 0},
                                   {socket_.fd(), POLLIN, 0},
                                   {interruption_.fd(), POLLIN, 0},
                                   // Nobody reads what is printed: the end of a pipe.
                                   {STDOUT_FILENO, 0, 0}}};
    if (poll(ends.data(), ends.size(), -1) < 0 && errno != EINTR) throw failure(GWCONF_E_SYSTEM);
    return ends[2].revents == 0 && (ends[3].revents & (POLLERR | POLLHUP)) == 0;
  }

  const Session& session_;
  const std::vector<std::string>& paths_;
  const Interruption interruption_;
  const SocketFile socket_;
  Listener listener_;
};

/// Nothing tells when another listener takes the place of this one, and the one before cannot be
/// put back.
[[nodiscard]] Exit watch(const Session& session, const WatchOptions& options) {
  for (const std::string& path : options.paths)
    if (!is_pattern(path))
      if (const int code = session.client.get_attributes(path).code; code != GWCONF_OK)
        throw path_failure(session, "watch", path, code);
  Watch watch{session, options.paths};
  session.output.complaint(
      "watch",
      "listening until Ctrl-C. The daemon has one listener at a time: one that was there before "
      "is told nothing any more, also afterwards, until it registers again, and so is this one "
      "when another takes over");
  watch.run();
  session.output.complaint("watch",
                           "stopped; nobody listens now, unless another took over meanwhile");
  return Exit::kDone;
}

}  // namespace

void add_watch(Registry& registry) {
  const auto [parser, options] =
      registry.add({"watch", "Print changes of values as they happen, until Ctrl-C",
                    "watch InternetGatewayDevice.Time. "
                    "'InternetGatewayDevice.LANDevice.*.LANHostConfigManagement.'"},
                   watch);
  parser.add_option("PATH", options.paths, "Only these (objects: all below)");
}

}  // namespace gwconf::tool
