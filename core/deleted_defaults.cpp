#include "core/deleted_defaults.h"

#include <array>
#include <cstdio>

#include "core/instance.h"
#include "core/number.h"
#include "core/path.h"
#include "core/text_view.h"
#include "core/user_set.h"
#include "core/value.h"

namespace gwconf {
namespace {

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
  const Node* table = record_table();
  if (!table) return 0;
  std::int32_t free = 1;
  // A file's own records need not ascend: the next number may have stood further ahead.
  for (std::int32_t tried = 0; tried != free;) {
    tried = free;
    for (const Node* record = table->children; record; record = record->next) {
      if (number_of(*record) < 1) continue;
      const std::int32_t used = to_number(listed_number(*record));
      if (used == 0) return 0;
      if (used == free) ++free;
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

/// True when `table` lists `record`, which may be gone; the end of the list counts as listed.
bool lists(const Node& table, const Node* record) {
  const Node* child = table.children;
  while (child && child != record)
    child = child->next;
  return child == record;
}

/// Whether a record of `recorded` matches the row `name` of the table at `table`.
bool matches_row(std::string_view recorded, std::string_view table, std::string_view name) {
  if (recorded.size() <= table.size()) return begins_with(table, recorded);
  if (!begins_with(recorded, table)) return false;
  recorded.remove_prefix(table.size());
  return begins_with(recorded, name) || begins_with(name, recorded);
}

enum class Deletion { kFailed, kOfNoRecord, kMayTouchRecords };

/// Deletes an instance that a record tells of. The record that matches it need not be searched.
Deletion delete_default(const Node& doomed, std::string_view recorded, const Node* table) {
  OwnedText around;
  if (CM_UTL_Node2URI(doomed.parent, &around) != CM_OK) return Deletion::kFailed;
  const std::int32_t number = number_of(doomed);
  const bool matches = matches_row(recorded, around.view(), InstanceName{number}.view());
  const bool of_record = !matches || doomed.parent == table;
  if (delete_instance(around.view(), number, matches) != CM_OK) return Deletion::kFailed;
  return of_record ? Deletion::kMayTouchRecords : Deletion::kOfNoRecord;
}

}  // namespace

Node* record_table() {
  Node* table = nullptr;
  ignore(CM_CORE_GetObjNodeByUri(kDeletedDefaults, &table));
  return table;
}

std::string_view recorded_path(const Node& record) {
  if (number_of(record) <= 0 || !record.params) return {};
  return record.params->value.view();
}

std::int32_t find_deleted_default(std::string_view path) {
  const Node* record = matching_record(path);
  return record ? CM_UTL_GetInstanceNumber(record->name.view()) : 0;
}

void record_deleted_default(const char* path) {
  if (find_deleted_default(std::string_view{path}) != 0) return;
  const std::int32_t number = free_record_number();
  if (number == 0) return;
  std::array<char, 96> uri;
  const int length = std::snprintf(uri.data(), uri.size(), "%s%d.URI", kDeletedDefaults.data(),
                                   static_cast<int>(number));
  const std::string_view parameter{uri.data(), static_cast<std::size_t>(length)};
  // Adding the record deletes one that names it. That deletion is not recorded in turn: records
  // that name records could go on like this without end.
  const std::string_view record{uri.data(), parameter.size() - std::string_view{"URI"}.size()};
  if (Node* named = matching_record(record)) set(*named, kUserSet);
  if (CM_CORE_AddInstance(kDeletedDefaults, number) != CM_OK) return;
  if (CM_CORE_SetValueByURI(parameter, path) != CM_OK)
    ignore(CM_CORE_DelInstance(kDeletedDefaults, number));
}

bool forget_deleted_default(std::string_view path) {
  const std::int32_t number = find_deleted_default(path);
  return number != 0 && CM_CORE_DelInstance(kDeletedDefaults, number) == CM_OK;
}

Status CM_CORE_MergeDeletedInstances() {
  const Node* table = record_table();
  if (!table) return CM_INVALID;
  for (const Node* record = table->children; record;) {
    const Node* next = record->next;
    const std::string_view recorded = recorded_path(*record);
    const Node* doomed = untouched_default(recorded);
    // A record may name a record: this one may be gone now, or the one behind it, or both.
    if (doomed && delete_default(*doomed, recorded, table) == Deletion::kMayTouchRecords) {
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
