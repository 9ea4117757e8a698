#include "tools/offline/check_tree.h"

#include <algorithm>
#include <set>
#include <unordered_set>
#include <utility>
#include <vector>

#include "core/counter.h"
#include "core/deleted_defaults.h"
#include "core/number.h"
#include "core/path.h"
#include "storage/settings_block.h"
#include "tools/offline/text.h"
#include "xml/vocabulary.h"
#include "xml/writer.h"

namespace gwconf::tool {
namespace {

[[nodiscard]] bool is_row(const Node& node) {
  return CM_CORE_CheckIfInstance(node.name.view()) == CM_OK;
}

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
  std::string path = path_of(&table) + "0.";
  if (path.size() >= kPathBufferSize) return {};
  CM_CORE_GetModelUri(path.data());
  path.resize(path.find('\0') == std::string::npos ? path.size() : path.find('\0'));
  return path;
}

/// A counter that only this table can mean, by its full name.
[[nodiscard]] bool is_counted(const Node& node) {
  if (!node.parent) return false;
  std::string counter{node.name.view()};
  if (!counter.ends_with('.')) return false;
  counter.pop_back();
  counter += kNumberOfEntries;
  return CM_CORE_GetChildParaByName(node.parent, counter) != nullptr;
}

/// The outermost template of a path ("A.0.", "A.0.B.0.") that the live tree lacks; none when all
/// are there.
[[nodiscard]] std::string_view missing_template(std::string_view path) {
  for (std::size_t dot = path.find('.'); dot != std::string_view::npos;
       dot = path.find('.', dot + 1)) {
    const std::string_view part = path.substr(0, dot + 1);
    if (part.ends_with(".0.") && !exists(part)) return part;
  }
  return {};
}

class TreeCheck {
 public:
  TreeCheck(LoadedTree& tree, const Places& places, Findings& findings)
      : tree_{tree}, places_{places}, findings_{findings} {
    tree_.make_live();
  }

  void run() {
    NodeWalk walk{tree_.root()};
    do {
      const Node& node = *walk.get();
      check_names(node);
      if (is_table(node)) check_table(node);
    } while (walk.next());
    check_free_counters();
    check_record_table();
    check_what_is_saved();
  }

 private:
  void note(Rule rule, const void* record, std::string_view attribute, std::string message) {
    findings_.push_back(places_.finding(rule, record, attribute, std::move(message)));
  }

  void check_names(const Node& node) {
    std::unordered_set<std::string_view> names;
    for (const Node* child = node.children; child; child = child->next)
      if (child->name && !names.insert(child->name.view()).second)
        note(Rule::kDuplicateObject, child, kAttrName,
             "a second " + in_quotes(child->name.view(), 80) + ": paths lead to the first");
    names.clear();
    for (const Parameter* param = node.params; param; param = param->next)
      if (param->name && !names.insert(param->name.view()).second)
        note(Rule::kDuplicateParameter, param, kAttrName,
             "a second " + in_quotes(param->name.view(), 80) + ": paths lead to the first");
  }

