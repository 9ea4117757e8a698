// The verbs that ask a daemon for one thing. All about a verb, or a family of them, stands in its
// own file: help, options and code.
#pragma once

#include "tools/base/registry.h"

namespace gwconf::tool {

void add_attr(Registry& registry);
void add_configuration_verbs(Registry& registry);
void add_describe(Registry& registry);
void add_find(Registry& registry);
void add_get(Registry& registry);
void add_instance_verbs(Registry& registry);
void add_ls(Registry& registry);
void add_raw(Registry& registry);
void add_set(Registry& registry);
void add_tree(Registry& registry);
void add_watch(Registry& registry);

}  // namespace gwconf::tool
