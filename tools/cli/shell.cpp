#include "tools/cli/shell.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <optional>
#include <string_view>
#include <unistd.h>

#include "tools/base/words.h"
#include "tools/cli/command_line.h"
#include "tools/cli/line_editor.h"

namespace gwconf::tool {
namespace {

[[nodiscard]] Exit wrong_line(const Session& session, const char* text) {
  session.output.complaint("shell", text);
  return Exit::kWrongUse;
}

/// Runs a line. Nothing when it asks to leave.
[[nodiscard]] std::optional<Exit> run_text(const Session& session, std::string_view text) {
  std::optional<std::vector<std::string>> words = split_words(text);
  if (!words) return wrong_line(session, "a quote is left open");
  if (words->empty()) return Exit::kDone;
  const std::string verb = words->front();
  if (verb == "exit" || verb == "quit") return {};
  if (verb == "shell") return wrong_line(session, "this is the shell already");
  if (verb == "help") {
    words->erase(words->begin());
    words->push_back("--help");
  }
  const Exit exit = run_line(session, *words);
  std::cout.flush();
  return exit;
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
  LineEditor editor{session.client};
  const StayOnInterrupt stay;
  while (const std::optional<std::string> line = editor.next())
    if (!run_text(session, *line)) break;
  return Exit::kDone;
}

/// Goes on behind a failure, and ends with the worst of all ends.
[[nodiscard]] Exit run_lines(const Session& session) {
  Exit worst = Exit::kDone;
  std::string text;
  while (std::getline(std::cin, text)) {
    const std::optional<Exit> exit = run_text(session, text);
    if (!exit) break;
    worst = worse(worst, *exit);
  }
  if (std::ferror(stdin) != 0) {
    session.output.complaint("shell", std::string{"standard input: "} + std::strerror(errno));
    worst = worse(worst, Exit::kWrongUse);
  }
  return worst;
}

[[nodiscard]] Exit shell(const Session& session) {
  const bool is_terminal = isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1;
  return is_terminal ? edit_lines(session) : run_lines(session);
}

}  // namespace

void add_shell(Registry& registry) {
  registry.add(
      {"shell", "Read verbs from the terminal, with completion and history, or from a pipe",
       "shell"},
      shell);
}

}  // namespace gwconf::tool
