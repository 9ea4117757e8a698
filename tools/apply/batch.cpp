#include "tools/apply/batch.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <system_error>
#include <tuple>
#include <unistd.h>

#include "tools/apply/guardian.h"
#include "tools/apply/step.h"
#include "tools/base/interruption.h"
#include "tools/base/live_tree.h"
#include "tools/live/instances.h"
#include "tools/live/values.h"

namespace gwconf::tool {
namespace {

using Kind = Step::Kind;

constexpr std::size_t kLargestFile = 16U << 20;
/// From so many lines on there is a progress bar.
constexpr std::size_t kLong = 20;

struct Line {
  std::string place;  ///< "FILE:LINE"
  Step step;
  bool chooses_number = false;
};

/// The whole file, or nothing with a complaint.
[[nodiscard]] std::optional<std::string> read_batch(const Session& session,
                                                    const std::string& file) {
  std::string text;
  errno = 0;
  std::ifstream stream;
  if (file != "-") stream.open(file, std::ios::binary);
  std::istream& source = file == "-" ? std::cin : stream;
  std::string block(65536, '\0');
  while (source && text.size() <= kLargestFile) {
    source.read(block.data(), static_cast<std::streamsize>(block.size()));
    text.append(block, 0, static_cast<std::size_t>(source.gcount()));
  }
  std::string objection;
  if (source.bad() || !source.eof())
    objection = errno != 0 ? std::strerror(errno) : "cannot be read";
  if (file == "-" && std::ferror(stdin) != 0) objection = std::strerror(errno);
  if (text.size() > kLargestFile) objection = "longer than 16 MiB";
  if (text.find('\0') != std::string::npos) objection = "binary, no batch file";
  if (objection.empty()) return text;
  session.output.complaint("apply " + file, objection);
  return {};
}

[[nodiscard]] std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

/// The first word of a text, which loses it.
[[nodiscard]] std::string take_word(std::string_view& text) {
  text = trimmed(text);
  const std::size_t end = std::min(text.find_first_of(" \t"), text.size());
  const std::string word{text.substr(0, end)};
  text = trimmed(text.substr(end));
  return word;
}

/// What a line asks for. Nothing, with the reason in `objection`, for one that is none.
[[nodiscard]] std::optional<Line> parse_line(std::string_view text, std::string& objection) {
  Line line;
  // A value keeps its blanks, but not the end of a line of another system.
  if (text.ends_with('\r')) text.remove_suffix(1);
  const std::string_view start = text.substr(text.find_first_not_of(" \t"));
  std::string_view rest = text;
  const std::string verb = take_word(rest);
  if (verb == "set") {
    std::string_view assignment = start.substr(verb.size());
    assignment.remove_prefix(std::min(assignment.find_first_not_of(" \t"), assignment.size()));
    const std::size_t equals = assignment.find('=');
    if (equals == std::string_view::npos || equals == 0) {
      objection = "not of the form set PATH=VALUE";
      return {};
    }
    line.step = {.kind = Kind::kSet,
                 .path = std::string{trimmed(assignment.substr(0, equals))},
                 .value = std::string{assignment.substr(equals + 1)}};
    return line;
  }
  const std::string path = take_word(rest);
  const std::string number = take_word(rest);
  const bool is_add = verb == "add";
  if (!is_add && verb != "del") {
    objection = "neither set, add nor del";
    return {};
  }
  const bool is_number = number.size() <= 5 && instance_number(number + ".") > 0;
  if (path.empty() || !rest.empty() || (is_add ? !number.empty() && !is_number : !number.empty())) {
    objection = is_add ? "not of the form add TABLE [NUMBER]" : "not of the form del INSTANCE";
    return {};
  }
  line.chooses_number = is_add && number.empty();
  line.step = {.kind = is_add ? Kind::kAdd : Kind::kDelete, .path = as_object(path)};
  if (is_add && is_number) line.step.path += number + ".";
  return line;
}

[[nodiscard]] std::optional<std::vector<Line>> parse(const Session& session,
                                                     const std::string& file,
                                                     const std::string& text) {
  std::vector<Line> lines;
  bool is_good = true;
  std::istringstream stream{text};
  std::string row;
  for (std::size_t number = 1; std::getline(stream, row); ++number) {
    const std::string_view content = trimmed(row);
    if (content.empty() || content.starts_with('#')) continue;
    const std::string place = file + ":" + std::to_string(number);
    std::string objection;
    std::optional<Line> line = parse_line(row, objection);
    if (!line) {
      session.output.complaint(place, objection);
      is_good = false;
      continue;
    }
    line->place = place;
    lines.push_back(*std::move(line));
  }
  if (!is_good) return {};
  return lines;
}

/// The tree as it will be while the batch runs: what it has now, and what the lines before made of
/// it.
class Forecast {
 public:
  explicit Forecast(const Session& session) : session_{session} {}

