#include "core/record_filter.h"

#include <cstddef>
#include <cstdint>

#include "core/deleted_defaults.h"
#include "core/path.h"

namespace gwconf {
namespace {

constexpr std::size_t kBytes = 128 * 1024;
constexpr std::uint32_t kWhole = 0x9E3779B9;  // sets whole recorded paths apart from their parts

/// Calls `visit` with the hash of each part of `path` that ends with a dot, until it returns false.
template <typename Visit>
void for_each_object(std::string_view path, Visit visit) {
  std::uint32_t hash = 2166136261U;
  for (const char c : path) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
    if (c == '.' && !visit(hash)) return;
  }
}

std::size_t byte_of(std::uint32_t hash) {
  return (hash * 2654435761U >> 8) % kBytes;
}

unsigned bit_of(std::uint32_t hash) {
  return 1U << (hash * 2654435761U & 7);
}

void mark(char* bits, std::uint32_t hash) {
  bits[byte_of(hash)] =
      static_cast<char>(static_cast<unsigned>(bits[byte_of(hash)]) | bit_of(hash));
}

bool is_marked(const char* bits, std::uint32_t hash) {
  return (static_cast<unsigned>(bits[byte_of(hash)]) & bit_of(hash)) != 0;
}

}  // namespace

RecordFilter::RecordFilter() {
  const Node* table = record_table();
  for (const Node* record = table ? table->children : nullptr; record; record = record->next)
    add(recorded_path(*record));
}

void RecordFilter::add(std::string_view recorded) {
  if (recorded.empty() || matches_all_) return;
  if (!bits_) bits_ = heap_zeroed(kBytes);
  matches_all_ = !bits_ || CM_UTL_UriIsObjNode(recorded) != CM_OK;
  if (matches_all_) return;
  std::uint32_t whole = 0;
  for_each_object(recorded, [this, &whole](std::uint32_t hash) {
    mark(bits_.get(), hash);
    whole = hash;
    return true;
  });
  mark(bits_.get(), whole ^ kWhole);
}

bool RecordFilter::may_match(std::string_view path) const {
  if (matches_all_) return true;
  if (!bits_) return false;
  bool lies_in_recorded = false;
  std::uint32_t whole = 0;
  for_each_object(path, [&](std::uint32_t hash) {
    whole = hash;
    lies_in_recorded = is_marked(bits_.get(), hash ^ kWhole);
    return !lies_in_recorded;
  });
  return lies_in_recorded || is_marked(bits_.get(), whole);
}

}  // namespace gwconf
