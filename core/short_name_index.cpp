#include "core/short_name_index.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

namespace gwconf {

ShortNameEntry* hashroot_sname[kShortNameBuckets] = {};

namespace {

struct FreeEntry {
  void operator()(ShortNameEntry* entry) const {
    entry->~ShortNameEntry();
    heap_release(entry);
  }
};
using EntryPtr = std::unique_ptr<ShortNameEntry, FreeEntry>;

const char* value_text(const ShortNameEntry& entry) {
  return entry.value ? entry.value->value.c_str() : "";
}

}  // namespace

int CM_HASH_GetIndex(ShortNameEntry* const* /*table*/, int buckets, std::string_view key) {
  if (buckets == 0) std::abort();
  std::int64_t sum = 0;
  for (const char c : key)
    sum += static_cast<signed char>(c);
  return static_cast<int>(sum % buckets);
}

Status CM_HASH_Create(ShortNameEntry** out, std::string_view key, Parameter* value) {
  void* memory = heap_allocate(sizeof(ShortNameEntry));
  if (!memory) return CM_INVALID;
  EntryPtr entry{new (memory) ShortNameEntry{}};
  if (!entry->key.assign(key)) return CM_INVALID;
  entry->value = value;
  *out = entry.release();
  return CM_OK;
}

Status CM_HASH_Insert(ShortNameEntry** table, int buckets, std::string_view key, Parameter* value) {
  const int index = CM_HASH_GetIndex(table, buckets, key);
  if (index < 0) return CM_INVALID;
  ShortNameEntry* entry = nullptr;
  if (const Status status = CM_HASH_Create(&entry, key, value)) return status;
  entry->next = table[index];
  table[index] = entry;
  return CM_OK;
}

Status CM_HASH_Lookup(ShortNameEntry* const* table, int buckets, std::string_view key,
                      Parameter** out) {
  *out = nullptr;
  const int index = CM_HASH_GetIndex(table, buckets, key);
  if (index < 0) return CM_NOT_FOUND;
  for (const ShortNameEntry* entry = table[index]; entry; entry = entry->next) {
    if (entry->key.view() != key) continue;
    *out = entry->value;
    return CM_OK;
  }
  return CM_NOT_FOUND;
}

Status CM_HASH_Clear(ShortNameEntry** table, int buckets) {
  for (int bucket = 0; bucket < buckets; ++bucket)
    table[bucket] = nullptr;
  return CM_OK;
}

Status CM_HASH_Free(ShortNameEntry** table, int buckets) {
  for (int bucket = buckets - 1; bucket >= 0; --bucket)
    for (ShortNameEntry* entry = table[bucket]; entry;) {
      const EntryPtr first{entry};
      entry = entry->next;
    }
  return CM_OK;
}

Status CM_HASH_Dump(ShortNameEntry* const* table, int buckets) {
  for (int bucket = 0; bucket < buckets; ++bucket) {
    std::fprintf(stderr, "Print Hash index %d\n", bucket);
    for (const ShortNameEntry* entry = table[bucket]; entry; entry = entry->next)
      std::fprintf(stderr, "\tkey = %s, value = %d\n", entry->key.c_str(),
                   static_cast<int>(reinterpret_cast<std::intptr_t>(entry->value)));
  }
  return CM_OK;
}

Status CM_HASH_DumpSName(ShortNameEntry* const* table, int buckets) {
  std::fputs("\n**************Print short name list Start************\n", stderr);
  for (int bucket = 0; bucket < buckets; ++bucket) {
    std::fprintf(stderr, "Hash index : %d\n", bucket);
    for (const ShortNameEntry* entry = table[bucket]; entry; entry = entry->next)
      std::fprintf(stderr, "\t %s = %s\n", entry->key.c_str(), value_text(*entry));
  }
  std::fputs("\n**************Print short name list End*************\n", stderr);
  return CM_OK;
}

}  // namespace gwconf
