#pragma once

#include <functional>

#include "tools/base/registry.h"

namespace gwconf::tool {

/// Adds the verbs that work on files to the command line. When one of them is asked for, `choose`
/// receives what it does.
void add_offline_verbs(CLI::App& app, const std::function<void(Verb)>& choose);

}  // namespace gwconf::tool
