#include "tools/offline/check_tree.h"

#include <unordered_set>

#include "core/deleted_defaults.h"
#include "core/path.h"
#include "tools/offline/daemon_terms.h"
#include "tools/offline/text.h"
#include "xml/vocabulary.h"

namespace gwconf::tool {
namespace {

void check_names(const Node& node, TreeFindings& findings) {
  std::unordered_set<std::string_view> names;
  for (const Node* child = node.children; child; child = child->next)
    if (child->name && !names.insert(child->name.view()).second)
      findings.add(Rule::kDuplicateObject, child, kAttrName,
                   "a second " + in_quotes(child->name.view(), 80) + ": paths lead to the first");
  names.clear();
  for (const Parameter* param = node.params; param; param = param->next)
    if (param->name && !names.insert(param->name.view()).second)
      findings.add(Rule::kDuplicateParameter, param, kAttrName,
                   "a second " + in_quotes(param->name.view(), 80) + ": paths lead to the first");
}

void check_record_table(const LoadedTree& tree, TreeFindings& findings) {
  if (!kDeletedDefaults.starts_with(tree.root()->name.view())) return;
  Node* table = nullptr;
  if (CM_CORE_GetObjNodeByUri(kDeletedDefaults, &table) != CM_OK) {
    findings.add(Rule::kNoRecordTable, tree.root(), kAttrName,
                 "without the table " + std::string{kDeletedDefaults} +
                     " default rows that the user deletes come back at the next start");
    return;
  }
  const Node* model = CM_CORE_GetChildObjByName(table, kTemplateName);
  if (!model) {
    if (!is_table(*table))
      findings.add(Rule::kTemplateMissing, table, kAttrName,
                   without_template(std::string{kDeletedDefaults} + std::string{kTemplateName}));
  } else if (!model->params || model->params->name.view() != "URI") {
    findings.add(Rule::kNoRecordUri, model, kAttrName,
                 "the first parameter of a deleted row's record is URI");
  }
}

}  // namespace

void check_tree(LoadedTree& tree, TreeFindings& findings) {
  tree.make_live();
  NodeWalk walk{tree.root()};
  do
    check_names(*walk.get(), findings);
  while (walk.next());
  check_tables(tree, findings);
  check_record_table(tree, findings);
  check_saving(tree, findings);
}

}  // namespace gwconf::tool
