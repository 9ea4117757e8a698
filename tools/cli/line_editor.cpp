#include "tools/cli/line_editor.h"

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/base/failure.h"
#include "tools/base/path.h"
#include "tools/base/screen.h"
#include "tools/base/words.h"

namespace gwconf::tool {
namespace {

constexpr int kHistoryLines = 1000;

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

}  // namespace

LineEditor::LineEditor(const Client& client) : completion_{client} {
  if (!std::setlocale(LC_CTYPE, "") || MB_CUR_MAX == 1) std::setlocale(LC_CTYPE, "C.UTF-8");
  history_.reset(history_init());
  editor_.reset(el_init("gwctl", stdin, stdout, stderr));
  if (!history_ || !editor_)
    throw Failure{Exit::kWrongUse, "shell: no line editing on this terminal"};
  load_history();
  set_up_keys();
}

LineEditor::~LineEditor() {
  if (history_file_.empty()) return;
  HistEvent event{};
  const mode_t mask = umask(077);
  history(history_.get(), &event, H_SAVE, history_file_.c_str());
  umask(mask);
}

void LineEditor::load_history() {
  HistEvent event{};
  history(history_.get(), &event, H_SETSIZE, kHistoryLines);
  history(history_.get(), &event, H_SETUNIQUE, 1);
  history_file_ = history_path();
  if (!history_file_.empty()) history(history_.get(), &event, H_LOAD, history_file_.c_str());
}

void LineEditor::set_up_keys() {
  EditLine* const editor = editor_.get();
  el_set(editor, EL_PROMPT, prompt);
  el_set(editor, EL_EDITOR, "emacs");
  el_set(editor, EL_HIST, ::history, history_.get());
  el_set(editor, EL_CLIENTDATA, &completion_);
  el_set(editor, EL_ADDFN, "gwctl-complete", "Complete the word", complete);
  el_set(editor, EL_BIND, "^I", "gwctl-complete", nullptr);
  // While a line is edited Ctrl-C is a key, and clears it.
  el_set(editor, EL_SETTY, "-d", "-isig", nullptr);
  el_set(editor, EL_BIND, "^C", "em-kill-line", nullptr);
  el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
}

std::optional<std::string> LineEditor::next() {
  EditLine* const editor = editor_.get();
  // Since the last line the tree and the size of the terminal may have changed.
  completion_.forget();
  el_resize(editor);
  for (;;) {
    // The editor shows the prompt first and takes over the keys then: what is typed in between
    // would lose its Ctrl-D to the terminal.
    el_set(editor, EL_PREP_TERM, 1);
    int length = 0;
    const char* const read = el_gets(editor, &length);
    if (!read) return {};
    std::string_view text{read, static_cast<std::size_t>(std::max(length, 0))};
    while (text.ends_with('\n'))
      text.remove_suffix(1);
    if (text.find_first_not_of(" \t") == std::string_view::npos) continue;
    std::string line{text};
    HistEvent event{};
    history(history_.get(), &event, H_ENTER, line.c_str());
    return line;
  }
}

}  // namespace gwconf::tool
