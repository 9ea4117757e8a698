#pragma once

#include "core/tree.h"

namespace gwconf {

/// Lays a saved tree over the live one, `cml_root`: `saved` with everything below it and its later
/// siblings. Saved values replace the live ones and become user-set; saved instances that are
/// missing are added. What the live tree has no place for is skipped, and with an instance that
/// cannot be added its later siblings too. Without memory old values stay. Always CM_OK; the saved
/// tree is left as it was.
Status CM_Node_Merge2Root(const Node* saved);

/// The live object at the path of a saved one, the live tree's own, in `live`. The lookup's code;
/// CM_INVALID when the saved node has no name or its path cannot be formed. `live` is cleared on
/// failure.
Status locate_node_in_root(const Node* saved, Node** live);

}  // namespace gwconf
