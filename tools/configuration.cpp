#include "tools/configuration.h"

namespace gwconf::tool {

Exit commit(const Session& session) {
  const int code = session.client.commit();
  const Exit exit = code == GWCONF_OK ? Exit::kDone : session.output.failure("commit", code);
  if (session.output.json()) session.output.document(json_of(code));
  return exit;
}

}  // namespace gwconf::tool
