#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "tools/offline/loaded_tree.h"
#include "tools/offline/outline.h"

namespace gwconf::tool {

/// Where the records of a tree stand in the text that it was loaded from.
class Places {
 public:
  /// `outline` is that of the same text, and both outlive this.
  Places(const LoadedTree& tree, const Outline& outline, std::string_view text);

  /// A finding about a record: at the value of its last attribute of that name, else at its tag.
  [[nodiscard]] Finding finding(Rule rule, const void* record, std::string_view attribute,
                                std::string message) const;

 private:
  const Outline& outline_;
  std::string_view text_;
  std::unordered_map<const void*, std::size_t> elements_;
};

/// The rules about records among others: names, tables with templates, rows and counters, what a
/// save would write. Marks records of the tree as user-set and makes it the live one.
void check_tree(LoadedTree& tree, const Places& places, Findings& findings);

/// Whether the object is a table: it has rows or a template, or its like in the template has.
/// Looks into the live tree.
[[nodiscard]] bool is_table(const Node& node);

}  // namespace gwconf::tool
