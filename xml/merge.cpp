#include "xml/merge.h"

#include <cstddef>

#include "core/deleted_defaults.h"
#include "core/heap.h"
#include "core/instance.h"
#include "core/number.h"
#include "core/path.h"
#include "core/record_filter.h"

namespace gwconf {
namespace {

/// Finds the parameters of an object by name, the first of each. A long list is put into a hash
/// table; without memory for that every search walks the list.
class ParameterFinder {
 public:
  explicit ParameterFinder(Node* object) : object_{object} {
    std::size_t count = 0;
    for (const Parameter* param = object->params; param; param = param->next)
      ++count;
    if (count <= kShortList) return;
    std::size_t size = 2 * kShortList;
    while (size < 2 * count)
      size *= 2;
    slots_ = heap_zeroed(size * sizeof(void*));
    if (!slots_) return;
    mask_ = size - 1;
    for (Parameter* param = object->params; param; param = param->next) {
      Parameter** slot = slot_of(param->name.view());
      if (!*slot) *slot = param;
    }
  }

  /// Null when there is none.
  [[nodiscard]] Parameter* find(std::string_view name) const {
    return slots_ ? *slot_of(name) : CM_CORE_GetChildParaByName(object_, name);
  }

 private:
  static constexpr std::size_t kShortList = 64;

  /// The slot of that name, or the empty one where it belongs.
  [[nodiscard]] Parameter** slot_of(std::string_view name) const {
    auto** slots = reinterpret_cast<Parameter**>(slots_.get());
    std::size_t at = 2166136261U;
    for (const char c : name)
      at = (at ^ static_cast<unsigned char>(c)) * 16777619U;
    while (slots[at & mask_] && slots[at & mask_]->name.view() != name)
      ++at;
    return &slots[at & mask_];
  }

  Node* object_;
  HeapBytes slots_;
  std::size_t mask_ = 0;
};

void merge_values(const Node& saved, Node* live) {
  if (!saved.params) return;
  const ParameterFinder parameters{live};
  for (const Parameter* param = saved.params; param; param = param->next) {
    if (!param->value) continue;
    Parameter* target = parameters.find(param->name.view());
    if (target && target->value.assign(param->value)) set(*target, kUserSet);
  }
}

/// One merge. It walks the saved tree in a loop, whatever its depth, and keeps the live object that
/// the saved one's parent stands for, so that no path is followed from the root for every row.
class Merge {
 public:
  /// Merges `saved` with its later siblings and everything below them.
  void run(const Node* saved);

 private:
  /// Where the walk goes on from a node.
  enum class Next { kBelow, kBeside, kAbove };

  [[nodiscard]] Next take(const Node& saved);
  [[nodiscard]] Node* find_live(const Node& saved);
  [[nodiscard]] Node* add_row(const Node& saved);

  RecordFilter records_;
  Node* live_ = nullptr;  ///< stands for the node taken last
  Node* around_ =
      nullptr;  ///< stands for the parent of the next one; null: to be found by its path
};

Node* Merge::find_live(const Node& saved) {
  if (!around_ && saved.parent) ignore(locate_node_in_root(saved.parent, &around_));
  if (around_) return descend(around_, saved.name.view());
  Node* live = nullptr;
  ignore(locate_node_in_root(&saved, &live));
  return live;
}

/// Adds to the live tree the instance that `saved` is. Null when that is not possible.
Node* Merge::add_row(const Node& saved) {
  OwnedText table;
  if (!saved.parent || CM_UTL_Node2URI(saved.parent, &table) != CM_OK) return nullptr;
  const std::int32_t number = to_number(saved.name.view());
  if (add_instance(table.view(), number, &records_) != CM_OK) return nullptr;
  around_ = nullptr;  // a record that the new row made obsolete may have gone, with all it held
  return find_live(saved);
}

Merge::Next Merge::take(const Node& saved) {
  if (!saved.name) return Next::kAbove;
  live_ = find_live(saved);
  if (!live_) {
    if (CM_CORE_CheckIfInstance(saved.name.view()) != CM_OK) return Next::kBeside;
    live_ = add_row(saved);
    // Without its instance neither this row nor the rows behind it are merged.
    if (!live_) return Next::kAbove;
  }
  merge_values(saved, live_);
  if (live_->parent && live_->parent == record_table()) records_.add(recorded_path(*live_));
  return saved.children ? Next::kBelow : Next::kBeside;
}

void Merge::run(const Node* saved) {
  const Node* top = saved ? saved->parent : nullptr;
  while (saved) {
    Next next = take(*saved);
    if (next == Next::kBelow) {
      around_ = live_;
      saved = saved->children;
      continue;
    }
    while (next == Next::kAbove || !saved->next) {
      saved = saved->parent;
      if (saved == top) return;
      around_ = nullptr;
      next = Next::kBeside;
    }
    saved = saved->next;
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
  Merge{}.run(saved);
  return CM_OK;
}

}  // namespace gwconf
