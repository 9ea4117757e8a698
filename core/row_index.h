#pragma once

// Long tables are searched by number in an array beside the child list, instead of row by row. A
// search that has passed kLongList children makes the array, if the list is fit for it: behind its
// first few children there are only rows, each named by its number alone and in ascending order.
// Everything here is a shortcut: a table without an index, for want of memory too, is searched row
// by row. A few tables have one at a time, those used last.
//
// Whoever changes a child list, or the name of a row, by other means than link_row and unlink_row
// says so first with drop_row_index.

#include <cstdint>
#include <string_view>

#include "core/tree.h"

namespace gwconf {

inline constexpr int kLongList = 32;

/// The first child of that name; null when there is none.
[[nodiscard]] Node* find_child(Node* parent, std::string_view name);

/// Links `row`, which is numbered `n`, before the first child with a greater number.
void link_row(Node* table, Node* row, std::int32_t n);

/// Unlinks `child` and clears its `next`. False, and nothing changed, when `parent` does not list
/// it.
[[nodiscard]] bool unlink_child(Node* parent, Node* child);

/// Forgets the index of a table, if there is one. Null is allowed.
void drop_row_index(const Node* table);

/// Whether every index says what its table's list says. For tests.
[[nodiscard]] bool row_indexes_agree();
/// Whether `table` has an index. For tests.
[[nodiscard]] bool has_row_index(const Node* table);

}  // namespace gwconf
