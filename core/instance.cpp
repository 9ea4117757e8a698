#include "core/instance.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "core/deleted_defaults.h"
#include "core/number.h"
#include "core/path.h"
#include "core/text_view.h"

namespace gwconf {
namespace {

std::int32_t number_of(const Node& node) {
  return CM_UTL_GetInstanceNumber(node.name.view());
}

Node* find_instance(Node* table, std::int32_t n) {
  return CM_CORE_GetChildObjByName(table, InstanceName{n}.view());
}

Status find_instance(std::string_view table, std::int32_t n, Node** out) {
  if (const Status status = CM_CORE_GetObjNodeByUri(table, out)) return status;
  *out = find_instance(*out, n);
  return *out ? CM_OK : CM_NOT_FOUND;
}

/// True when `name` is the segment of an object called `stem`.
bool is_segment(std::string_view name, std::string_view stem) {
  return name.size() == stem.size() + 1 && begins_with(name, stem) && name.ends_with('.');
}

/// The template of `table`, which is looked for in the top-level template chain.
Status find_template(std::string_view table, Node** out) {
  PathText path{table};
  if (!path.fits() || !path.append("0.")) return CM_INVALID;
  CM_CORE_GetModelUri(path.buffer());
  return CM_CORE_GetObjNodeByUri(std::string_view{path.buffer()}, out);
}

void link_in_order(Node* table, Node* instance, std::int32_t n) {
  Node** link = &table->children;
  while (*link && number_of(**link) <= n)
    link = &(*link)->next;
  instance->next = *link;
  *link = instance;
}

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

/// Whether an object was ever moved that stayed in its old parent's list (CM_CORE_NodeMove).
bool strays_exist = false;

/// Whether `wanted` is `lister` or listed somewhere below it. For all but strays lies_in says the
/// same, faster.
bool is_listed_in(const Node* lister, const Node* wanted) {
  if (lister == wanted) return true;
  for (const Node* child = lister->children; child; child = child->next)
    if (is_listed_in(child, wanted)) return true;
  return false;
}

/// Links the strays below `lister` to the objects that list them: those whose parent lies in
/// `doomed`, or all.
void settle_strays(Node* lister, const Node* doomed) {
  for (Node* child = lister->children; child; child = child->next) {
    if (child->parent != lister && (!doomed || lies_in(child->parent, doomed)))
      child->parent = lister;
    settle_strays(child, doomed);
  }
}

/// Before `doomed` is freed: no object that stays may keep its parent there.
void release_strays(Node* doomed) {
  if (!strays_exist) return;
  settle_strays(doomed, nullptr);
  settle_strays(cml_root, doomed);
}

/// Walks from `first` on and gives the consecutive run of instances that starts at `expected` the
/// next number each.
Status shift_up(Node* first, std::int32_t expected) {
  for (Node* node = first; node; node = node->next) {
    const std::int32_t number = number_of(*node);
    if (number > expected) return CM_OK;
    if (number < expected || expected == std::numeric_limits<std::int32_t>::max())
      return CM_REFUSED;
    ++expected;
    if (!node->name.assign(InstanceName{expected}.view())) return CM_NO_MEMORY;
  }
  return CM_OK;
}

/// `path` cut back to its innermost enclosing instance: the table path and the number of that
/// instance.
struct EnclosingInstance {
  std::string_view table;
  std::int32_t number = 0;
};

/// Longest instance segment that is recognised around a missing table.
constexpr std::size_t kEnclosingSegmentMax = 95;

EnclosingInstance enclosing_instance(std::string_view path) {
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

/// True when `name` is `stem` with the counter suffix.
bool counts(std::string_view name, std::string_view stem) {
  return name.size() == stem.size() + kNumberOfEntries.size() && begins_with(name, stem) &&
         ends_in(name, kNumberOfEntries);
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
    target->next = new_parameter().release();
    target = target->next;
    if (!target) return CM_NO_MEMORY;
  }
}

Status CM_CORE_SubTreeCopy_Node(const Node* source, Node* target, int top) {
  if (!source || !target) return CM_INVALID;
  Node* parent = target->parent;
  for (;;) {
    if (!target->name.assign(source->name)) return CM_NO_MEMORY;
    target->attributes = source->attributes;
    if (top == 1)
      set(*target, kDisabled, false);
    else if (number_of(*source) >= 0)
      set(*target, kDisabled);

    if (source->params) {
      target->params = new_parameter().release();
      if (!target->params) return CM_NO_MEMORY;
      target->params->parent = target;
      if (const Status status = CM_CORE_SubTreeCopy_Para(source->params, target->params))
        return status;
    }
    // A table's first child is its template or an instance: the copy of a table starts empty.
    if (const Node* child = source->children; child && number_of(*child) < 0) {
      target->children = new_node().release();
      if (!target->children) return CM_NO_MEMORY;
      target->children->parent = target;
      if (const Status status = CM_CORE_SubTreeCopy_Node(child, target->children, 0)) return status;
    }
    if (top == 1) return CM_OK;

    do
      source = source->next;
    while (source && number_of(*source) >= 1);
    if (!source || !source->name || number_of(*source) == 0) return CM_OK;
    target->next = new_node().release();
    target = target->next;
    if (!target) return CM_NO_MEMORY;
    target->parent = parent;
  }
}

Status CM_CORE_AddInstance(std::string_view table, std::int32_t n) {
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
  PathText path;
  if (const Status status =
          CM_CORE_GetURIByObjNode(instance.get(), {path.buffer(), kPathBufferSize}))
    return status;

  Node* added = instance.release();
  link_in_order(table_node, added, n);
  set(*added, kUserSet);
  // Counted before anything is forgotten: a record that matches its own path takes itself away.
  ignore(CM_CORE_NumberOfEntriesModify(added, 0));  // not every table has a counter
  forget_deleted_default(std::string_view{path.buffer()});
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
  if (n < 1 || CM_UTL_UriIsObjNode(table) != CM_OK) return CM_INVALID;
  Node* node = nullptr;
  if (const Status status = find_instance(table, n, &node)) return status;
  if (!node->parent) return CM_INVALID;
  ignore(CM_CORE_NumberOfEntriesModify(node, 1));  // not every table has a counter
  if (!has(*node, kUserSet)) {
    PathText path;
    if (CM_CORE_GetURIByObjNode(node, {path.buffer(), kPathBufferSize}) == CM_OK)
      record_deleted_default(std::string_view{path.buffer()});
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
  for (std::int32_t done = 0; node && (count <= 0 || done < count); ++done) {
    if (CM_CORE_CheckIfInstance(node->name.view()) != CM_OK) break;
    if (number_of(*node) != expected && !node->name.assign(InstanceName{expected}.view()))
      return CM_NO_MEMORY;
    if (expected == std::numeric_limits<std::int32_t>::max()) break;
    ++expected;
    node = node->next;
  }
  return CM_OK;
}

Status CM_CORE_NodeMove(Node* newParent, Node* node) {
  Node* old_parent = node->parent;
  if (!old_parent || lies_in(newParent, node)) return CM_INVALID;
  if (strays_exist && is_listed_in(node, newParent)) return CM_INVALID;
  if (old_parent == newParent) return CM_OK;
  Node* before = nullptr;
  for (Node* child = old_parent->children; child != node; child = child->next) {
    if (!child) return CM_INVALID;
    before = child;
  }
  ignore(CM_CORE_NumberOfEntriesModify(node, 1));  // not every table has a counter
  if (const Status status = CM_UTL_RebuildStructureBeforeNodeRemove(node)) return status;
  if (number_of(*node) >= 1) {
    link_behind_nearest(newParent, node);
  } else {
    // What is no instance has no place by number. Behind a former sibling it stays in the old list.
    strays_exist = strays_exist || before;
    Node** link = before ? &before->next : &newParent->children;
    node->next = *link;
    *link = node;
  }
  node->parent = newParent;
  ignore(CM_CORE_NumberOfEntriesModify(node, 0));
  return CM_OK;
}

Status CM_CORE_AddInstance_Force(std::string_view path, std::int32_t n) {
  if (n < 1) return CM_INVALID;
  const auto added = [path, n] {
    const Status status = CM_CORE_AddInstance(path, n);
    return status == CM_OK || status == CM_EXISTS;
  };
  if (added()) return CM_OK;
  const EnclosingInstance around = enclosing_instance(path);
  if (around.number < 1) return CM_INVALID;
  if (const Status status = CM_CORE_AddInstance_Force(around.table, around.number)) return status;
  return added() ? CM_OK : CM_INVALID;
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
  // A listed name has room for five characters, the last of which becomes the comma.
  constexpr std::size_t kEntryMax = 5;
  PathText list;
  for (const Node* child = table ? table->children : nullptr; child; child = child->next) {
    if (number_of(*child) < 1) continue;
    const std::string_view name = child->name.view();
    const std::string_view shown{name.data(), std::min(name.size(), kEntryMax) - 1};
    if (!list.append(shown) || !list.append(",")) return CM_INVALID;
  }
  std::memcpy(path, list.buffer(), list.view().size() + 1);
  return CM_OK;
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
  if (!ends_in(table_name, kNumberOfEntries) || !counter->parent) return CM_NOT_FOUND;
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
