#pragma once

#include <string_view>

#include "core/tree.h"

namespace gwconf {

/// One short name and the parameter it stands for.
struct ShortNameEntry {
  OwnedText key;
  Parameter* value = nullptr;  ///< the tree's own
  ShortNameEntry* next = nullptr;
};

inline constexpr int kShortNameBuckets = 10;

/// The index that the dump command lists: one chain a bucket. No loader fills it.
extern ShortNameEntry* hashroot_sname[kShortNameBuckets];

// `table` has `buckets` heads, each none or the first entry of a chain. With `buckets` below 1 the
// operations on a whole table find nothing to do; to ask for the bucket of a key in a table of 0
// buckets ends the process.

/// The bucket of `key`: the sum of its characters as signed bytes, modulo `buckets`. Below 0 for a
/// key that is not ASCII and sums up to less than 0. `table` has no effect.
[[nodiscard]] int CM_HASH_GetIndex(ShortNameEntry* const* table, int buckets, std::string_view key);

/// A new entry of the caller's, with a copy of `key`, in `out`. CM_INVALID when there is no memory;
/// `out` is then not changed.
Status CM_HASH_Create(ShortNameEntry** out, std::string_view key, Parameter* value);

/// Puts a new entry first in the bucket of `key`, where it hides an older one of the same key from
/// lookups. CM_INVALID, and nothing changed, when there is no memory or the key has no bucket.
Status CM_HASH_Insert(ShortNameEntry** table, int buckets, std::string_view key, Parameter* value);

/// The value of the first entry of exactly that key, in `out`; CM_NOT_FOUND, `out` cleared, when
/// there is none.
Status CM_HASH_Lookup(ShortNameEntry* const* table, int buckets, std::string_view key,
                      Parameter** out);

/// Forgets all entries without freeing them. Always CM_OK.
Status CM_HASH_Clear(ShortNameEntry** table, int buckets);

/// Frees all entries, not the parameters. The heads stay as they are: CM_HASH_Clear before the
/// table is used again. Always CM_OK.
Status CM_HASH_Free(ShortNameEntry** table, int buckets);

/// Lists every bucket with keys and the values' addresses on standard error. Always CM_OK.
Status CM_HASH_Dump(ShortNameEntry* const* table, int buckets);

/// Lists every bucket with keys and the current values of their parameters on standard error,
/// between two banner lines. Always CM_OK.
Status CM_HASH_DumpSName(ShortNameEntry* const* table, int buckets);

}  // namespace gwconf
