#pragma once

// An object that is no instance and not its parent's first child stays in that parent's list when
// it is moved (CM_CORE_NodeMove): one object lists it and another is its parent. Everywhere else
// the two are the same. These are the few exceptions.

#include "core/tree.h"

namespace gwconf {

/// The object whose child list holds `node`; null for a root.
[[nodiscard]] Node* lister_of(const Node& node);

/// Remembers that `lister` goes on listing `node`, whose parent becomes another. CM_NO_MEMORY, and
/// nothing changed, when there are kStraysMax already: callers move instances, which never stray.
Status remember_stray(Node* node, Node* lister);

inline constexpr std::size_t kStraysMax = 16;

/// Before `doomed` is freed with all that it lists: a stray that stays but has its parent in there
/// is its lister's again.
void release_strays(const Node* doomed);

/// For a record that is freed.
void forget_stray(const Node* node);

}  // namespace gwconf
