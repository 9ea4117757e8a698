#pragma once

#include "gwconf/client.hpp"
#include "tools/base/output.h"

namespace gwconf::tool {

/// What every verb works with.
struct Session {
  const Client& client;
  Output output;
  int timeout = GWCONF_TIMEOUT_DEFAULT;  ///< of a request, in milliseconds
};

/// A failed request about a path. The complaint names the paths that may have been meant when this
/// one names nothing. errno must still be that of the request.
[[nodiscard]] Failure path_failure(const Session& session, const std::string& verb,
                                   const std::string& path, int code, Json document = nullptr);

/// The same for a verb that is about this one path: the document has the path, the code and its
/// meaning.
[[nodiscard]] Failure verb_failure(const Session& session, const std::string& verb,
                                   const std::string& path, int code);

/// What a request about the path of a verb has brought. Throws verb_failure() when it failed.
template <typename T>
[[nodiscard]] T answer_of(const Session& session, const std::string& verb, const std::string& path,
                          Result<T> result) {
  if (!result) throw verb_failure(session, verb, path, result.code);
  return std::move(result.value);
}

/// The end of a verb that is one request about one path. With --json it prints a document of the
/// path, `fields`, the code and its meaning. Throws Failure when the request failed.
Exit finish(const Session& session, const std::string& verb, const std::string& path, int code,
            const Json& fields = Json::object());

}  // namespace gwconf::tool
