#pragma once

#include <string_view>

#include "core/heap.h"

namespace gwconf {

/// Tells at once of most paths that no record of a deleted default instance matches them, so that a
/// merge of many rows need not go through many records for each. It may only err by a yes. What it
/// holds are bits at the hashes of the recorded paths and of all that stands above them.
class RecordFilter {
 public:
  /// Holds what the live tree's records have now.
  RecordFilter();

  /// Takes another recorded path; the empty one is none.
  void add(std::string_view recorded);

  /// Whether a record may match the object path `path`.
  [[nodiscard]] bool may_match(std::string_view path) const;

 private:
  HeapBytes bits_;            ///< made for the first path
  bool matches_all_ = false;  ///< there is no memory, or a path that is no object's
};

}  // namespace gwconf
