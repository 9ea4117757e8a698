#include "tools/base/session.h"

#include <cerrno>
#include <utility>

#include "tools/base/hint.h"

namespace gwconf::tool {
namespace {

[[nodiscard]] Json document_of(const std::string& path, int code, const Json& fields) {
  Json document{{"path", path}};
  document.update(fields);
  document.update(json_of(code));
  return document;
}

}  // namespace

Failure path_failure(const Session& session, const std::string& verb, const std::string& path,
                     int code, Json document) {
  const int reason = errno;
  std::vector<std::string> hints;
  if (code == GWCONF_NOT_FOUND) hints = near_paths(session.client, path);
  errno = reason;
  return {Output::exit_of(code), verb + " " + path + ": " + session.output.reason_of(code, hints),
          std::move(document)};
}

Failure verb_failure(const Session& session, const std::string& verb, const std::string& path,
                     int code) {
  return path_failure(session, verb, path, code, document_of(path, code, Json::object()));
}

Exit finish(const Session& session, const std::string& verb, const std::string& path, int code,
            const Json& fields) {
  Json document = document_of(path, code, fields);
  if (Output::exit_of(code) != Exit::kDone)
    throw path_failure(session, verb, path, code, std::move(document));
  if (session.output.json()) session.output.document(document);
  return Exit::kDone;
}

}  // namespace gwconf::tool
