#include "core/user_set.h"

#include "core/counter.h"
#include "core/walk.h"

namespace gwconf {
namespace {

bool has_user_set_parameter(const Node& node) {
  const Parameter* param = node.params;
  while (param && !has(*param, kUserSet))
    param = param->next;
  return param != nullptr;
}

}  // namespace

void mark_user_set(Parameter* param) {
  if (!is_counter_name(param->name.view())) set(*param, kUserSet);
}

Status CM_CORE_UpdateUserSetFlag(Node* node, int* out) {
  const auto enter = [](Node& object) {
    set(object, kUserSetBelow, false);
    return Visit::kEnter;
  };
  for (; node; node = node->next) {
    // On the way back the bit holds what the children said.
    const auto leave = [top = node, out](Node& object) {
      const bool own = has(object, kUserSet);
      const bool below = has(object, kUserSetBelow) || has_user_set_parameter(object);
      set(object, kUserSetBelow, below && !own);
      if (!own && !below) return true;
      if (&object == top)
        *out = 1;
      else
        set(*lister_of(object), kUserSetBelow);
      return true;
    };
    static_cast<void>(walk_subtree(node, enter, leave));  // nothing stops it
  }
  return CM_OK;
}

int filter_node(const Node* node) {
  return has(*node, kUserSet) || has(*node, kUserSetBelow) ? 0 : 1;
}

int filter_parameter(const Parameter* param) {
  return has(*param, kUserSet) ? 0 : 1;
}

}  // namespace gwconf
