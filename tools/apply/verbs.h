// The verbs for many changes at once.
#pragma once

#include "tools/base/registry.h"

namespace gwconf::tool {

void add_apply(Registry& registry);
void add_confirm(Registry& registry);

}  // namespace gwconf::tool
