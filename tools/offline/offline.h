#pragma once

#include <functional>

#include "tools/base/session.h"

namespace CLI {
class App;
}

namespace gwconf::tool {

/// What a verb of the command line does.
using Verb = std::function<Exit(const Session&)>;

/// Adds the verbs that work on files to the command line. When one of them is asked for, `choose`
/// receives what it does.
void add_offline_verbs(CLI::App& app, const std::function<void(Verb)>& choose);

}  // namespace gwconf::tool
