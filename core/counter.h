#pragma once

// The counter of a table: a parameter of the object around the table, named after it.

#include <cstdint>
#include <string_view>

#include "core/tree.h"

namespace gwconf {

inline constexpr std::string_view kNumberOfEntries = "NumberOfEntries";

/// Whether a parameter of that name counts something.
[[nodiscard]] bool is_counter_name(std::string_view name);

/// The counter of a table, the tree's own, or none.
[[nodiscard]] Parameter* CM_CORE_GetObjOfNumberOfEntries(const Node* tableNode);

/// Counts the table of `node` up (0) or down (1), never below 0. CM_INVALID: another `decrement`,
/// no parent, or no memory (the old value stays); CM_NOT_FOUND: the table has no counter.
Status CM_CORE_NumberOfEntriesModify(const Node* node, unsigned decrement);

/// The number of real instances of the table that `counter` counts, which is looked for beside the
/// counter only. CM_NOT_FOUND: not a counter, or no such table; `out` is then 0.
Status CM_CORE_GetNonVirtualNumberOfEntries(const Parameter* counter, std::int32_t* out);

}  // namespace gwconf
