#include "tools/live/pattern.h"

#include "tools/base/path.h"

namespace gwconf::tool {
namespace {

/// The parameters that a pattern stands for, as far as they are found.
struct Expansion {
  std::vector<Match> matches;
  bool is_possible = false;  ///< a "*" stood for the instances of an empty table

  void add_all(const std::string& path, const ExportedObject& object) {
    is_possible = true;
    for (const ExportedParameter& parameter : object.parameters)
      matches.push_back({path + parameter.name, parameter});
    for (const ExportedObject& child : object.objects)
      add_all(path + child.name, child);
  }

  /// `rest` is the part of the pattern that is still to be matched below `object`.
  void add(const std::string& path, const ExportedObject& object, std::string_view rest) {
    if (rest.empty()) return add_all(path, object);
    const std::size_t dot = rest.find('.');
    if (rest == "*" || rest.substr(0, dot) == "*") {
      const std::string_view below = dot == std::string_view::npos ? "" : rest.substr(dot + 1);
      bool is_empty = true;
      for (const ExportedObject& child : object.objects) {
        if (!child.is_instance()) continue;
        is_empty = false;
        add(path + child.name, child, below);
      }
      // Only a table can do without children.
      is_possible = is_possible || (is_empty && object.objects.empty());
    } else if (dot == std::string_view::npos) {
      if (const ExportedParameter* parameter = object.parameter(rest))
        matches.push_back({path + parameter->name, *parameter});
    } else if (const ExportedObject* child = object.object(rest.substr(0, dot + 1))) {
      add(path + child->name, *child, rest.substr(dot + 1));
    }
  }
};

}  // namespace

bool is_pattern(std::string_view path) {
  return path.ends_with('.') || path.ends_with(".*") || path.find(".*.") != std::string_view::npos;
}

bool matches(std::string_view pattern, std::string_view path) {
  while (!pattern.empty()) {
    const std::size_t wanted = pattern.find('.');
    const std::size_t found = path.find('.');
    const std::string_view segment = pattern.substr(0, wanted);
    const bool is_instance =
        found != std::string_view::npos && instance_number(path.substr(0, found + 1)) > 0;
    if (!(segment == "*" && is_instance) && segment != path.substr(0, found)) return false;
    if (wanted == std::string_view::npos) return segment == "*" || found == std::string_view::npos;
    if (found == std::string_view::npos) return false;
    pattern.remove_prefix(wanted + 1);
    path.remove_prefix(found + 1);
  }
  return true;
}

Result<std::vector<Match>> expand(const Client& client, const std::string& pattern) {
  std::string start = pattern;
  const std::size_t star = ("." + pattern + ".").find(".*.");
  if (star != std::string::npos) start.resize(star);
  if (start.empty()) return {GWCONF_NOT_FOUND, {}};
  const Result<ExportedTree> tree = load_exported_tree(client, start);
  if (!tree) return {tree.code, {}};
  Expansion expansion;
  expansion.add(start, tree.value.root, std::string_view{pattern}.substr(start.size()));
  if (expansion.matches.empty() && !expansion.is_possible) return {GWCONF_NOT_FOUND, {}};
  return {GWCONF_OK, std::move(expansion.matches)};
}

}  // namespace gwconf::tool
