#pragma once

#include "tools/base/registry.h"

namespace gwconf::tool {

void add_shell(Registry& registry);

}  // namespace gwconf::tool