  /// Checks a line, chooses its number, and takes it as done.
  [[nodiscard]] Exit check(Line& line) {
    switch (line.step.kind) {
      case Kind::kSet:
        return check_set(line);
      case Kind::kAdd:
        return check_add(line);
      default:
        return check_delete(line);
    }
  }

 private:
  [[nodiscard]] static bool lies_in(const std::string& path, const std::set<std::string>& objects) {
    for (std::size_t dot = path.find('.'); dot != std::string::npos; dot = path.find('.', dot + 1))
      if (objects.contains(path.substr(0, dot + 1))) return true;
    return false;
  }

  /// The path that has the rules of one that may be yet to come: its place in the templates.
  [[nodiscard]] std::string model_of(const std::string& path) const {
    if (!lies_in(path, added_)) return path;
    std::string model;
    for (std::size_t begin = 0; begin < path.size();) {
      const std::size_t end = std::min(path.find('.', begin), path.size() - 1) + 1;
      const std::string segment = path.substr(begin, end - begin);
      model += instance_number(segment) > 0 ? "0." : segment;
      begin = end;
    }
    return model;
  }

  [[nodiscard]] Exit find_fault(const Line& line, const std::string& text) const {
    session_.output.complaint(line.place, name_of(line.step) + ": " + text);
    return Exit::kFindings;
  }

  [[nodiscard]] Exit refuse(const Line& line, int code) const {
    return path_failure(session_, line.place + ": " + name_of(line.step).substr(0, 3),
                        line.step.path, code);
  }

  [[nodiscard]] Exit check_set(const Line& line) {
    const std::string& path = line.step.path;
    if (lies_in(path, removed_)) return find_fault(line, "deleted by a line before");
    int code = GWCONF_OK;
    const std::optional<std::string> found =
        objection_to(session_.client, model_of(path), line.step.value, code);
    if (code != GWCONF_OK) return refuse(line, code);
    return found ? find_fault(line, *found) : Exit::kDone;
  }

  /// The numbers of a table; null, with the end in `exit`, when it is none.
  [[nodiscard]] std::vector<unsigned>* numbers_of(const Line& line, const std::string& table,
                                                  Exit& exit) {
    const auto known = numbers_.find(table);
    if (known != numbers_.end()) return &known->second;
    const bool is_new = lies_in(table, added_);
    int code = GWCONF_OK;
    std::vector<unsigned> numbers;
    if (is_new) {
      code = session_.client.get_attributes(model_of(table)).code;
    } else {
      Result<std::vector<unsigned>> taken = taken_numbers(session_.client, table);
      code = taken.code;
      numbers = std::move(taken.value);
    }
    if (code != GWCONF_OK) {
      exit =
          path_failure(session_, line.place + ": " + name_of(line.step).substr(0, 3), table, code);
      return nullptr;
    }
    return &numbers_.emplace(table, std::move(numbers)).first->second;
  }

  [[nodiscard]] Exit check_add(Line& line) {
    std::string& path = line.step.path;
    const std::string table = line.chooses_number ? path : split(path).parent;
    if (lies_in(table, removed_)) return find_fault(line, "deleted by a line before");
    Exit exit = Exit::kDone;
    std::vector<unsigned>* numbers = numbers_of(line, table, exit);
    if (!numbers) return exit;
    if (line.chooses_number) path += std::to_string(next_free(*numbers)) + ".";
    const unsigned number = instance_number(split(path).segment);
    if (std::find(numbers->begin(), numbers->end(), number) != numbers->end())
      return find_fault(line, "exists already");
    added_.insert(path);
    const Result<unsigned> model = session_.client.get_attributes(model_of(path));
    if (model.code == GWCONF_NOT_FOUND) {
      added_.erase(path);
      return find_fault(line, table + " is no table: it has no template");
    }
    if (!model) return refuse(line, model.code);
    removed_.erase(path);
    numbers->insert(std::upper_bound(numbers->begin(), numbers->end(), number), number);
    return Exit::kDone;
  }

