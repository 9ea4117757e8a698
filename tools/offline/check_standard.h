#pragma once

#include "tools/offline/check_tree.h"
#include "tools/offline/facts.h"

namespace gwconf::tool {

/// The rules about departures from the standard, each reported once for all rows of a table. The
/// tree is the live one.
void check_standard(const LoadedTree& tree, const Facts& facts, TreeFindings& findings);

}  // namespace gwconf::tool
