#pragma once

#include <cstdint>
#include <string_view>

#include "core/tree.h"

namespace gwconf {

class RecordFilter;

// A table is an object whose children are, in order, the template "0." and the instances in
// ascending number. Its counter is a parameter of the object around it. `table` is always an object
// path, with its dot.

/// Creates instance `n` from the table's template (always that of the top-level chain A.0.B.0.),
/// user-set, in its place, counts it, and forgets that it was deleted. A disabled instance of the
/// same number does not hinder. CM_INVALID: n below 1, not an object path, a path past its bound,
/// no memory for the name; CM_NOT_FOUND: no table or no template; CM_EXISTS; CM_NO_MEMORY. The
/// table is unchanged after a failure. A counter that is not there or has no memory to grow fails
/// nothing.
Status CM_CORE_AddInstance(std::string_view table, std::int32_t n);

/// The same for a merge, which need not go through all records for each row. `records`, which may
/// be null, holds what the records have, and is made anew when that has changed.
Status add_instance(std::string_view table, std::int32_t n, RecordFilter* records);

/// Creates instance `n`, after moving the consecutive run of instances that starts at n up by one.
/// The codes of CM_CORE_AddInstance, and CM_REFUSED when the instances behind n do not ascend. A
/// failure leaves the instances that were already renumbered as they are.
Status CM_CORE_InsertInstance(std::string_view table, std::int32_t n);

/// Deletes instance `n` with its subtree, counts it down, and records it when it came from the
/// defaults. CM_INVALID: n below 1, not an object path, or the root; CM_NOT_FOUND. Without memory a
/// counter or a record stays behind, and the instance is deleted all the same.
Status CM_CORE_DelInstance(std::string_view table, std::int32_t n);

/// The same; with `is_recorded` for an instance that a record is known to match.
Status delete_instance(std::string_view table, std::int32_t n, bool is_recorded);

/// Deletes any object but the root, with its subtree; neither counted nor recorded. CM_INVALID, and
/// nothing changed: not an object path, the root, or an object that its parent does not list;
/// CM_NOT_FOUND.
Status CM_CORE_DelNode(std::string_view path);

/// Closes gaps: renumbers the instances from number `start` on consecutively, `count` of them, or
/// all when `count` is not above 0. CM_REFUSED: start below 1; CM_NO_MEMORY: the instances before
/// stay renumbered; the lookup's code when neither the instance before `start` nor the one after
/// that is there.
Status CM_CORE_InstanceReArrange(std::string_view table, std::int32_t start, std::int32_t count);

/// CM_CORE_AddInstance that creates missing enclosing instances first and takes an existing one for
/// success. CM_INVALID for any failure; enclosing instances that were created stay.
Status CM_CORE_AddInstance_Force(std::string_view path, std::int32_t n);

/// Copies `source` into the cleared record `target`, which has its parent. With `top` 1 it is the
/// instance itself; with 0 the later sibling objects of `source` are copied too, behind `target`.
/// Nested tables start empty. CM_INVALID: none given; CM_NO_MEMORY: `target` holds a part.
Status CM_CORE_SubTreeCopy_Node(const Node* source, Node* target, int top);
/// Copies the parameters from `source` on into the cleared record `target` and new ones behind it,
/// all with the parent of `target`. Short names stay behind. Codes as above.
Status CM_CORE_SubTreeCopy_Para(const Parameter* source, Parameter* target);

/// The number of a row as lists of instances have it: a name has room for five characters there,
/// the last of which becomes the comma.
[[nodiscard]] std::string_view listed_number(const Node& row);

/// Whether an object is a virtual instance, one whose writable bit is clear; and whether it is one
/// or lies in one. Null lies in none.
[[nodiscard]] bool is_virtual_instance(const Node& node);
[[nodiscard]] bool lies_in_virtual_instance(const Node* node);

/// Replaces the table path in `path`, a buffer of kPathBufferSize, by its instance numbers above 0,
/// each with a comma; the empty text for an empty or missing table. Numbers of five digits or more
/// are listed cut to four. CM_INVALID, `path` unchanged: no object around the table, or a list past
/// the buffer. `size` has no effect.
Status CM_CORE_GetInstanceList(char* path, std::int32_t size);

}  // namespace gwconf
