#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "tools/offline/loaded_tree.h"
#include "tools/offline/outline.h"

namespace gwconf::tool {

/// Takes findings about the records of a tree, at their places in the text that it was loaded from.
class TreeFindings {
 public:
  /// `outline` is that of the same text. All of them must outlive this; findings are appended to
  /// `findings`.
  TreeFindings(const LoadedTree& tree, const Outline& outline, std::string_view text,
               Findings* findings);

  /// Adds a finding about a record: at the value of its last attribute of that name, else at its
  /// tag.
  void add(Rule rule, const void* record, std::string_view attribute, std::string message);

 private:
  const Outline& outline_;
  std::string_view text_;
  Findings* findings_;
  std::unordered_map<const void*, std::size_t> elements_;
};

}  // namespace gwconf::tool