  [[nodiscard]] Exit check_delete(const Line& line) {
    const std::string& path = line.step.path;
    const SplitPath place = split(path);
    const unsigned number = instance_number(place.segment);
    if (number == 0) return find_fault(line, "only instances can be brought back");
    if (lies_in(path, removed_)) return find_fault(line, "deleted by a line before");
    Exit exit = Exit::kDone;
    std::vector<unsigned>* numbers = numbers_of(line, place.parent, exit);
    if (!numbers) return exit;
    const auto found = std::find(numbers->begin(), numbers->end(), number);
    if (found == numbers->end()) return refuse(line, GWCONF_NOT_FOUND);
    numbers->erase(found);
    std::erase_if(numbers_, [&](const auto& entry) { return entry.first.starts_with(path); });
    std::erase_if(added_, [&](const std::string& object) { return object.starts_with(path); });
    removed_.insert(path);
    return Exit::kDone;
  }

  const Session& session_;
  std::set<std::string> added_;
  std::set<std::string> removed_;
  std::map<std::string, std::vector<unsigned>> numbers_;
};

/// "[####    ] 12/50" on a terminal that shows standard error, when there is much to do.
class ProgressBar {
 public:
  explicit ProgressBar(std::size_t total) : screen_{Screen::of(STDERR_FILENO)}, total_{total} {}

  ~ProgressBar() {
    if (is_shown()) std::cerr << "\r\033[K" << std::flush;
  }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void show(std::size_t done) const {
    if (!is_shown()) return;
    const std::string count = std::to_string(done) + "/" + std::to_string(total_);
    std::string bar;
    if (screen_.width > count.size() + 6) {
      const std::size_t width = std::min<std::size_t>(screen_.width - count.size() - 4, 40);
      bar = std::string(width * done / total_, '#');
      bar = "[" + bar + std::string(width - bar.size(), ' ') + "] ";
    }
    std::cerr << '\r' << bar << count << std::flush;
  }

 private:
  [[nodiscard]] bool is_shown() const { return screen_.is_terminal && total_ >= kLong; }

