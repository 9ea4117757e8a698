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

/// Tells a failed request for a path, with the paths that may have been meant when it names
/// nothing.
Exit path_failure(const Session& session, const std::string& verb, const std::string& path,
                  int code);

/// The end of a verb that is one request about one path: a complaint when it failed, and with
/// --json a document of `fields`, code and meaning.
Exit finish(const Session& session, const std::string& verb, const std::string& path, int code,
            Json fields = Json::object());

}  // namespace gwconf::tool
