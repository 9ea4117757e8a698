#include "tools/offline/check_standard.h"

#include <algorithm>
#include <set>
#include <unordered_map>
#include <vector>

#include "core/counter.h"
#include "core/path.h"
#include "tools/offline/text.h"
#include "xml/value_type.h"
#include "xml/vocabulary.h"

namespace gwconf::tool {
namespace {

[[nodiscard]] bool is_own(std::string_view name) {
  return name.starts_with("X_");
}

[[nodiscard]] std::vector<std::string> items_of(std::string_view list) {
  std::vector<std::string> items;
  while (!list.empty()) {
    const std::size_t comma = std::min(list.find(','), list.size());
    items.emplace_back(list.substr(0, comma));
    list.remove_prefix(std::min(comma + 1, list.size()));
  }
  return items;
}

class StandardCheck {
 public:
  StandardCheck(const LoadedTree& tree, const Facts& facts, TreeFindings& findings)
      : tree_{tree}, facts_{facts}, findings_{findings} {
    for (const Fact& fact : facts_.all())
      names_[std::string{holder_of(fact.path)}].push_back(
          fact.kind == Fact::Kind::kParameter ? parameter_name(fact.path) : own_name(fact.path));
  }

  void run() {
    NodeWalk walk{tree_.root()};
    for (bool more = true; more;) {
      const Node& node = *walk.get();
      more = check_object(node) ? walk.next() : walk.next_outside();
    }
  }

 private:
  void note(Rule rule, const std::string& place, const void* record, std::string_view attribute,
            const std::string& message) {
    if (told_.insert(std::string{row_of(rule).id} + place).second)
      findings_.add(rule, record, attribute, message);
  }

  /// The path below the root in model form, from the holder's, which the walk has met before.
  const std::string& model_path(const Node& node) {
    std::string& path = paths_[&node];
    if (path.empty() && node.parent)
      path = paths_[node.parent] +
             (is_row(node) ? std::string{kAnyRow} : std::string{node.name.view()});
    return path;
  }

  /// False when what is inside the object is not for the standard to say.
  bool check_object(const Node& node) {
    const std::string path = model_path(node);
    if (is_own(node.name.view())) return false;
    if (!is_row(node) && node.parent && !check_known(node, path)) return false;
    for (const Parameter* param = node.params; param; param = param->next)
      check_parameter(*param, path);
    return true;
  }

  bool check_known(const Node& node, const std::string& path) {
    const Fact* object = facts_.find(path);
    const Fact* table = facts_.find(path + std::string{kAnyRow});
    if (!object && !table) {
      note(Rule::kStandardObject, path, &node, kAttrName,
           "the standard has no object " + in_quotes(path, 120) +
               suggestion(node.name.view(), holder_of(path)));
      return false;
    }
    const bool ours = is_table(node);
    if (ours != (table != nullptr)) {
      note(Rule::kStandardKind, path, &node, kAttrName,
           ours ? "the standard has one object here, not a table"
                : "the standard has a table here, not one object");
      return false;
    }
    check_access(*(table ? table : object), has(node, kWritable), path, &node);
    if (!table || table->count_parameter.empty() || !node.parent) return true;
    if (!CM_CORE_GetChildParaByName(node.parent, table->count_parameter))
      note(Rule::kStandardCounter, path, &node, kAttrName,
           "the standard counts the rows of this table in " + table->count_parameter +
               ", which is missing");
    return true;
  }

  void check_access(const Fact& fact, bool writable, const std::string& path, const void* record) {
    if (fact.writable == writable) return;
    note(Rule::kStandardAccess, path, record, kAttrWritable,
         fact.writable ? "the standard lets this be written"
                       : "the standard does not let this be written");
  }

  void check_parameter(const Parameter& param, const std::string& holder) {
    const std::string_view name = param.name.view();
    if (is_own(name)) return;
    const std::string path = holder + std::string{name};
    const Fact* fact = facts_.find(path);
    if (!fact || fact->kind != Fact::Kind::kParameter) {
      // The daemon looks for counters by names that the standard does not always use.
      if (!is_daemon_counter(param))
        note(Rule::kStandardParameter, path, &param, kAttrName,
             "the standard has no parameter " + in_quotes(path, 120) + suggestion(name, holder));
      return;
    }
    check_access(*fact, has(param, kWritable), path, &param);
    check_type(param, *fact, path);
    check_enumeration(param, *fact, path);
  }

  [[nodiscard]] static bool is_daemon_counter(const Parameter& param) {
    for (const Node* child = param.parent->children; child; child = child->next)
      if (CM_CORE_GetObjOfNumberOfEntries(child) == &param) return true;
    return false;
  }

  void check_type(const Parameter& param, const Fact& fact, const std::string& path) {
    const std::string expected = standard_type(fact);
    Parameter standard;
    parse_value_type(expected, TypeMatch::kLine, &standard);
    const ValueType type = param.enumeration ? kString : param.type;
    if (type != standard.type)
      note(Rule::kStandardType, path, &param, kAttrType, "the standard's type is " + expected);
    else if (!param.enumeration && (param.min != standard.min || param.max != standard.max))
      note(Rule::kStandardLimits, path, &param, kAttrType,
           "the standard's limits are those of " + expected);
  }

  /// The standard calls the masks of MAC addresses IP addresses, by a slip.
  [[nodiscard]] static std::string standard_type(const Fact& fact) {
    return fact.path.ends_with("MACMask") ? "macAddress" : type_text(fact);
  }

  void check_enumeration(const Parameter& param, const Fact& fact, const std::string& path) {
    const std::vector<std::string> allowed = items_of(fact.allowed_values());
    const std::vector<std::string> ours = items_of(unescaped(param.enumeration.view()));
    if (ours.empty()) {
      if (!allowed.empty())
        note(Rule::kStandardEnumeration, path, &param, kAttrType,
             "the standard allows only " + in_quotes(fact.enumeration, 120));
      return;
    }
    if (allowed.empty()) {
      note(Rule::kStandardEnumeration, path, &param, kAttrEnumeration,
           "the standard has no enumeration here");
      return;
    }
    for (const std::string& item : ours) {
      if (is_own(item) || std::find(allowed.begin(), allowed.end(), item) != allowed.end())
        continue;
      note(Rule::kStandardEnumeration, path, &param, kAttrEnumeration,
           "the standard's enumeration has no " + in_quotes(item, 60));
      return;
    }
  }

  [[nodiscard]] std::string suggestion(std::string_view name, std::string_view holder) const {
    const auto names = names_.find(std::string{holder});
    return names == names_.end() ? std::string{} : did_you_mean(name, names->second);
  }

  const LoadedTree& tree_;
  const Facts& facts_;
  TreeFindings& findings_;
  std::unordered_map<std::string, std::vector<std::string_view>> names_;
  std::unordered_map<const Node*, std::string> paths_;
  std::set<std::string> told_;
};

}  // namespace

void check_standard(const LoadedTree& tree, const Facts& facts, TreeFindings& findings) {
  StandardCheck{tree, facts, findings}.run();
}

}  // namespace gwconf::tool
