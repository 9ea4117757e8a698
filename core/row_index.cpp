#include "core/row_index.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

#include "core/heap.h"
#include "core/number.h"
#include "core/path.h"

namespace gwconf {
namespace {

struct Row {
  std::int32_t number;
  Node* node;
};

/// The number of a row's name; 0 for any name but a number above 0, without leading zeros, and a
/// dot.
std::int32_t row_number(std::string_view name) {
  const std::int32_t number = to_number(name);
  return number > 0 && name == InstanceName{number}.view() ? number : 0;
}

struct RowIndex {
  const Node* table = nullptr;
  Node* lead = nullptr;  // the last child before the rows; null when they come first
  HeapBytes memory;
  std::size_t count = 0;
  std::size_t capacity = 0;

  [[nodiscard]] Row* begin() const { return reinterpret_cast<Row*>(memory.get()); }
  [[nodiscard]] Row* end() const { return begin() + count; }
  /// The first row with a number not below `number`.
  [[nodiscard]] Row* at_least(std::int32_t number) const {
    return std::lower_bound(begin(), end(), number,
                            [](const Row& row, std::int32_t n) { return row.number < n; });
  }
  [[nodiscard]] Row* find(std::int32_t number) const {
    Row* row = at_least(number);
    return row != end() && row->number == number ? row : nullptr;
  }
  /// What links to a row: the `next` of the child before it, or the list's head.
  [[nodiscard]] Node** link_to(const Row* row, Node* parent) const {
    Node* before = row == begin() ? lead : row[-1].node;
    return before ? &before->next : &parent->children;
  }
};

/// The one used last comes first.
std::array<RowIndex, 8> indexes;

RowIndex* existing_index(const Node* table) {
  for (RowIndex& index : indexes) {
    if (index.table != table) continue;
    std::rotate(indexes.data(), &index, &index + 1);
    return &indexes.front();
  }
  return nullptr;
}

/// Makes room for one row more. False, and nothing changed, without memory.
bool reserve(RowIndex* index, std::size_t capacity) {
  if (capacity <= index->capacity) return true;
  HeapBytes memory{static_cast<char*>(heap_allocate(capacity * sizeof(Row)))};
  if (!memory) return false;
  if (index->count > 0) std::memcpy(memory.get(), index->memory.get(), index->count * sizeof(Row));
  index->memory = std::move(memory);
  index->capacity = capacity;
  return true;
}

/// The last child before the rows, and how many rows there are; none when the list is not fit.
struct Shape {
  Node* lead = nullptr;
  std::size_t rows = 0;
};

Shape shape_of(const Node* table) {
  Shape shape;
  int leading = 0;
  std::int32_t last = 0;
  for (Node* child = table->children; child; child = child->next) {
    const std::string_view name = child->name.view();
    const std::int32_t number = row_number(name);
    if (number == 0 && shape.rows == 0 && ++leading < kLongList &&
        CM_UTL_GetInstanceNumber(name) < 1) {
      shape.lead = child;
      continue;
    }
    if (number <= last) return {};
    last = number;
    ++shape.rows;
  }
  return shape;
}

RowIndex* make_index(const Node* table) {
  const Shape shape = shape_of(table);
  if (shape.rows == 0) return nullptr;
  RowIndex made;
  if (!reserve(&made, shape.rows + shape.rows / 4)) return nullptr;
  made.table = table;
  made.lead = shape.lead;
  Node* child = shape.lead ? shape.lead->next : table->children;
  for (; child; child = child->next)
    made.begin()[made.count++] = {row_number(child->name.view()), child};
  indexes.back() = std::move(made);
  return existing_index(table);
}

void insert_row(RowIndex* index, Row* place, Node* node, std::int32_t number) {
  const auto at = place - index->begin();
  // A second row of the same number, and one that there is no memory for, end the index.
  if ((place != index->end() && place->number == number) || row_number(node->name.view()) == 0 ||
      (index->count == index->capacity && !reserve(index, index->capacity * 2))) {
    *index = {};
    return;
  }
  Row* inserted = index->begin() + at;
  std::copy_backward(inserted, index->end(), index->end() + 1);
  *inserted = {number, node};
  ++index->count;
}

}  // namespace

Node* find_child(Node* parent, std::string_view name) {
  int passed = 0;
  for (Node* child = parent->children; child; child = child->next) {
    if (child->name.view() == name) return child;
    if (++passed != kLongList) continue;
    const RowIndex* index = existing_index(parent);
    if (!index) index = make_index(parent);
    if (!index) continue;
    const std::int32_t number = row_number(name);
    const Row* row = number > 0 ? index->find(number) : nullptr;
    return row ? row->node : nullptr;
  }
  return nullptr;
}

void link_row(Node* table, Node* row, std::int32_t n) {
  Node** link = &table->children;
  if (RowIndex* index = existing_index(table)) {
    Row* place = index->at_least(n);
    if (place != index->end() && place->number == n) ++place;
    link = index->link_to(place, table);
    row->next = *link;
    *link = row;
    insert_row(index, index->at_least(n), row, n);
    return;
  }
  while (*link && CM_UTL_GetInstanceNumber((*link)->name.view()) <= n)
    link = &(*link)->next;
  row->next = *link;
  *link = row;
}

bool unlink_child(Node* parent, Node* child) {
  Node** link = &parent->children;
  if (RowIndex* index = existing_index(parent)) {
    Row* row = index->find(row_number(child->name.view()));
    if (row && row->node == child) {
      link = index->link_to(row, parent);
      std::copy(row + 1, index->end(), row);
      --index->count;
    } else {
      *index = {};
    }
  }
  while (*link && *link != child)
    link = &(*link)->next;
  if (!*link) return false;
  *link = child->next;
  child->next = nullptr;
  return true;
}

void drop_row_index(const Node* table) {
  for (RowIndex& index : indexes)
    if (table && index.table == table) index = {};
}

bool row_indexes_agree() {
  return std::all_of(indexes.begin(), indexes.end(), [](const RowIndex& index) {
    if (!index.table) return true;
    const Shape shape = shape_of(index.table);
    if (shape.rows != index.count || shape.lead != index.lead) return false;
    const Node* child = shape.lead ? shape.lead->next : index.table->children;
    for (const Row& row : index) {
      if (row.node != child || row.number != row_number(child->name.view())) return false;
      child = child->next;
    }
    return true;
  });
}

bool has_row_index(const Node* table) {
  return std::any_of(indexes.begin(), indexes.end(),
                     [table](const RowIndex& index) { return index.table == table; });
}

}  // namespace gwconf
