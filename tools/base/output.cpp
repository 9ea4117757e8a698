#include "tools/base/output.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <unistd.h>

#include "gwconf/client.h"

namespace gwconf::tool {

Exit worse(Exit one, Exit other) {
  for (const Exit exit : {Exit::kUnreachable, Exit::kWrongUse, Exit::kRefused, Exit::kFindings})
    if (one == exit || other == exit) return exit;
  return Exit::kDone;
}

std::string question_of(const std::vector<std::string>& hints) {
  std::string text;
  for (const std::string& hint : hints)
    text += (text.empty() ? "; did you mean " : " or ") + hint;
  return hints.empty() ? text : text + "?";
}

Json json_of(int code) {
  return {{"code", code}, {"meaning", gwconf_strerror(code)}};
}

Output::Output(bool json, std::string socket_path)
    : json_{json},
      socket_path_{std::move(socket_path)},
      screen_{Screen::of(STDOUT_FILENO)},
      error_screen_{Screen::of(STDERR_FILENO)} {}

std::string Output::shown(std::string_view text) const {
  return screen_.is_terminal ? harmless(text) : std::string{text};
}

std::string Output::shown_lines(std::string_view text) const {
  return screen_.is_terminal ? harmless(text, "\n\t") : std::string{text};
}

void Output::line(std::string_view text) const {
  std::cout << text << '\n';
}

void Output::document(const Json& content) const {
  std::cout << content.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

std::string Output::reason_of(int code, const std::vector<std::string>& hints) const {
  const int reason = errno;
  std::string text = std::to_string(code) + " (" + gwconf_strerror(code);
  if (code == GWCONF_E_CONNECT) text += " at " + socket_path_;
  if (code == GWCONF_E_CONNECT || code == GWCONF_E_SYSTEM)
    text += std::string{": "} + std::strerror(reason);
  return text + ")" + question_of(hints);
}

Exit Output::failure(std::string_view subject, int code) const {
  complaint(subject, reason_of(code));
  return exit_of(code);
}

Exit Output::failure(const Failure& failure) const {
  if (!failure.told()) complaint(failure.what());
  if (json_ && !failure.document().is_null()) document(failure.document());
  return failure.exit();
}

Exit Output::exit_of(int code) {
  if (code == GWCONF_OK || code == GWCONF_UNCHANGED) return Exit::kDone;
  if (code == GWCONF_E_ARGUMENT) return Exit::kWrongUse;
  return code < GWCONF_E_ARGUMENT && code > -2000 ? Exit::kUnreachable : Exit::kRefused;
}

void Output::complaint(std::string_view subject, std::string_view text) const {
  complaint(std::string{subject} + ": " + std::string{text});
}

void Output::complaint(std::string line) const {
  if (error_screen_.is_terminal) line = harmless(line);
  std::cout.flush();
  std::cerr << "gwctl: " << line << '\n';
}

}  // namespace gwconf::tool
