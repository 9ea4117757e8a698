#include "tools/offline/tree_diff.h"

#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "platform/getters.h"
#include "tools/offline/text.h"
#include "xml/attribute_word.h"
#include "xml/vocabulary.h"

namespace gwconf::tool {
namespace {

using Kind = Difference::Kind;

/// The records of a list by name; of several with the same name the first, where paths lead.
template <typename Record>
[[nodiscard]] std::unordered_map<std::string_view, const Record*> by_name(const Record* first) {
  std::unordered_map<std::string_view, const Record*> records;
  for (; first; first = first->next)
    records.emplace(first->name.view(), first);
  return records;
}

[[nodiscard]] std::string text_of(const char* text) {
  return text ? text : "";
}

class Comparison {
 public:
  Comparison(const CompareOptions& options, std::vector<Difference>& differences)
      : options_{options}, differences_{differences} {}

  void run(const Node* one, const Node* other) {
    pairs_.emplace_back(one, other);
    while (!pairs_.empty()) {
      const auto [left, right] = pairs_.back();
      pairs_.pop_back();
      if (left && right)
        compare_objects(*left, *right);
      else if (left)
        tell_whole(Kind::kRemoved, *left);
      else if (right)
        tell_whole(Kind::kAdded, *right);
    }
  }

 private:
  using Pair = std::pair<const Node*, const Node*>;

  void compare_objects(const Node& one, const Node& other) {
    if (!options_.values_only) compare_access(path_of(&one), one.attributes, other.attributes);
    compare_lists<Parameter>(
        one.params, other.params,
        [this](const Parameter* left, const Parameter* right) { compare_parameters(left, right); });
    std::vector<Pair> children;
    compare_lists<Node>(
        one.children, other.children,
        [&children](const Node* left, const Node* right) { children.emplace_back(left, right); });
    for (auto pair = children.rbegin(); pair != children.rend(); ++pair) {
      const Node& present = *(pair->first ? pair->first : pair->second);
      if (!options_.without_templates || present.name.view() != kTemplateName)
        pairs_.push_back(*pair);
    }
  }

  /// Hands over the records of the first list with their like in the second, if any, then the rest
  /// of the second.
  template <typename Record, typename Take>
  static void compare_lists(const Record* one, const Record* other, Take take) {
    const auto others = by_name(other);
    std::unordered_set<std::string_view> names;
    for (; one; one = one->next) {
      if (!names.insert(one->name.view()).second) continue;
      const auto found = others.find(one->name.view());
      take(one, found == others.end() ? nullptr : found->second);
    }
    for (; other; other = other->next)
      if (names.insert(other->name.view()).second) take(nullptr, other);
  }

  void compare_parameters(const Parameter* one, const Parameter* other) {
    if (!one || !other) {
      tell_parameter(one ? Kind::kRemoved : Kind::kAdded, *(one ? one : other));
      return;
    }
    if (one->value.view() != other->value.view())
      change(*one, {}, unescaped(one->value.view()), unescaped(other->value.view()));
    if (options_.values_only) return;
    change(*one, kAttrType, type_text(*one), type_text(*other));
    if (one->attributes != other->attributes)
      compare_access(path_of(one), one->attributes, other->attributes);
    change(*one, kAttrEnumeration, unescaped(one->enumeration.view()),
           unescaped(other->enumeration.view()));
    change(*one, kAttrFunction, text_of(one->getter ? one->getter->name : nullptr),
           text_of(other->getter ? other->getter->name : nullptr));
  }

  void change(const Parameter& parameter, std::string attribute, std::string before,
              std::string after) {
    if (before != after)
      differences_.push_back({Kind::kChanged, path_of(&parameter), std::move(attribute),
                              std::move(before), std::move(after)});
  }

  void compare_access(const std::string& path, std::uint16_t one, std::uint16_t other) {
    const auto change_of = [&](const char* attribute, std::string before, std::string after) {
      if (before != after)
        differences_.push_back(
            {Kind::kChanged, path, attribute, std::move(before), std::move(after)});
    };
    change_of(kAttrWritable, std::to_string(CM_UTL_GetAttrBoolean(one, kWritable)),
              std::to_string(CM_UTL_GetAttrBoolean(other, kWritable)));
    change_of(kAttrNotification, text_of(notification_text(one)),
              text_of(notification_text(other)));
  }

  void tell_parameter(Kind kind, const Parameter& parameter) {
    std::string value = unescaped(parameter.value.view());
    Difference difference{kind, path_of(&parameter), {}, {}, {}};
    (kind == Kind::kAdded ? difference.after : difference.before) = std::move(value);
    differences_.push_back(std::move(difference));
  }

  void tell_whole(Kind kind, const Node& top) {
    NodeWalk walk{&top};
    for (bool more = true; more;) {
      const Node& node = *walk.get();
      if (options_.without_templates && node.name.view() == kTemplateName) {
        more = walk.next_outside();
        continue;
      }
      differences_.push_back({kind, path_of(&node), {}, {}, {}});
      for (const Parameter* param = node.params; param; param = param->next)
        tell_parameter(kind, *param);
      more = walk.next();
    }
  }

  const CompareOptions& options_;
  std::vector<Difference>& differences_;
  std::vector<Pair> pairs_;
};

[[nodiscard]] const Node* root_of(const LoadedTree& tree) {
  return tree.state() == LoadedTree::State::kLoaded ? tree.root() : nullptr;
}

[[nodiscard]] std::string line_of(const Difference& difference) {
  const std::string path = harmless(difference.path);
  switch (difference.kind) {
    case Kind::kAdded:
      return "+ " + path + (path.ends_with('.') ? "" : ": " + in_quotes(difference.after));
    case Kind::kRemoved:
      return "- " + path + (path.ends_with('.') ? "" : ": " + in_quotes(difference.before));
    default:
      return path + (difference.attribute.empty() ? "" : ' ' + difference.attribute) + ": " +
             in_quotes(difference.before) + " -> " + in_quotes(difference.after);
  }
}

[[nodiscard]] Json json_of(const Difference& difference) {
  const bool is_object = difference.path.ends_with('.');
  switch (difference.kind) {
    case Kind::kAdded:
      if (is_object) return {{"change", "added"}, {"path", difference.path}};
      return {{"change", "added"}, {"path", difference.path}, {"new", difference.after}};
    case Kind::kRemoved:
      if (is_object) return {{"change", "removed"}, {"path", difference.path}};
      return {{"change", "removed"}, {"path", difference.path}, {"old", difference.before}};
    default:
      return {{"change", difference.attribute.empty() ? "value" : difference.attribute},
              {"path", difference.path},
              {"old", difference.before},
              {"new", difference.after}};
  }
}

}  // namespace

void compare(const LoadedTree& one, const LoadedTree& other, const CompareOptions& options,
             std::vector<Difference>* differences) {
  const Node* left = root_of(one);
  const Node* right = root_of(other);
  Comparison comparison{options, *differences};
  if (left && right && left->name.view() != right->name.view()) {
    comparison.run(left, nullptr);
    comparison.run(nullptr, right);
  } else {
    comparison.run(left, right);
  }
}

Exit report(const Session& session, const std::vector<Difference>& differences) {
  if (session.output.json()) {
    Json rows = Json::array();
    for (const Difference& difference : differences)
      rows.push_back(json_of(difference));
    session.output.document({{"equal", differences.empty()}, {"differences", std::move(rows)}});
  } else {
    for (const Difference& difference : differences)
      session.output.line(line_of(difference));
  }
  return differences.empty() ? Exit::kDone : Exit::kFindings;
}

}  // namespace gwconf::tool
