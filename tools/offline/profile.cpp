#include "tools/offline/profile.h"

namespace gwconf::tool {
namespace {

using Rule = ProfileStatements::Rule;
using Rules = ProfileStatements::Rules;

/// Whether a path of the profile covers one of the tree. A number covers itself, "{i}" every row
/// and, where the template takes part, the template.
[[nodiscard]] bool covers(std::string_view pattern, std::string_view path, bool with_template) {
  for (;;) {
    const std::size_t pattern_dot = pattern.find('.');
    const std::size_t dot = path.find('.');
    const std::string_view wanted = pattern.substr(0, pattern_dot);
    const std::string_view part = path.substr(0, dot);
    const bool any = wanted == "{i}" && (with_template || part != "0");
    if (!any && wanted != part) return false;
    if (pattern_dot == std::string_view::npos || dot == std::string_view::npos)
      return pattern_dot == dot;
    pattern.remove_prefix(pattern_dot + 1);
    path.remove_prefix(dot + 1);
  }
}

/// The last rule that covers a path of the tree; null when none does. Marks all that do as used.
[[nodiscard]] const Rule* find_covering(Rules* rules, std::string_view model_path,
                                        std::string_view path, bool with_template) {
  const auto candidates = rules->find(model_path);
  if (candidates == rules->end()) return nullptr;
  const Rule* last = nullptr;
  for (Rule& rule : candidates->second) {
    if (!covers(rule.place.path, path, with_template)) continue;
    rule.used = true;
    last = &rule;
  }
  return last;
}

/// The first line that is not used, if it comes before `*first`.
void find_unused(const Rules& rules, const Rule** first) {
  for (const auto& [path, some] : rules)
    for (const Rule& rule : some)
      if (!rule.used && (!*first || rule.place.line < (*first)->place.line)) *first = &rule;
}

}  // namespace

Profile::Profile(const Facts& facts, const std::string& file)
    : file_{file},
      statements_{read_profile(facts, file)},
      objects_{build_device(facts, statements_, file)} {}

std::vector<int> Profile::rows(const ModelObject& table, std::string_view path) {
  if (path.starts_with("0.") || path.find(".0.") != std::string_view::npos) return {};
  const Rule* rule = find_covering(&statements_.instances, table.path, path, false);
  return rule ? rule->rows : std::vector<int>{};
}

const std::string* Profile::text(Verb verb, std::string_view path) {
  const Rule* rule = find_covering(&statements_.rules_of(verb), model_form(path), path, true);
  return rule ? &rule->text : nullptr;
}

void Profile::require_all_used() const {
  const Rule* first = nullptr;
  for (const Rules& rules : statements_.assignments)
    find_unused(rules, &first);
  find_unused(statements_.instances, &first);
  if (first)
    throw refused_line(file_, first->place.line,
                       "the device has no such place: " + first->place.path);
}

}  // namespace gwconf::tool
