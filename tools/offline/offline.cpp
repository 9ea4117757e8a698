#include "tools/offline/offline.h"

#include "tools/offline/verbs.h"

namespace gwconf::tool {

void add_offline_verbs(CLI::App& app, const std::function<void(Verb)>& choose) {
  VerbList verbs{app, choose};
  add_check(verbs);
  add_block(verbs);
  add_diff(verbs);
  add_upgrade(verbs);
  add_model(verbs);
}

}  // namespace gwconf::tool
