#include "core/instance.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include "core/counter.h"
#include "core/deleted_defaults.h"
#include "core/number.h"
#include "core/path.h"
#include "core/record_filter.h"
#include "core/row_index.h"
#include "core/strays.h"
#include "core/text_view.h"

namespace gwconf {
namespace {

Node* find_instance(Node* table, std::int32_t n) {
  return CM_CORE_GetChildObjByName(table, InstanceName{n}.view());
}

Status find_instance(std::string_view table, std::int32_t n, Node** out) {
  if (const Status status = CM_CORE_GetObjNodeByUri(table, out)) return status;
  *out = find_instance(*out, n);
  return *out ? CM_OK : CM_NOT_FOUND;
}

/// Renames a row, whose paths must stay within their bound. Its table has no index.
Status rename_row(Node* row, std::int32_t number) {
  const InstanceName name{number};
  OwnedText old = std::move(row->name);
  const bool longer = name.view().size() > old.view().size();
  if (!row->name.assign(name.view())) {
    row->name = std::move(old);
    return CM_NO_MEMORY;
  }
  if (!longer || paths_fit(*row, row->parent)) return CM_OK;
  row->name = std::move(old);
  return CM_INVALID;
}

/// Walks from `first` on and gives the consecutive run of instances that starts at `expected` the
/// next number each.
Status shift_up(Node* first, std::int32_t expected) {
  drop_row_index(first->parent);
  for (Node* node = first; node; node = node->next) {
    const std::int32_t number = number_of(*node);
    if (number > expected) return CM_OK;
    if (number < expected || expected == std::numeric_limits<std::int32_t>::max())
      return CM_REFUSED;
    ++expected;
    if (const Status status = rename_row(node, expected)) return status;
  }
  return CM_OK;
}

struct InstancePlace {
  std::string_view table;
  std::int32_t number = 0;
};

/// Longest instance segment that is recognised around a missing table.
constexpr std::size_t kEnclosingSegmentMax = 95;

/// The innermost instance around a table; its number is 0 when there is none.
InstancePlace enclosing_instance(const InstancePlace& inner) {
  std::string_view path = inner.table;
  while (!path.empty()) {
    path.remove_suffix(1);
    const std::size_t dot = path.rfind('.');
    if (dot == std::string_view::npos) break;
    std::string_view segment = path;
    segment.remove_prefix(dot + 1);
    path.remove_suffix(segment.size());
    if (segment.size() > kEnclosingSegmentMax) continue;
    if (const std::int32_t number = to_number(segment); number > 0) return {path, number};
  }
  return {};
}

/// Links a new, cleared child of `parent` through `link`.
Status add_child(Node* parent, Node** link) {
  if (tree_has_room()) *link = new_node().release();
  if (!*link) return CM_NO_MEMORY;
  (*link)->parent = parent;
  return CM_OK;
}

/// Copies what belongs to one object itself.
Status copy_object(const Node& source, Node* target, bool is_top) {
  if (!target->name.assign(source.name)) return CM_NO_MEMORY;
  target->attributes = source.attributes;
  if (is_top)
    set(*target, kDisabled, false);
  else if (number_of(source) >= 0)
    set(*target, kDisabled);
  if (!source.params) return CM_OK;
  if (tree_has_room()) target->params = new_parameter().release();
  if (!target->params) return CM_NO_MEMORY;
  target->params->parent = target;
  return CM_CORE_SubTreeCopy_Para(source.params, target->params);
}

/// The nearest later sibling of `source` that is copied with it; null for none.
const Node* next_copied(const Node& source) {
  const Node* next = source.next;
  while (next && number_of(*next) >= 1)
    next = next->next;
  return next && next->name && number_of(*next) != 0 ? next : nullptr;
}

}  // namespace

Status CM_CORE_SubTreeCopy_Para(const Parameter* source, Parameter* target) {
  if (!source || !target) return CM_INVALID;
  Node* parent = target->parent;
  for (;;) {
    if (!target->name.assign(source->name) || !target->value.assign(source->value) ||
        !target->enumeration.assign(source->enumeration))
      return CM_NO_MEMORY;
    target->type = source->type;
    target->attributes = source->attributes;
    target->min = source->min;
    target->max = source->max;
    target->getter = source->getter;
    target->parent = parent;
    source = source->next;
    if (!source) return CM_OK;
    if (!tree_has_room()) return CM_NO_MEMORY;
    target->next = new_parameter().release();
    target = target->next;
    if (!target) return CM_NO_MEMORY;
  }
}

Status CM_CORE_SubTreeCopy_Node(const Node* source, Node* target, int top) {
  if (!source || !target) return CM_INVALID;
  for (std::size_t depth = 0;;) {
    const bool is_top = depth == 0 && top == 1;
    if (const Status status = copy_object(*source, target, is_top)) return status;
    // A table's first child is its template or an instance: the copy of a table starts empty.
    if (const Node* child = source->children; child && number_of(*child) < 0) {
      if (const Status status = add_child(target, &target->children)) return status;
      source = child;
      target = target->children;
      ++depth;
      continue;
    }
    // On with the next sibling, of this object or of one around it.
    const Node* sibling = is_top ? nullptr : next_copied(*source);
    while (!sibling) {
      if (depth == 0) return CM_OK;
      source = lister_of(*source);
      target = target->parent;
      --depth;
      if (depth > 0 || top != 1) sibling = next_copied(*source);
    }
    if (const Status status = add_child(target->parent, &target->next)) return status;
    source = sibling;
    target = target->next;
  }
}

Status CM_CORE_AddInstance(std::string_view table, std::int32_t n) {
  return add_instance(table, n, nullptr);
}

Status add_instance(std::string_view table, std::int32_t n, RecordFilter* records) {
  if (n < 1 || CM_UTL_UriIsObjNode(table) != CM_OK) return CM_INVALID;
  Node* table_node = nullptr;
  if (const Status status = CM_CORE_GetObjNodeByUri(table, &table_node)) return status;
  Node* model = nullptr;
  if (const Status status = find_template(table, &model)) return status;
  const InstanceName name{n};
  const Node* existing = find_instance(table_node, n);
  if (existing && !has(*existing, kDisabled)) return CM_EXISTS;

  NodePtr instance = new_node();
  if (!instance) return CM_NO_MEMORY;
  instance->parent = table_node;
  if (const Status status = CM_CORE_SubTreeCopy_Node(model, instance.get(), 1)) return status;
  if (!instance->name.assign(name.view())) return CM_INVALID;
  if (!paths_fit(*instance, table_node)) return CM_INVALID;
  OwnedText path;
  if (const Status status = CM_UTL_Node2URI(instance.get(), &path)) return status;

  Node* added = instance.release();
  link_row(table_node, added, n);
  set(*added, kUserSet);
  // Counted before anything is forgotten: a record that matches its own path takes itself away.
  ignore(CM_CORE_NumberOfEntriesModify(added, 0));  // not every table has a counter
  if (records && !records->may_match(path.view())) return CM_OK;
  if (forget_deleted_default(path.view()) && records) *records = RecordFilter{};
  return CM_OK;
}

Status CM_CORE_InsertInstance(std::string_view table, std::int32_t n) {
  if (n < 1 || CM_UTL_UriIsObjNode(table) != CM_OK) return CM_INVALID;
  Node* first = nullptr;
  if (find_instance(table, n, &first) == CM_OK) {
    if (const Status status = shift_up(first, n)) return status;
  }
  return CM_CORE_AddInstance(table, n);
}

Status CM_CORE_DelInstance(std::string_view table, std::int32_t n) {
  return delete_instance(table, n, false);
}

Status delete_instance(std::string_view table, std::int32_t n, bool is_recorded) {
  if (n < 1 || CM_UTL_UriIsObjNode(table) != CM_OK) return CM_INVALID;
  Node* node = nullptr;
  if (const Status status = find_instance(table, n, &node)) return status;
  if (!node->parent) return CM_INVALID;
  ignore(CM_CORE_NumberOfEntriesModify(node, 1));  // not every table has a counter
  if (!is_recorded && !has(*node, kUserSet)) {
    OwnedText path;
    if (CM_UTL_Node2URI(node, &path) == CM_OK) record_deleted_default(path.c_str());
    // The new record pushes out an older one that names it, which may have held this instance.
    if (find_instance(table, n, &node) != CM_OK) return CM_OK;
  }
  release_strays(node);
  return CM_UTL_FreeNode_KeepInstance(node, 1);
}

Status CM_CORE_DelNode(std::string_view path) {
  Node* node = nullptr;
  if (const Status status = CM_CORE_GetObjNodeByUri(path, &node)) return status;
  if (!node->parent) return CM_INVALID;
  if (const Status status = CM_UTL_RebuildStructureBeforeNodeRemove(node)) return status;
  release_strays(node);
  return CM_UTL_FreeNode(node);
}

Status CM_CORE_InstanceReArrange(std::string_view table, std::int32_t start, std::int32_t count) {
  if (start < 1) return CM_REFUSED;
  std::int32_t expected = std::max(start - 1, 1);
  Node* node = nullptr;
  if (find_instance(table, expected, &node) != CM_OK) {
    if (const Status status = find_instance(table, expected + 1, &node)) return status;
  }
  drop_row_index(node->parent);
  for (std::int32_t done = 0; node && (count <= 0 || done < count); ++done) {
    if (CM_CORE_CheckIfInstance(node->name.view()) != CM_OK) break;
    if (number_of(*node) != expected) {
      if (const Status status = rename_row(node, expected)) return status;
    }
    if (expected == std::numeric_limits<std::int32_t>::max()) break;
    ++expected;
    node = node->next;
  }
  return CM_OK;
}

Status CM_CORE_AddInstance_Force(std::string_view path, std::int32_t n) {
  if (n < 1) return CM_INVALID;
  const InstancePlace wanted{path, n};
  const auto added = [](const InstancePlace& place) {
    const Status status = CM_CORE_AddInstance(place.table, place.number);
    return status == CM_OK || status == CM_EXISTS;
  };
  // Up to the innermost instance that is there or can be added, and back from there.
  std::size_t missing = 0;
  for (InstancePlace place = wanted; !added(place); ++missing) {
    place = enclosing_instance(place);
    if (place.number < 1) return CM_INVALID;
  }
  for (; missing > 0; --missing) {
    InstancePlace place = wanted;
    for (std::size_t above = 1; above < missing; ++above)
      place = enclosing_instance(place);
    if (!added(place)) return CM_INVALID;
  }
  return CM_OK;
}

bool is_virtual_instance(const Node& node) {
  return CM_CORE_CheckIfInstance(node.name.view()) == CM_OK && !has(node, kWritable);
}

bool lies_in_virtual_instance(const Node* node) {
  while (node && !is_virtual_instance(*node))
    node = node->parent;
  return node != nullptr;
}

std::string_view listed_number(const Node& row) {
  constexpr std::size_t kEntryMax = 5;
  const std::string_view name = row.name.view();
  return {name.data(), std::min(name.size(), kEntryMax) - 1};
}

Status CM_CORE_GetInstanceList(char* path, std::int32_t /*size*/) {
  std::string_view parent_path{path};
  if (parent_path.empty()) return CM_INVALID;
  parent_path.remove_suffix(1);
  const std::size_t dot = parent_path.rfind('.');
  if (dot == std::string_view::npos) return CM_INVALID;
  const std::string_view table_name{path + dot + 1, parent_path.size() - dot - 1};
  parent_path.remove_suffix(table_name.size());
  Node* parent = nullptr;
  if (CM_CORE_GetObjNodeByUri(parent_path, &parent) != CM_OK) return CM_INVALID;

  const Node* table = nullptr;
  for (const Node* child = parent->children; child && !table; child = child->next) {
    if (is_segment(child->name.view(), table_name)) table = child;
  }
  PathText list;
  for (const Node* child = table ? table->children : nullptr; child; child = child->next) {
    if (number_of(*child) < 1) continue;
    if (!list.append(listed_number(*child)) || !list.append(",")) return CM_INVALID;
  }
  std::memcpy(path, list.buffer(), list.view().size() + 1);
  return CM_OK;
}

}  // namespace gwconf