  // --- tables

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
        note(Rule::kObjectAmongRows, child, kAttrName, "a table holds nothing but rows");
        continue;
      }
      if (before && number_of(*child) < number_of(*before))
        note(Rule::kRowOrder, child, kAttrName,
             "row " + std::to_string(number_of(*child)) + " stands behind row " +
                 std::to_string(number_of(*before)));
      before = child;
    }
  }

  void check_template(const Node& table, const std::string& model) {
    if (model.empty()) return;
    const std::string_view missing = missing_template(model);
    if (missing.empty() || !missing_templates_.emplace(missing).second) return;
    const bool nested = std::string_view{model}.find(".0.") < model.size() - 3;
    note(nested ? Rule::kTemplateChain : Rule::kTemplateMissing, &table, kAttrName,
         (nested ? "new rows are copied from the chain of templates, which lacks "
                 : "new rows are copied from a template, which is missing: ") +
             in_quotes(missing));
  }

  void check_counter(const Node& table, const std::string& model) {
    const Parameter* counter = CM_CORE_GetObjOfNumberOfEntries(&table);
    if (!counter) {
      if (table.parent && without_counter_.insert(model).second)
        note(Rule::kCounterMissing, &table, kAttrName,
             "the object around the table has no counter for it, such as " + expected(table));
      return;
    }
    if (!counters_.insert(counter).second && shared_counters_.insert(model).second)
      note(Rule::kCounterShared, &table, kAttrName,
           std::string{counter->name.view()} +
               " counts another table already; the daemon finds no other counter for this one");
    if (counter->getter) return;
    std::size_t rows = 0;
    for (const Node* child = table.children; child; child = child->next)
      if (is_row(*child) && number_of(*child) > 0) ++rows;
    if (counter->value.view() != std::to_string(rows))
      note(Rule::kCounterValue, counter, kAttrValue,
           "the counter says " + in_quotes(counter->value.view(), 40) + ", but " +
               in_quotes(table.name.view(), 80) + " has " + counted(rows, "row"));
  }

  [[nodiscard]] static std::string expected(const Node& table) {
    std::string name{table.name.view()};
    if (name.ends_with('.')) name.pop_back();
    return name + std::string{kNumberOfEntries};
  }

  void check_free_counters() {
    NodeWalk walk{tree_.root()};
    do {
      for (const Parameter* param = walk.get()->params; param; param = param->next) {
        if (!param->name.view().ends_with(kNumberOfEntries) || param->getter ||
            counters_.contains(param) || to_number(param->value.view()) == 0)
          continue;
        note(Rule::kCounterOfNothing, param, kAttrValue,
             "the daemon finds no table that this counts, and never changes it");
      }
    } while (walk.next());
  }

  void check_record_table() {
    if (!kDeletedDefaults.starts_with(tree_.root()->name.view())) return;
    Node* table = nullptr;
    if (CM_CORE_GetObjNodeByUri(kDeletedDefaults, &table) != CM_OK) {
      note(Rule::kNoRecordTable, tree_.root(), kAttrName,
           "without the table " + std::string{kDeletedDefaults} +
               " default rows that the user deletes come back at the next start");
      return;
    }
    const Node* model = CM_CORE_GetChildObjByName(table, "0.");
    if (!model) {
      if (!is_table(*table))
        note(Rule::kTemplateMissing, table, kAttrName,
             "new rows are copied from a template, which is missing: " +
                 in_quotes(std::string{kDeletedDefaults} + "0."));
    } else if (!model->params || model->params->name.view() != "URI") {
      note(Rule::kNoRecordUri, model, kAttrName,
           "the first parameter of a deleted row's record is URI");
    }
  }

  // --- saving

  void check_what_is_saved() {
    bool fits = true;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> nowhere{std::fopen("/dev/null", "w"),
                                                                  std::fclose};
    if (!nowhere) return;
    NodeWalk walk{tree_.root()};
    do {
      const Node& node = *walk.get();
      fits &= check_list(ElementKind::kObject, &node, nowhere.get());
      for (const Parameter* param = node.params; param; param = param->next)
        fits &= check_list(ElementKind::kParameter, param, nowhere.get());
    } while (walk.next());
    if (fits) check_block();
  }

  bool check_list(ElementKind kind, const void* record, std::FILE* nowhere) {
    if (VT_CM_RAM2XML_Element(kind, record, nowhere) == 0) return true;
    note(Rule::kAttributeListTooLong, record, kAttrValue,
         "with all its attributes this is longer than 2047 characters: no settings with it could "
         "be saved");
    return false;
  }

  /// Sets what a user could set: everything but templates and counters.
  void set_all() {
    NodeWalk walk{tree_.root()};
    for (bool more = true; more;) {
      const Node& node = *walk.get();
      if (is_row(node) && number_of(node) == 0) {
        more = walk.next_outside();
        continue;
      }
      for (Parameter* param = node.params; param; param = param->next)
        if (!param->name.view().ends_with(kNumberOfEntries)) set(*param, kUserSet);
      more = walk.next();
    }
  }

  void check_block() {
    set_all();
    bool written = false;
    const std::string text = saved_text(tree_.root(), &written);
    const std::size_t size = written ? block_size(text) : 0;
    if (size == 0) return;
    const std::string amount = "with every parameter set the settings would take " +
                               std::to_string(size) + " of 65535 bytes";
    if (text.size() > static_cast<std::size_t>(kDocumentMax))
      note(Rule::kBlockTooLarge, tree_.root(), kAttrName,
           "with every parameter set the settings would be a text of " +
               std::to_string(text.size()) + " bytes; 2097152 can be saved");
    else if (size > block::kSizeMax)
      note(Rule::kBlockTooLarge, tree_.root(), kAttrName, amount);
    else if (size > block::kSizeMax / 5 * 4)
      note(Rule::kBlockNearlyFull, tree_.root(), kAttrName, amount);
  }

  /// 0 when the text cannot be compressed.
  [[nodiscard]] static std::size_t block_size(const std::string& text) {
    std::vector<char> room(text.size() + text.size() / 8 + 1024);
    const std::int32_t length =
        CM_UTL_compress(room.data(), static_cast<std::int32_t>(room.size()), text.data(),
                        static_cast<std::int32_t>(text.size()));
    return length < 0 ? 0 : block::kDataAt + static_cast<std::size_t>(length);
  }

  LoadedTree& tree_;
  const Places& places_;
  Findings& findings_;
  std::set<std::string, std::less<>> missing_templates_;
  std::set<std::string, std::less<>> without_counter_;
  std::set<std::string, std::less<>> shared_counters_;
  std::unordered_set<const Parameter*> counters_;
};

}  // namespace

bool is_table(const Node& node) {
  if (is_row(node)) return false;
  if (has_rows(node)) return true;
  if (node.children || !node.parent) return false;
  if (is_counted(node)) return true;
  const std::string model = template_path(node);
  return !model.empty() && exists(model);
}

void check_tree(LoadedTree& tree, const Places& places, Findings& findings) {
  TreeCheck{tree, places, findings}.run();
}

Places::Places(const LoadedTree& tree, const Outline& outline, std::string_view text)
    : outline_{outline}, text_{text} {
  std::size_t element = 0;
  NodeWalk walk{tree.root()};
  do {
    elements_.emplace(walk.get(), element++);
    for (const Parameter* param = walk.get()->params; param; param = param->next)
      elements_.emplace(param, element++);
  } while (walk.next());
}

Finding Places::finding(Rule rule, const void* record, std::string_view attribute,
                        std::string message) const {
  const std::size_t element = elements_.at(record);
  const ScannedItem& item = *outline_.elements[element].item;
  const ScannedAttribute* found = item.find(attribute);
  const std::string_view where = found ? found->raw : item.name;
  return {.rule = rule,
          .at = static_cast<std::size_t>(where.data() - text_.data()),
          .length = std::max<std::size_t>(where.size(), 1),
          .message = std::move(message),
          .element = element};
}

}  // namespace gwconf::tool
