#pragma once

#include "tools/offline/verb_list.h"

namespace gwconf::tool {

// Each adds one verb, which stands in the file of its name.

/// Checks factory defaults against the rules.
void add_check(VerbList& verbs);

/// Looks into settings blocks and makes them.
void add_block(VerbList& verbs);

/// Compares any two of a live daemon, an XML file and a settings block.
void add_diff(VerbList& verbs);

/// Reports what new factory defaults make of saved settings.
void add_upgrade(VerbList& verbs);

/// Renders a device profile to factory defaults.
void add_model(VerbList& verbs);

}  // namespace gwconf::tool
