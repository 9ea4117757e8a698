#include "tools/live/start.h"

#include "tools/base/path.h"

namespace gwconf::tool {

ExportedTree start_at(const Session& session, const std::string& verb, const std::string& path) {
  const std::string object =
      path.empty() ? answer_of(session, verb, "InternetGatewayDevice.", root_of(session.client))
                   : as_object(path);
  return answer_of(session, verb, object, load_exported_tree(session.client, object));
}

}  // namespace gwconf::tool
