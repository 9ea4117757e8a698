#pragma once

#include "core/strays.h"

namespace gwconf {

/// What a walk does with a node that it comes to.
enum class Visit { kEnter, kSkip, kStop };

/// Walks `top` and everything that is listed below it, in document order, in a loop: a tree may be
/// tens of thousands of levels deep, and the stack is small. `enter(node)` returns a Visit: whether
/// the children of the node are walked too, and `leave(node)` called after them. False as soon as
/// `enter` returned kStop or `leave` returned false.
template <typename NodeType, typename Enter, typename Leave>
[[nodiscard]] bool walk_subtree(NodeType* top, Enter enter, Leave leave) {
  NodeType* node = top;
  for (;;) {
    const Visit visit = enter(*node);
    if (visit == Visit::kStop) return false;
    if (visit == Visit::kEnter && node->children) {
      node = node->children;
      continue;
    }
    if (visit == Visit::kEnter && !leave(*node)) return false;
    while (node != top && !node->next) {
      node = lister_of(*node);
      if (!leave(*node)) return false;
    }
    if (node == top) return true;
    node = node->next;
  }
}

}  // namespace gwconf
