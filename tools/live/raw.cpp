#include "tools/live/raw.h"

#include <string_view>

namespace gwconf::tool {

Exit raw(const Session& session, int command, const std::vector<std::string>& arguments) {
  const Result<std::vector<std::string>> result = session.client.call(command, arguments);
  const bool done = result.code == GWCONF_OK || result.code == GWCONF_UNCHANGED;
  const Exit exit =
      done ? Exit::kDone : session.output.failure("raw " + std::to_string(command), result.code);
  if (session.output.json()) {
    Json document{{"answers", result.value}};
    document.update(json_of(result.code));
    session.output.document(document);
  } else {
    for (std::string_view answer : result.value) {
      if (answer.ends_with('\n')) answer.remove_suffix(1);
      session.output.line(session.output.shown_lines(answer));
    }
  }
  return exit;
}

}  // namespace gwconf::tool