  Screen screen_;
  std::size_t total_;
};

/// Sends the lines. What takes them back gathers in `back`, the latest first.
[[nodiscard]] Exit send(const Session& session, const std::vector<Line>& lines,
                        const Guardian& guardian, const Interruption& interruption, Steps& back) {
  const ProgressBar bar{lines.size()};
  std::size_t done = 0;
  for (const Line& line : lines) {
    if (interruption.happened()) {
      session.output.complaint("apply " + line.place, "interrupted before this line");
      return Exit::kRefused;
    }
    Result<Steps> undo_steps = undo_of(session.client, line.step);
    int code = undo_steps.code;
    if (code == GWCONF_OK) {
      if (!guardian.expect(undo_steps.value)) {
        session.output.complaint("apply " + line.place, "the process that could undo it is gone");
        return Exit::kRefused;
      }
      back.insert(back.begin(), undo_steps.value.begin(), undo_steps.value.end());
      code = perform(session.client, line.step);
    }
    // An instance that somebody else added first is not ours to delete.
    if (code == GWCONF_EXISTS && line.step.kind == Kind::kAdd)
      back.erase(back.begin(), back.begin() + static_cast<std::ptrdiff_t>(undo_steps.value.size()));
    if (code != GWCONF_OK)
      return session.output.failure("apply " + line.place + ": " + name_of(line.step), code);
    bar.show(++done);
  }
  return Exit::kDone;
}

void report(const Session& session, const std::vector<Line>& lines, const std::string& state) {
  if (session.output.json()) {
    Json rows = Json::array();
    for (const Line& line : lines)
      rows.push_back({{"place", line.place}, {"change", name_of(line.step)}});
    session.output.document({{"state", state}, {"changes", rows}});
    return;
  }
  for (const Line& line : lines)
    if (line.step.kind == Kind::kAdd && state != "undone")
      session.output.line(session.output.shown(line.step.path));
}

/// Leaves a batch that is done to the confirmation that it waits for.
void await_confirmation(const Session& session, const std::string& subject,
                        const PendingFile& pending, const Guardian& guardian, const Steps& back,
                        int seconds) {
  Json undone = Json::array();
  for (const Step& step : back)
    undone.push_back(name_of(step));
  pending.write({{"socket", session.output.socket_path()}, {"seconds", seconds}, {"undo", undone}});
  guardian.wait_for_confirmation();
  session.output.complaint(
      subject, "undone in " + std::to_string(seconds) + " seconds unless `gwctl confirm` comes");
}

/// Takes a batch back that failed. Returns what became of it.
[[nodiscard]] std::string take_back(const Session& session, const std::string& subject,
                                    const Guardian& guardian, const Steps& back) {
  std::vector<std::string> failures;
  undo(session.client, back, failures);
  guardian.dismiss();
  for (const std::string& failure : failures)
    session.output.complaint(subject + ": not undone", failure);
  session.output.complaint(subject, failures.empty() ? "nothing is changed" : "partly undone");
  return failures.empty() ? "undone" : "partly undone";
}

/// Sends checked lines, with somebody beside who takes them back should this process die. Throws
/// std::system_error.
[[nodiscard]] Exit send_guarded(const Session& session, const std::string& subject,
                                const std::vector<Line>& lines, const PendingFile* pending,
                                int seconds) {
  const Interruption interruption;
  const Guardian guardian{session.client, pending, seconds};
  Steps back;
  const Exit exit = send(session, lines, guardian, interruption, back);
  if (exit == Exit::kUnreachable) {
    // A daemon that is gone may come back: waiting for it is the guardian's part.
    session.output.complaint(subject,
                             "undone in the background, should the daemon come back in a minute");
    report(session, lines, "unreachable");
  } else if (exit != Exit::kDone) {
    const std::string state = take_back(session, subject, guardian, back);
    if (pending) std::ignore = pending->take();
    report(session, lines, state);
  } else if (pending) {
    await_confirmation(session, subject, *pending, guardian, back, seconds);
    report(session, lines, "waiting");
  } else {
    guardian.dismiss();
    report(session, lines, "done");
  }
  return exit;
}

[[nodiscard]] Exit run(const Session& session, const std::string& file,
                       const std::vector<Line>& lines, int seconds) {
  const std::string subject = "apply " + file;
  std::optional<PendingFile> pending;
  if (seconds > 0) {
    pending = PendingFile::create(session.output.socket_path());
    if (!pending) {
      session.output.complaint(
          subject, errno == EEXIST ? "another batch waits for its confirmation"
                                   : std::string{"no file to confirm by: "} + std::strerror(errno));
      return Exit::kWrongUse;
    }
  }
  try {
    return send_guarded(session, subject, lines, pending ? &*pending : nullptr, seconds);
  } catch (const std::system_error& error) {
    if (pending) std::ignore = pending->take();
    session.output.complaint(subject, error.what());
    return Exit::kRefused;
  }
}

}  // namespace

Exit apply(const Session& session, const std::string& file, const BatchOptions& options) {
  const std::optional<std::string> text = read_batch(session, file);
  if (!text) return Exit::kWrongUse;
  std::optional<std::vector<Line>> lines = parse(session, file, *text);
  if (!lines) return Exit::kWrongUse;

  Exit exit = Exit::kDone;
  Forecast forecast{session};
  for (Line& line : *lines) {
    exit = worse(exit, forecast.check(line));
    if (exit == Exit::kUnreachable) return exit;
  }
  if (exit != Exit::kDone) {
    session.output.complaint("apply " + file, "nothing was sent");
    if (session.output.json()) report(session, *lines, "refused");
    return exit;
  }
  if (options.is_dry) {
    report(session, *lines, "checked");
    return exit;
  }
  if (lines->empty()) {
    report(session, *lines, "done");
    return exit;
  }
  return run(session, file, *lines, options.confirm_seconds);
}

}  // namespace gwconf::tool
