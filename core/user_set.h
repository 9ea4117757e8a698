#pragma once

// What the user set and what came from the defaults: only the former is saved.

#include "core/tree.h"

namespace gwconf {

/// Marks a parameter whose value was written: user-set, unless it is a counter, which the tree
/// keeps by itself.
void mark_user_set(Parameter* param);

/// Recomputes "user-set below" for `node`, its later siblings and all below them. Sets `*out`,
/// which the caller cleared, to 1 when one of them is user-set or has user-set content below.
/// Always CM_OK.
Status CM_CORE_UpdateUserSetFlag(Node* node, int* out);

/// 1: leave out of the saved settings, 0: keep. An object counts by both user-set bits.
[[nodiscard]] int filter_node(const Node* node);
[[nodiscard]] int filter_parameter(const Parameter* param);

}  // namespace gwconf
