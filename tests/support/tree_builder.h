#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "core/tree.h"

namespace gwconf::test {

/// Builds a tree from an outline, two blanks of indentation a level. A name that ends with a dot is
/// an object, any other a parameter. The attribute word stands in brackets where it is not 0; what
/// follows " = " is the value, up to the end of the line, and " =" alone gives the empty one:
///
///     InternetGatewayDevice.
///       HostNumberOfEntries = 1
///       Host.
///         0.
///           Name =
///         1. [9]
///           Name [8] = printer
///           Comment
///
/// Parameters may stand before or behind the child objects. Throws on a line that fits nowhere.
[[nodiscard]] NodePtr build_tree(std::string_view outline);

/// A root and a chain of objects below it, the path of whose `last` one has `length` characters.
[[nodiscard]] NodePtr build_chain(std::size_t length, Node** last);

/// The outline of a node with all below it, its later siblings left out. Every line, the last one
/// too, ends with a line break; parameters stand before child objects.
[[nodiscard]] std::string outline_of(const Node* node);

/// The names of a node's children in list order, a blank between: "0. 1. 2.".
[[nodiscard]] std::string children_of(const Node* node);
[[nodiscard]] std::string children_of(std::string_view path);

/// The live tree's object or parameter at a path, found by the names alone. Throws when there is
/// none.
[[nodiscard]] Node* object_at(std::string_view path);
[[nodiscard]] Parameter* parameter_at(std::string_view path);

/// The value of the live tree's parameter at `path`; "<none>" when it holds none.
[[nodiscard]] std::string value_at(std::string_view path);

/// Makes an outline the live tree while it lives.
class LiveTree {
 public:
  explicit LiveTree(std::string_view outline);
  ~LiveTree();
  LiveTree(const LiveTree&) = delete;
  LiveTree& operator=(const LiveTree&) = delete;
};

/// The outline of the live tree; "<none>" when there is none.
[[nodiscard]] std::string live_outline();

/// Runs `operation` on a fresh live tree with every allocation failing once, alone and with all
/// that follow. After each run `check` gets the result and the outline of the tree; the tree is
/// gone then, so that what is still held is a leak. Returns how many runs had a failing allocation.
std::size_t sweep_operation(std::string_view outline, const std::function<Status()>& operation,
                            const std::function<void(Status, const std::string&)>& check);

}  // namespace gwconf::test
