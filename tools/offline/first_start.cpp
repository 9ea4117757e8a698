#include "tools/offline/first_start.h"

#include "core/deleted_defaults.h"
#include "core/path.h"
#include "tools/base/failure.h"
#include "tools/offline/source.h"
#include "xml/merge.h"

namespace gwconf::tool {
namespace {

[[nodiscard]] LoadedTree load_defaults(const std::string& name, std::string_view text) {
  LoadedTree tree = load_tree(name, text);
  if (tree.state() != LoadedTree::State::kLoaded)
    throw refused(name, "the daemon does not load it: it holds no object");
  return tree;
}

[[nodiscard]] Node* object_at(LoadedTree& tree, std::string_view path) {
  tree.make_live();
  Node* node = nullptr;
  ignore(CM_CORE_GetObjNodeByUri(path, &node));
  return node;
}

}  // namespace

FirstStart::FirstStart(const std::string& name, std::string_view defaults, const LoadedTree& saved)
    : pristine_{load_defaults(name, defaults)}, running_{load_defaults(name, defaults)} {
  running_.make_live();
  if (saved.state() == LoadedTree::State::kLoaded) ignore(CM_Node_Merge2Root(saved.root()));
  // A tree need not have a record table.
  ignore(CM_CORE_MergeDeletedInstances());
}

Node* FirstStart::pristine_object(std::string_view path) {
  return object_at(pristine_, path);
}

Node* FirstStart::running_object(std::string_view path) {
  return object_at(running_, path);
}

Parameter* FirstStart::running_parameter(std::string_view path) {
  running_.make_live();
  Parameter* parameter = nullptr;
  ignore(CM_CORE_GetParaNodeByUri(path, &parameter));
  return parameter;
}

}  // namespace gwconf::tool
