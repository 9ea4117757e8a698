#include "core/counter.h"

#include <limits>

#include "core/number.h"
#include "core/text_view.h"

namespace gwconf {
namespace {

/// True when `name` is `stem` with the counter suffix.
bool counts(std::string_view name, std::string_view stem) {
  return name.size() == stem.size() + kNumberOfEntries.size() && begins_with(name, stem) &&
         is_counter_name(name);
}

/// Which counter names belong to which table names: the whole name, the name less "Device" or
/// "Config", the name less three characters, and the name behind "LAN".
bool is_counter_of(std::string_view name, std::string_view table) {
  const std::size_t length = table.size();
  if (counts(name, table)) return true;
  if (length >= 7 && counts(name, {table.data(), length - 6})) return true;
  if (length >= 4 && counts(name, {table.data(), length - 3})) return true;
  constexpr std::string_view kLan = "LAN";
  if (!begins_with(name, kLan)) return false;
  name.remove_prefix(kLan.size());
  return counts(name, table);
}

}  // namespace

bool is_counter_name(std::string_view name) {
  return ends_in(name, kNumberOfEntries);
}

Parameter* CM_CORE_GetObjOfNumberOfEntries(const Node* tableNode) {
  if (!tableNode->parent) return nullptr;
  std::string_view table = tableNode->name.view();
  const std::size_t dot = table.find('.');
  if (dot == std::string_view::npos) return nullptr;
  table.remove_suffix(table.size() - dot);
  Parameter* param = tableNode->parent->params;
  while (param && !is_counter_of(param->name.view(), table))
    param = param->next;
  return param;
}

Status CM_CORE_NumberOfEntriesModify(const Node* node, unsigned decrement) {
  if (decrement >= 2 || !node->parent) return CM_INVALID;
  Parameter* counter = CM_CORE_GetObjOfNumberOfEntries(node->parent);
  if (!counter) return CM_NOT_FOUND;
  if (!counter->value && !counter->value.assign("")) return CM_INVALID;
  std::int32_t count = to_number(counter->value.view());
  if (decrement == 1)
    count = count > 0 ? count - 1 : count;
  else if (count < std::numeric_limits<std::int32_t>::max())
    ++count;
  return counter->value.assign(DecimalText{count}.view()) ? CM_OK : CM_INVALID;
}

Status CM_CORE_GetNonVirtualNumberOfEntries(const Parameter* counter, std::int32_t* out) {
  *out = 0;
  std::string_view table_name = counter->name.view();
  if (!is_counter_name(table_name) || !counter->parent) return CM_NOT_FOUND;
  table_name.remove_suffix(kNumberOfEntries.size());
  for (const Node* table = counter->parent->children; table; table = table->next) {
    if (!is_segment(table->name.view(), table_name)) continue;
    for (const Node* child = table->children; child; child = child->next)
      if (has(*child, kWritable) && child->name.view() != "0.") ++*out;
    return CM_OK;
  }
  return CM_NOT_FOUND;
}

}  // namespace gwconf
