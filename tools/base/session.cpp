#include "tools/base/session.h"

#include <cerrno>

#include "tools/base/hint.h"

namespace gwconf::tool {

Exit path_failure(const Session& session, const std::string& verb, const std::string& path,
                  int code) {
  const int reason = errno;
  std::vector<std::string> hints;
  if (code == GWCONF_NOT_FOUND) hints = near_paths(session.client, path);
  errno = reason;
  return session.output.failure(verb + " " + path, code, hints);
}

Exit finish(const Session& session, const std::string& verb, const std::string& path, int code,
            Json fields) {
  const Exit exit = Output::exit_of(code);
  if (exit != Exit::kDone) path_failure(session, verb, path, code);
  if (session.output.json()) {
    Json document{{"path", path}};
    document.update(fields);
    document.update(json_of(code));
    session.output.document(document);
  }
  return exit;
}

}  // namespace gwconf::tool
