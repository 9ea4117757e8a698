#include <set>
#include <string>
#include <unordered_set>

#include "core/counter.h"
#include "core/number.h"
#include "core/path.h"
#include "tools/offline/check_tree.h"
#include "tools/offline/daemon_terms.h"
#include "tools/offline/text.h"
#include "xml/vocabulary.h"

namespace gwconf::tool {
namespace {

/// A template's name inside a path.
constexpr std::string_view kTemplateSegment = ".0.";
static_assert(kTemplateSegment.substr(1) == kTemplateName);

[[nodiscard]] bool has_rows(const Node& node) {
  const Node* child = node.children;
  while (child && !is_row(*child))
    child = child->next;
  return child != nullptr;
}

[[nodiscard]] bool exists(std::string_view path) {
  Node* node = nullptr;
  return CM_CORE_GetObjNodeByUri(path, &node) == CM_OK;
}

/// The path from which the daemon takes the template of new rows; empty when it is too long.
[[nodiscard]] std::string template_path(const Node& table) {
  std::string path = path_of(&table) + std::string{kTemplateName};
  if (path.size() >= kPathBufferSize) return {};
  CM_CORE_GetModelUri(path.data());
  path.resize(path.find('\0') == std::string::npos ? path.size() : path.find('\0'));
  return path;
}

/// The full name of a table's counter.
[[nodiscard]] std::string counter_name(const Node& table) {
  std::string name{table.name.view()};
  if (name.ends_with('.')) name.pop_back();
  return name + std::string{kNumberOfEntries};
}

/// Whether a counter stands there that only this table can mean, by its full name.
[[nodiscard]] bool is_counted(const Node& node) {
  if (!node.parent) return false;
  return node.name.view().ends_with('.') &&
         CM_CORE_GetChildParaByName(node.parent, counter_name(node)) != nullptr;
}

/// The outermost template of a path ("A.0.", "A.0.B.0.") that the live tree lacks; empty when all
/// are there.
[[nodiscard]] std::string_view missing_template(std::string_view path) {
  for (std::size_t dot = path.find('.'); dot != std::string_view::npos;
       dot = path.find('.', dot + 1)) {
    const std::string_view part = path.substr(0, dot + 1);
    if (part.ends_with(kTemplateSegment) && !exists(part)) return part;
  }
  return {};
}

class TableCheck {
 public:
  TableCheck(const LoadedTree& tree, TreeFindings& findings) : tree_{tree}, findings_{findings} {}

  void run() {
    NodeWalk walk{tree_.root()};
    do {
      if (is_table(*walk.get())) check_table(*walk.get());
    } while (walk.next());
    check_free_counters();
  }

 private:
  void check_table(const Node& table) {
    check_rows(table);
    const std::string model = template_path(table);
    check_template(table, model);
    check_counter(table, model);
  }

  void check_rows(const Node& table) {
    const Node* before = nullptr;
    for (const Node* child = table.children; child; child = child->next) {
      if (!is_row(*child)) {
        findings_.add(Rule::kObjectAmongRows, child, kAttrName, "a table holds nothing but rows");
        continue;
      }
      if (before && number_of(*child) < number_of(*before))
        findings_.add(Rule::kRowOrder, child, kAttrName,
                      "row " + std::to_string(number_of(*child)) + " stands behind row " +
                          std::to_string(number_of(*before)));
      before = child;
    }
  }

  void check_template(const Node& table, const std::string& model) {
    if (model.empty()) return;
    const std::string_view missing = missing_template(model);
    if (missing.empty() || !missing_templates_.emplace(missing).second) return;
    const bool nested =
        std::string_view{model}.find(kTemplateSegment) < model.size() - kTemplateSegment.size();
    if (nested)
      findings_.add(
          Rule::kTemplateChain, &table, kAttrName,
          "new rows are copied from the chain of templates, which lacks " + in_quotes(missing));
    else
      findings_.add(Rule::kTemplateMissing, &table, kAttrName, without_template(missing));
  }

  void check_counter(const Node& table, const std::string& model) {
    const Parameter* counter = CM_CORE_GetObjOfNumberOfEntries(&table);
    if (!counter) {
      if (table.parent && without_counter_.insert(model).second)
        findings_.add(
            Rule::kCounterMissing, &table, kAttrName,
            "the object around the table has no counter for it, such as " + counter_name(table));
      return;
    }
    if (!counters_.insert(counter).second && shared_counters_.insert(model).second)
      findings_.add(
          Rule::kCounterShared, &table, kAttrName,
          std::string{counter->name.view()} +
              " counts another table already; the daemon finds no other counter for this one");
    if (!counter->getter) check_count(*counter, table);
  }

  void check_count(const Parameter& counter, const Node& table) {
    std::size_t rows = 0;
    for (const Node* child = table.children; child; child = child->next)
      if (is_row(*child) && number_of(*child) > 0) ++rows;
    if (counter.value.view() != std::to_string(rows))
      findings_.add(Rule::kCounterValue, &counter, kAttrValue,
                    "the counter says " + in_quotes(counter.value.view(), 40) + ", but " +
                        in_quotes(table.name.view(), 80) + " has " + counted(rows, "row"));
  }

  void check_free_counters() {
    NodeWalk walk{tree_.root()};
    do {
      for (const Parameter* param = walk.get()->params; param; param = param->next) {
        if (!param->name.view().ends_with(kNumberOfEntries) || param->getter ||
            counters_.contains(param) || to_number(param->value.view()) == 0)
          continue;
        findings_.add(Rule::kCounterOfNothing, param, kAttrValue,
                      "the daemon finds no table that this counts, and never changes it");
      }
    } while (walk.next());
  }

  const LoadedTree& tree_;
  TreeFindings& findings_;
  std::set<std::string, std::less<>> missing_templates_;
  std::set<std::string, std::less<>> without_counter_;
  std::set<std::string, std::less<>> shared_counters_;
  std::unordered_set<const Parameter*> counters_;
};

}  // namespace

void check_tables(const LoadedTree& tree, TreeFindings& findings) {
  TableCheck{tree, findings}.run();
}

bool is_table(const Node& node) {
  if (is_row(node)) return false;
  if (has_rows(node)) return true;
  if (node.children || !node.parent) return false;
  if (is_counted(node)) return true;
  const std::string model = template_path(node);
  return !model.empty() && exists(model);
}

std::string without_template(std::string_view path) {
  return "new rows are copied from a template, which is missing: " + in_quotes(path);
}

}  // namespace gwconf::tool
