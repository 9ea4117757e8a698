#include <cerrno>
#include <cstring>
#include <optional>
#include <tuple>

#include "tools/apply/batch_file.h"
#include "tools/apply/forecast.h"
#include "tools/apply/guardian.h"
#include "tools/apply/pending_file.h"
#include "tools/apply/progress_bar.h"
#include "tools/apply/step.h"
#include "tools/apply/verbs.h"
#include "tools/base/interruption.h"

namespace gwconf::tool {
namespace {

struct ApplyOptions {
  std::string file;         ///< "-" for standard input
  bool is_dry = false;      ///< check only
  int confirm_seconds = 0;  ///< undo after them unless confirmed; 0 for never
};

void report(const Session& session, const std::vector<BatchLine>& lines, const std::string& state) {
  if (session.output.json()) {
    Json rows = Json::array();
    for (const BatchLine& line : lines)
      rows.push_back({{"place", line.place}, {"change", name_of(line.step)}});
    session.output.document({{"state", state}, {"changes", rows}});
    return;
  }
  for (const BatchLine& line : lines)
    if (line.step.kind == Step::Kind::kAdd && state != "undone")
      session.output.line(session.output.shown(line.step.path));
}

/// A batch whose lines were checked, on its way to the daemon, with a guardian beside who takes it
/// back should this process die.
class Sending {
 public:
  /// Throws Failure (kRefused) when there can be no guardian.
  Sending(const Session& session, const std::string& file, const std::vector<BatchLine>& lines,
          const PendingFile* pending, int seconds)
      : session_{session},
        subject_{"apply " + file},
        lines_{lines},
        pending_{pending},
        seconds_{seconds},
        guardian_{session.client, pending, seconds} {}

  /// Sends all lines, or takes those back that were sent, and reports what became of them.
  [[nodiscard]] Exit run() {
    const Exit exit = send();
    if (exit == Exit::kUnreachable) {
      // A daemon that is gone may come back: waiting for it is the guardian's part.
      session_.output.complaint(
          subject_, "undone in the background, should the daemon come back in a minute");
      report(session_, lines_, "unreachable");
    } else if (exit != Exit::kDone) {
      const std::string state = take_back();
      if (pending_) std::ignore = pending_->take();
      report(session_, lines_, state);
    } else if (pending_) {
      await_confirmation();
      report(session_, lines_, "waiting");
    } else {
      guardian_.dismiss();
      report(session_, lines_, "done");
    }
    return exit;
  }

 private:
  /// Sends line after line; the first that fails is reported and ends it.
  [[nodiscard]] Exit send() {
    const ProgressBar bar{lines_.size()};
    std::size_t done = 0;
    try {
      for (const BatchLine& line : lines_) {
        send(line);
        bar.show(++done);
      }
    } catch (const Failure& failure) {
      return session_.output.failure(failure);
    }
    return Exit::kDone;
  }

  void send(const BatchLine& line) {
    const std::string place = "apply " + line.place + ": ";
    if (interruption_.happened())
      throw Failure{Exit::kRefused, place + "interrupted before this line"};
    const Result<Steps> undo_steps = undo_of(session_.client, line.step);
    int code = undo_steps.code;
    if (code == GWCONF_OK) {
      if (!guardian_.expect(undo_steps.value))
        throw Failure{Exit::kRefused, place + "the process that could undo it is gone"};
      back_.insert(back_.begin(), undo_steps.value.begin(), undo_steps.value.end());
      code = perform(session_.client, line.step);
    }
    // An instance that somebody else added first is not ours to delete.
    if (code == GWCONF_EXISTS && line.step.kind == Step::Kind::kAdd)
      back_.erase(back_.begin(),
                  back_.begin() + static_cast<std::ptrdiff_t>(undo_steps.value.size()));
    if (code != GWCONF_OK)
      throw Failure{Output::exit_of(code),
                    place + name_of(line.step) + ": " + session_.output.reason_of(code)};
  }

  /// Takes back what was sent. Returns what became of it.
  [[nodiscard]] std::string take_back() const {
    const std::vector<std::string> failures = undo(session_.client, back_);
    guardian_.dismiss();
    for (const std::string& failure : failures)
      session_.output.complaint(subject_ + ": not undone", failure);
    session_.output.complaint(subject_, failures.empty() ? "nothing is changed" : "partly undone");
    return failures.empty() ? "undone" : "partly undone";
  }

