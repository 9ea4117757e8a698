#pragma once

#include "tools/offline/loaded_tree.h"
#include "tools/offline/tree_findings.h"

namespace gwconf::tool {

/// The rules about records among others: names, tables with templates, rows and counters, what a
/// save would write. Marks records of the tree as user-set and makes it the live one.
void check_tree(LoadedTree& tree, TreeFindings& findings);

/// The part of these rules that is about tables and their counters. The tree is the live one.
void check_tables(const LoadedTree& tree, TreeFindings& findings);

/// The part that is about what a save would write. Marks records as user-set.
void check_saving(const LoadedTree& tree, TreeFindings& findings);

/// Whether the object is a table: it has rows or a template, or its like in the template has.
/// Looks into the live tree.
[[nodiscard]] bool is_table(const Node& node);

/// The complaint about the template that new rows would be copied from.
[[nodiscard]] std::string without_template(std::string_view path);

}  // namespace gwconf::tool
