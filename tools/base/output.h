#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "tools/base/exit.h"
#include "tools/base/screen.h"

namespace gwconf::tool {

/// Of two ends the one that the user must hear of: nobody there, wrong use, refused, findings,
/// done.
[[nodiscard]] Exit worse(Exit one, Exit other);

/// "; did you mean A or B?"; nothing when there are no hints.
[[nodiscard]] std::string question_of(const std::vector<std::string>& hints);

/// JSON that keeps its keys in the order of writing.
using Json = nlohmann::ordered_json;

/// A code of the daemon's or the library's as {"code": ..., "meaning": ...}.
[[nodiscard]] Json json_of(int code);

/// Results on standard output, as text or as one JSON document; complaints on standard error.
class Output {
 public:
  Output(bool json, std::string socket_path);

  [[nodiscard]] bool json() const { return json_; }
  [[nodiscard]] const Screen& screen() const { return screen_; }
  [[nodiscard]] const std::string& socket_path() const { return socket_path_; }

  /// A line of text, as it is: whatever the daemon told goes through shown() before.
  void line(std::string_view text) const;

  /// The text as standard output may have it: on a terminal without bytes that steer it.
  [[nodiscard]] std::string shown(std::string_view text) const;

  /// The same for a text of several lines, which keeps its line breaks and tabs.
  [[nodiscard]] std::string shown_lines(std::string_view text) const;

  /// A JSON document. Bytes that are not UTF-8 come out as replacement characters.
  void document(const Json& content) const;

  /// "gwctl: SUBJECT: CODE (MEANING)": `subject` is the verb and, where it has one, the path.
  /// Returns the end that the code stands for. `hints` are paths that may have been meant.
  Exit failure(std::string_view subject, int code,
               const std::vector<std::string>& hints = {}) const;

  /// As failure(), but silent.
  [[nodiscard]] static Exit exit_of(int code);

  /// "gwctl: SUBJECT: TEXT", for what the tool itself objects to.
  void complaint(std::string_view subject, std::string_view text) const;

 private:
  bool json_;
  std::string socket_path_;
  Screen screen_;
  Screen error_screen_;
};

}  // namespace gwconf::tool