  /// Leaves a batch that is done to the confirmation that it waits for.
  void await_confirmation() const {
    Json undone = Json::array();
    for (const Step& step : back_)
      undone.push_back(name_of(step));
    pending_->write(
        {{"socket", session_.output.socket_path()}, {"seconds", seconds_}, {"undo", undone}});
    guardian_.wait_for_confirmation();
    session_.output.complaint(subject_, "undone in " + std::to_string(seconds_) +
                                            " seconds unless `gwctl confirm` comes");
  }

  const Session& session_;
  const std::string subject_;
  const std::vector<BatchLine>& lines_;
  const PendingFile* pending_;  ///< null for a batch that needs no confirmation
  const int seconds_;
  const Interruption interruption_;
  const Guardian guardian_;
  Steps back_;  ///< takes back what was sent, the latest first
};

/// The file of a batch that has to be confirmed.
[[nodiscard]] PendingFile pending_file(const Session& session, const std::string& file) {
  std::optional<PendingFile> pending = PendingFile::create(session.output.socket_path());
  if (pending) return *std::move(pending);
  const std::string reason = errno == EEXIST
                                 ? "another batch waits for its confirmation"
                                 : std::string{"no file to confirm by: "} + std::strerror(errno);
  throw Failure{Exit::kWrongUse, "apply " + file + ": " + reason};
}

[[nodiscard]] Exit send(const Session& session, const ApplyOptions& options,
                        const std::vector<BatchLine>& lines) {
  std::optional<PendingFile> pending;
  if (options.confirm_seconds > 0) pending = pending_file(session, options.file);
  try {
    return Sending{session, options.file, lines, pending ? &*pending : nullptr,
                   options.confirm_seconds}
        .run();
  } catch (const Failure& failure) {
    if (pending) std::ignore = pending->take();
    throw Failure{failure.exit(), "apply " + options.file + ": " + failure.what()};
  }
}

/// Checks all lines and chooses their numbers. Reports every line that cannot be done.
[[nodiscard]] Exit check(const Session& session, std::vector<BatchLine>* lines) {
  Exit exit = Exit::kDone;
  Forecast forecast{session};
  for (BatchLine& line : *lines) {
    try {
      forecast.check(&line);
    } catch (const Failure& failure) {
      exit = worse(exit, session.output.failure(failure));
      if (exit == Exit::kUnreachable) break;
    }
  }
  return exit;
}

/// Sends the changes of a batch file. All are checked first; when one fails, or this process ends,
/// those before it are taken back in reverse.
[[nodiscard]] Exit apply(const Session& session, const ApplyOptions& options) {
  std::vector<BatchLine> lines = read_batch(session.output, options.file);
  const Exit exit = check(session, &lines);
  if (exit == Exit::kUnreachable) return exit;
  if (exit != Exit::kDone) {
    session.output.complaint("apply " + options.file, "nothing was sent");
    if (session.output.json()) report(session, lines, "refused");
    return exit;
  }
  if (!options.is_dry && !lines.empty()) return send(session, options, lines);
  report(session, lines, options.is_dry ? "checked" : "done");
  return exit;
}

}  // namespace

void add_apply(Registry& registry) {
  const auto [parser, options] = registry.add(
      {"apply", "Send a batch of changes, all or none",
       "apply wan.batch --confirm 60\n\n"
       "Lines are `set PATH=VALUE`, `add TABLE [NUMBER]`, `del INSTANCE`, and # comments.\n"
       "All are checked before the first is sent, and undone in reverse order when one\n"
       "fails or gwctl is killed. Undoing restores stored values, attribute bits and\n"
       "virtual instances. Of a deleted instance it cannot bring back what was disabled\n"
       "inside, nor limits, types or getters that differ from the table's template. It\n"
       "sets values as any client does: listeners hear of it."},
      apply);
  parser.add_option("FILE", options.file, "Batch file, - for standard input")->required();
  parser.add_flag("--dry-run", options.is_dry, "Check only");
  parser
      .add_option("--confirm", options.confirm_seconds,
                  "Undo after so many seconds unless `gwctl confirm` comes first")
      ->check(CLI::Range(1, 86400));
}

}  // namespace gwconf::tool
