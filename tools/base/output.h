#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/base/exit.h"
#include "tools/base/failure.h"
#include "tools/base/json.h"
#include "tools/base/screen.h"

namespace gwconf::tool {

/// The end of two that the user must hear of. The order is: unreachable, wrong use, refused,
/// findings, done.
[[nodiscard]] Exit worse(Exit one, Exit other);

/// "; did you mean A or B?"; nothing when there are no hints.
[[nodiscard]] std::string question_of(const std::vector<std::string>& hints);

/// Results on standard output, as text or as one JSON document; complaints on standard error.
class Output {
 public:
  Output(bool json, std::string socket_path);

  [[nodiscard]] bool json() const { return json_; }
  [[nodiscard]] const Screen& screen() const { return screen_; }
  [[nodiscard]] const std::string& socket_path() const { return socket_path_; }

  /// Prints a line of text as it is. Whatever comes from the daemon goes through shown() first.
  void line(std::string_view text) const;

  /// The text as standard output may have it: on a terminal without bytes that steer it.
  [[nodiscard]] std::string shown(std::string_view text) const;

  /// The same for a text of several lines, which keeps its line breaks and tabs.
  [[nodiscard]] std::string shown_lines(std::string_view text) const;

  /// A JSON document. Bytes that are not UTF-8 come out as replacement characters.
  void document(const Json& content) const;

  /// The end that a code of the daemon's or the library's stands for.
  [[nodiscard]] static Exit exit_of(int code);

  /// "CODE (MEANING)", with the socket and the system's reason where they matter: errno must still
  /// be that of the request. `hints` are paths that may have been meant.
  [[nodiscard]] std::string reason_of(int code, const std::vector<std::string>& hints = {}) const;

  /// Reports "gwctl: SUBJECT: CODE (MEANING)". `subject` is the verb and, where it has one, the
  /// path. Returns the end that the code stands for.
  Exit failure(std::string_view subject, int code) const;

  /// Reports a failure and prints its document. Returns its end.
  Exit failure(const Failure& failure) const;

  /// Reports "gwctl: SUBJECT: TEXT", for what the tool itself objects to.
  void complaint(std::string_view subject, std::string_view text) const;

 private:
  void complaint(std::string line) const;

  bool json_;
  std::string socket_path_;
  Screen screen_;
  Screen error_screen_;
};

}  // namespace gwconf::tool
