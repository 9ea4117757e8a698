#include "core/deleted_defaults.h"

#include <algorithm>

#include "core/instance.h"
#include "core/number.h"
#include "core/path.h"
#include "core/text_view.h"

namespace gwconf {
namespace {

/// The path that a record holds: its first parameter, whatever the name; none for anything but a
/// filled record.
std::string_view recorded_path(const Node& record) {
  if (CM_UTL_GetInstanceNumber(record.name.view()) <= 0 || !record.params) return {};
  return record.params->value.view();
}

Node* record_table() {
  Node* table = nullptr;
  ignore(CM_CORE_GetObjNodeByUri(kDeletedDefaults, &table));
  return table;
}

/// The first record that matches `path`, or none.
Node* matching_record(std::string_view path) {
  const Node* table = record_table();
  for (Node* record = table ? table->children : nullptr; record; record = record->next) {
    const std::string_view recorded = recorded_path(*record);
    if (recorded.empty()) continue;
    if (begins_with(path, recorded) || begins_with(recorded, path)) return record;
  }
  return nullptr;
}

/// The smallest number not yet in the record table; 0 when there is no table or its list cannot be
/// relied on.
std::int32_t free_record_number() {
  PathText list{kDeletedDefaults};
  if (!record_table() || CM_CORE_GetInstanceList(list.buffer(), kPathBufferSize) != CM_OK) return 0;
  std::int32_t free = 1;
  // A file's own records need not ascend: the next number may have stood further ahead.
  for (std::int32_t tried = 0; tried != free;) {
    tried = free;
    for (std::string_view rest{list.buffer()}; !rest.empty();) {
      const std::int32_t used = to_number(rest);
      if (used == 0) return 0;
      if (used == free) ++free;
      rest.remove_prefix(rest.find(',') + 1);
    }
  }
  return free;
}

/// The object at `path` when it exists and its bits tell of nothing user-set.
Node* untouched_default(std::string_view path) {
  Node* node = nullptr;
  if (path.empty() || CM_CORE_GetObjNodeByUri(path, &node) != CM_OK) return nullptr;
  return node->parent && filter_node(node) ? node : nullptr;
}

Status delete_instance(const Node& node) {
  PathText table;
  if (const Status status = CM_CORE_GetURIByObjNode(node.parent, {table.buffer(), kPathBufferSize}))
    return status;
  return CM_CORE_DelInstance(std::string_view{table.buffer()},
                             CM_UTL_GetInstanceNumber(node.name.view()));
}

/// True when `table` lists `record`, which may be gone; the end of the list counts as listed.
bool lists(const Node& table, const Node* record) {
  const Node* child = table.children;
  while (child && child != record)
    child = child->next;
  return child == record;
}

}  // namespace

std::int32_t find_deleted_default(std::string_view path) {
  const Node* record = matching_record(path);
  return record ? CM_UTL_GetInstanceNumber(record->name.view()) : 0;
}

void record_deleted_default(std::string_view path) {
  if (find_deleted_default(path) != 0) return;
  const std::int32_t number = free_record_number();
  if (number == 0) return;
  PathText uri{kDeletedDefaults};
  if (!uri.append_instance(number)) return;
  // Adding the record deletes one that names it. That deletion is not recorded in turn: records
  // that name records could go on like this without end.
  if (Node* named = matching_record(uri.view())) set(*named, kUserSet);
  if (CM_CORE_AddInstance(kDeletedDefaults, number) != CM_OK) return;
  const PathText deleted{path};
  const bool stored = uri.append("URI") && deleted.fits() &&
                      CM_CORE_SetValueByURI(uri.view(), deleted.view().data()) == CM_OK;
  if (!stored) ignore(CM_CORE_DelInstance(kDeletedDefaults, number));
}

void forget_deleted_default(std::string_view path) {
  if (const std::int32_t number = find_deleted_default(path))
    ignore(CM_CORE_DelInstance(kDeletedDefaults, number));
}

Status CM_CORE_MergeDeletedInstances() {
  const Node* table = record_table();
  if (!table) return CM_INVALID;
  for (const Node* record = table->children; record;) {
    const Node* next = record->next;
    const Node* doomed = untouched_default(recorded_path(*record));
    if (doomed && delete_instance(*doomed) == CM_OK) {
      // A record may name a record: this one may be gone now, or the one behind it, or both.
      if (lists(*table, record))
        next = record->next;
      else if (!lists(*table, next))
        next = table->children;
    }
    record = next;
  }
  return CM_OK;
}

}  // namespace gwconf
