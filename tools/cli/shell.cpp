#include "tools/cli/shell.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <histedit.h>
#include <iostream>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/base/words.h"
#include "tools/cli/command_line.h"
#include "tools/cli/completion.h"

namespace gwconf::tool {
namespace {

constexpr int kHistoryLines = 1000;

struct EndEditing {
  void operator()(EditLine* editor) const { el_end(editor); }
  void operator()(History* history) const { history_end(history); }
};

/// Runs a line. False when it asks to leave.
[[nodiscard]] bool run_text(const Session& session, std::string_view text, Exit& exit) {
  std::optional<std::vector<std::string>> words = split_words(text);
  exit = Exit::kDone;
  if (!words) {
    session.output.complaint("shell", "a quote is left open");
    exit = Exit::kWrongUse;
    return true;
  }
  if (words->empty()) return true;
  const std::string verb = words->front();
  if (verb == "exit" || verb == "quit") return false;
  if (verb == "help") {
    words->erase(words->begin());
    words->push_back("--help");
  }
  if (verb == "shell") {
    session.output.complaint("shell", "this is the shell already");
    exit = Exit::kWrongUse;
    return true;
  }
  exit = run_line(session, *words);
  std::cout.flush();
  return true;
}

[[nodiscard]] std::string history_path() {
  if (const char* given = std::getenv("GWCTL_HISTORY")) return given;
  const char* home = std::getenv("HOME");
  return home && *home ? std::string{home} + "/.gwctl_history" : std::string{};
}

/// What all candidates begin with.
[[nodiscard]] std::string common_start(const std::vector<std::string>& candidates) {
  std::string start = candidates.front();
  for (const std::string& one : candidates) {
    const auto [end, other] = std::mismatch(start.begin(), start.end(), one.begin(), one.end());
    start.erase(end, start.end());
  }
  return start;
}

/// The candidates in as many columns as the terminal has, each by its last segment.
void print_columns(const std::vector<std::string>& candidates) {
  std::vector<std::string> names;
  std::size_t widest = 0;
  for (const std::string& one : candidates) {
    const std::size_t equals = one.find('=');
    const bool is_value = equals != std::string::npos && equals + 1 < one.size();
    names.push_back(harmless(is_value ? one.substr(equals + 1) : split(one).segment));
    widest = std::max(widest, names.back().size());
  }
  const std::size_t columns =
      std::max<std::size_t>(Screen::of(STDOUT_FILENO).width / (widest + 2), 1);
  for (std::size_t i = 0; i < names.size(); ++i) {
    const bool is_last = (i + 1) % columns == 0 || i + 1 == names.size();
    std::cout << names[i]
              << (is_last ? std::string{"\n"} : std::string(widest + 2 - names[i].size(), ' '));
  }
  std::cout.flush();
}

const char* prompt(EditLine*) {
  return "gwctl> ";
}

unsigned char complete(EditLine* editor, int) {
  Completion* completion = nullptr;
  el_get(editor, EL_CLIENTDATA, &completion);
  const LineInfo* info = el_line(editor);
  const std::string line{info->buffer, static_cast<std::size_t>(info->cursor - info->buffer)};
  const std::vector<std::string> candidates = completion->candidates(line);
  if (candidates.empty()) return CC_REFRESH_BEEP;
  const std::size_t typed = last_word(line).size();
  std::string more = common_start(candidates).substr(typed);
  if (candidates.size() == 1 && !candidates[0].ends_with('.') && !candidates[0].ends_with('='))
    more += ' ';
  if (!more.empty()) return el_insertstr(editor, more.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
  std::cout << '\n';
  print_columns(candidates);
  return CC_REDISPLAY;
}

void ignore_signal(int) {}

/// Ctrl-C ends what waits for it (watch, apply), not the shell.
class StayOnInterrupt {
 public:
  StayOnInterrupt() {
    struct sigaction stay {};
    stay.sa_handler = ignore_signal;
    sigaction(SIGINT, &stay, &before_);
  }
  ~StayOnInterrupt() { sigaction(SIGINT, &before_, nullptr); }
  StayOnInterrupt(const StayOnInterrupt&) = delete;
  StayOnInterrupt& operator=(const StayOnInterrupt&) = delete;

 private:
  struct sigaction before_ {};
};

[[nodiscard]] Exit edit_lines(const Session& session) {
  if (!std::setlocale(LC_CTYPE, "") || MB_CUR_MAX == 1) std::setlocale(LC_CTYPE, "C.UTF-8");
  const std::unique_ptr<History, EndEditing> past{history_init()};
  const std::unique_ptr<EditLine, EndEditing> editor{el_init("gwctl", stdin, stdout, stderr)};
  if (!past || !editor) {
    session.output.complaint("shell", "no line editing on this terminal");
    return Exit::kWrongUse;
  }
  const StayOnInterrupt stay;
  const std::string file = history_path();
  HistEvent event{};
  history(past.get(), &event, H_SETSIZE, kHistoryLines);
  history(past.get(), &event, H_SETUNIQUE, 1);
  if (!file.empty()) history(past.get(), &event, H_LOAD, file.c_str());

  Completion completion{session.client};
  EditLine* const line_editor = editor.get();
  el_set(line_editor, EL_PROMPT, prompt);
  el_set(line_editor, EL_EDITOR, "emacs");
  el_set(line_editor, EL_HIST, ::history, past.get());
  el_set(line_editor, EL_CLIENTDATA, &completion);
  el_set(line_editor, EL_ADDFN, "gwctl-complete", "Complete the word", complete);
  el_set(line_editor, EL_BIND, "^I", "gwctl-complete", nullptr);
  // While a line is edited Ctrl-C is a key, and clears it.
  el_set(line_editor, EL_SETTY, "-d", "-isig", nullptr);
  el_set(line_editor, EL_BIND, "^C", "em-kill-line", nullptr);
  el_set(line_editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);

  int length = 0;
  Exit exit = Exit::kDone;
  const auto read_line = [&] {
    // The editor shows the prompt first and takes over the keys then: what is typed in between
    // would lose its Ctrl-D to the terminal.
    el_set(line_editor, EL_PREP_TERM, 1);
    return el_gets(line_editor, &length);
  };
  while (const char* read = read_line()) {
    std::string_view text{read, static_cast<std::size_t>(std::max(length, 0))};
    while (text.ends_with('\n'))
      text.remove_suffix(1);
    if (text.find_first_not_of(" \t") == std::string_view::npos) continue;
    history(past.get(), &event, H_ENTER, std::string{text}.c_str());
    if (!run_text(session, text, exit)) break;
    completion.forget();
    el_resize(line_editor);
  }
  if (!file.empty()) {
    const mode_t mask = umask(077);
    history(past.get(), &event, H_SAVE, file.c_str());
    umask(mask);
  }
  return Exit::kDone;
}

}  // namespace

Exit shell(const Session& session) {
  if (isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1) return edit_lines(session);
  Exit worst = Exit::kDone;
  std::string text;
  while (std::getline(std::cin, text)) {
    Exit exit = Exit::kDone;
    if (!run_text(session, text, exit)) break;
    worst = worse(worst, exit);
  }
  if (std::ferror(stdin) != 0) {
    session.output.complaint("shell", std::string{"standard input: "} + std::strerror(errno));
    worst = worse(worst, Exit::kWrongUse);
  }
  return worst;
}

}  // namespace gwconf::tool
