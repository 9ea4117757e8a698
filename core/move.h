#pragma once

#include "core/tree.h"

namespace gwconf {

/// Moves `node` below `newParent`, behind the nearest instance with a number not above its own, and
/// counts it out and in. A node that is no instance goes first when it was its old parent's first
/// child; otherwise the old parent goes on listing it, and when its new parent is deleted it is the
/// old one's again. Nothing is changed by a failure. CM_INVALID: the root, a new parent inside the
/// node itself, a node that another object than its parent lists, or a path that would pass its
/// bound; CM_NO_MEMORY: kStraysMax objects have been moved out of a list already.
Status CM_CORE_NodeMove(Node* newParent, Node* node);

}  // namespace gwconf
