#include "core/move.h"

#include "core/counter.h"
#include "core/path.h"
#include "core/row_index.h"
#include "core/strays.h"

namespace gwconf {
namespace {

/// Puts `node` behind the instance of `parent` with the greatest number up to its own, or first.
void link_behind_nearest(Node* parent, Node* node) {
  const std::int32_t own = number_of(*node);
  Node* nearest = nullptr;
  for (Node* child = parent->children; child; child = child->next) {
    const std::int32_t number = number_of(*child);
    if (number < 1 || number > own || child->name.view() != InstanceName{number}.view()) continue;
    if (!nearest || number > number_of(*nearest)) nearest = child;
  }
  Node** link = nearest ? &nearest->next : &parent->children;
  node->next = *link;
  *link = node;
}

bool lies_in(const Node* node, const Node* subtree) {
  while (node && node != subtree)
    node = node->parent;
  return node != nullptr;
}

bool is_listed_in(const Node* node, const Node* subtree) {
  while (node && node != subtree)
    node = lister_of(*node);
  return node != nullptr;
}

/// The child before `node` in the list of its parent, null for the first, in `before`. False when
/// the parent does not list it.
bool find_place(const Node& node, Node** before) {
  *before = nullptr;
  Node* child = node.parent->children;
  for (; child && child != &node; child = child->next)
    *before = child;
  return child != nullptr;
}

}  // namespace

Status CM_CORE_NodeMove(Node* newParent, Node* node) {
  Node* old_parent = node->parent;
  if (!old_parent || lies_in(newParent, node) || is_listed_in(newParent, node)) return CM_INVALID;
  if (old_parent == newParent) return CM_OK;
  Node* before = nullptr;
  if (!find_place(*node, &before) || !paths_fit(*node, newParent)) return CM_INVALID;
  // What is no instance has no place by number. Behind a former sibling it stays in the old list.
  const bool strays = number_of(*node) < 1 && before;
  if (strays) {
    if (const Status status = remember_stray(node, old_parent)) return status;
  }

  ignore(CM_CORE_NumberOfEntriesModify(node, 1));  // not every table has a counter
  if (!strays) {
    if (const Status status = CM_UTL_RebuildStructureBeforeNodeRemove(node)) return status;
    drop_row_index(newParent);
    link_behind_nearest(newParent, node);
  }
  node->parent = newParent;
  ignore(CM_CORE_NumberOfEntriesModify(node, 0));
  return CM_OK;
}

}  // namespace gwconf
