#include <climits>
#include <optional>

#include "tools/live/start.h"
#include "tools/live/verbs.h"

namespace gwconf::tool {
namespace {

using Colour = Screen::Colour;

struct TreeOptions {
  std::string path;
  int depth = INT_MAX;  ///< levels below the object
  bool values = false;
  bool user_set = false;  ///< only what was set since the defaults, and what is around it
};

/// Prints an object and what is below it, indented.
class TreePrinter {
 public:
  TreePrinter(const Session& session, const TreeOptions& options)
      : session_{session}, options_{options} {}

  /// Throws Failure when a request fails; what was collected before it is printed.
  void print(const ExportedTree& tree) {
    std::optional<Json> document;
    try {
      document = collect(tree.path, tree.path, tree.root, 0);
    } catch (const Failure&) {
      print_lines();
      throw;
    }
    print_lines();
    if (session_.output.json())
      session_.output.document({{tree.path, document.value_or(Json::object())}});
  }

 private:
  void print_lines() const {
    if (session_.output.json()) return;
    for (const std::string& line : lines_)
      session_.output.line(line);
  }

  [[nodiscard]] bool is_user_set(const std::string& path) const {
    const Result<unsigned> word = session_.client.get_attributes(path);
    // What is gone by now was not set.
    if (word.code == GWCONF_NOT_FOUND) return false;
    if (!word) throw verb_failure(session_, "tree", path, word.code);
    return (word.value >> GWCONF_ATTRIBUTE_USER_SET & 1U) != 0;
  }

  /// The current value; empty for a parameter that is gone by now.
  [[nodiscard]] std::string value_of(const std::string& path,
                                     const ExportedParameter& parameter) const {
    Result<std::string> value = current_value(session_.client, path, parameter);
    if (value.code == GWCONF_NOT_FOUND) return {};
    return answer_of(session_, "tree", path, std::move(value));
  }

  [[nodiscard]] static std::string indent_of(int level) {
    return std::string(static_cast<std::size_t>(level) * 2, ' ');
  }

  /// The JSON of an object; nothing for one that is not to be shown. Its lines go to `lines_`.
  [[nodiscard]] std::optional<Json> collect(const std::string& path, const std::string& shown_name,
                                            const ExportedObject& object, int level) {
    const Output& output = session_.output;
    const std::size_t first = lines_.size();
    lines_.push_back(indent_of(level) +
                     output.screen().coloured(Colour::kObject, output.shown(shown_name)));
    Json children = Json::object();
    if (level < options_.depth || options_.user_set) {
      collect_parameters(path, object, level, &children);
      collect_objects(path, object, level, &children);
    }
    const bool is_hidden = options_.user_set && children.empty() && !is_user_set(path);
    // Below the last level the children only decide whether this object is shown.
    if (is_hidden || level > options_.depth) lines_.resize(first);
    if (is_hidden) return {};
    return level < options_.depth ? children : Json::object();
  }

  void collect_parameters(const std::string& path, const ExportedObject& object, int level,
                          Json* children) {
    const Output& output = session_.output;
    const bool is_shown = level < options_.depth;
    for (const ExportedParameter& parameter : object.parameters) {
      const std::string own = path + parameter.name;
      if (options_.user_set && !is_user_set(own)) continue;
      Json& entry = (*children)[parameter.name] = parameter.type;
      if (!is_shown) continue;
      lines_.push_back(indent_of(level + 1) + output.shown(parameter.name));
      if (!options_.values) continue;
      lines_.back() += "=";
      const std::string value = value_of(own, parameter);
      lines_.back() += output.screen().coloured(Colour::kValue, output.shown(value));
      entry = value;
    }
  }

  void collect_objects(const std::string& path, const ExportedObject& object, int level,
                       Json* children) {
    for (const ExportedObject& child : object.objects) {
      std::optional<Json> below = collect(path + child.name, child.name, child, level + 1);
      if (below)
        (*children)[child.name] = level < options_.depth ? *std::move(below) : Json::object();
    }
  }

  const Session& session_;
  const TreeOptions& options_;
  std::vector<std::string> lines_;
};

[[nodiscard]] Exit tree(const Session& session, const TreeOptions& options) {
  TreePrinter{session, options}.print(start_at(session, "tree", options.path));
  return Exit::kDone;
}

}  // namespace

void add_tree(Registry& registry) {
  const auto [parser, options] =
      registry.add({"tree", "Print an object with all below it",
                    "tree InternetGatewayDevice.LANDevice.1. --depth 2 --values"},
                   tree);
  parser.add_option("PATH", options.path, "Object (else the root)");
  parser.add_option("--depth", options.depth, "Levels below the object")
      ->check(CLI::Range(0, INT_MAX));
  parser.add_flag("--values", options.values, "With values");
  parser.add_flag("--user-set", options.user_set, "Only what was set since the defaults");
}

}  // namespace gwconf::tool
