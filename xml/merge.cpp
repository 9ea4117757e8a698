#include "xml/merge.h"

#include "core/instance.h"
#include "core/number.h"
#include "core/path.h"

namespace gwconf {
namespace {

/// Adds to the live tree the instance that `saved` is. False when that is not possible.
bool add_saved_instance(const Node& saved) {
  OwnedText table;
  if (!saved.parent || CM_UTL_Node2URI(saved.parent, &table) != CM_OK) return false;
  return CM_CORE_AddInstance(table.view(), to_number(saved.name.view())) == CM_OK;
}

void merge_values(const Node& saved, Node* live) {
  for (const Parameter* param = saved.params; param; param = param->next) {
    if (!param->value) continue;
    Parameter* target = CM_CORE_GetChildParaByName(live, param->name.view());
    if (target && target->value.assign(param->value)) set(*target, kUserSet);
  }
}

}  // namespace

Status locate_node_in_root(const Node* saved, Node** live) {
  *live = nullptr;
  OwnedText path;
  if (CM_UTL_Node2URI(saved, &path) != CM_OK) return CM_INVALID;
  return CM_CORE_GetObjNodeByUri(path.view(), live);
}

Status CM_Node_Merge2Root(const Node* saved) {
  for (; saved && saved->name; saved = saved->next) {
    Node* live = nullptr;
    if (locate_node_in_root(saved, &live) != CM_OK) {
      if (CM_CORE_CheckIfInstance(saved->name.view()) != CM_OK) continue;
      // Without its instance neither this row nor the rows behind it are merged.
      if (!add_saved_instance(*saved) || locate_node_in_root(saved, &live) != CM_OK) return CM_OK;
    }
    merge_values(*saved, live);
    ignore(CM_Node_Merge2Root(saved->children));
  }
  return CM_OK;
}

}  // namespace gwconf
