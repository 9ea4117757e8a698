#include "tools/cli/completion.h"

#include <algorithm>
#include <iterator>

#include "tools/base/words.h"

namespace gwconf::tool {
namespace {

/// Verbs of the shell itself.
constexpr const char* kOwnVerbs[] = {"exit", "help"};

void keep_beginning_with(std::string_view word, std::vector<std::string>& candidates) {
  std::erase_if(candidates, [word](const std::string& one) { return !one.starts_with(word); });
}

}  // namespace

std::vector<std::string> Completion::candidates(std::string_view line) {
  const std::string_view word = last_word(line);
  const std::string_view before = line.substr(0, line.size() - word.size());
  const std::size_t start = before.find_first_not_of(" \t");
  std::vector<std::string> found;
  std::string_view verb;
  if (start != std::string_view::npos)
    verb = before.substr(start, before.find_first_of(" \t", start) - start);

  if (verb.empty() || verb == "help") {
    for (const VerbNames& names : verbs_)
      found.push_back(names.name);
    if (verb.empty()) found.insert(found.end(), std::begin(kOwnVerbs), std::end(kOwnVerbs));
  } else if (word.starts_with('-')) {
    for (const VerbNames& names : verbs_)
      if (names.name == verb) found = names.options;
  } else if (const std::size_t equals = word.find('='); equals != std::string_view::npos) {
    const std::string path{word.substr(0, equals)};
    for (const std::string& value : values(path))
      found.push_back(path + "=" + as_word(value));
  } else {
    found = paths(word, verb == "set");
  }
  keep_beginning_with(word, found);
  return found;
}

std::vector<std::string> Completion::paths(std::string_view word, bool with_value) {
  if (!tree_) {
    const Result<std::string> root = root_of(client_);
    if (!root) return {};
    Result<ExportedTree> tree = load_exported_tree(client_, root.value);
    if (!tree) return {};
    tree_ = std::move(tree.value);
  }
  const std::size_t dot = word.rfind('.');
  if (dot == std::string_view::npos) return {tree_->path};
  const std::string around{word.substr(0, dot + 1)};
  const ExportedObject* object = tree_->find(around);
  if (!object) return {};
  std::vector<std::string> found;
  for (const ExportedParameter& parameter : object->parameters)
    if (!with_value || parameter.writable)
      found.push_back(around + parameter.name + (with_value ? "=" : ""));
  for (const ExportedObject& child : object->objects)
    found.push_back(around + child.name);
  return found;
}

std::vector<std::string> Completion::values(const std::string& path) const {
  const Result<int> type = client_.get_type(path);
  if (type && type.value == GWCONF_TYPE_BOOLEAN) return {"0", "1"};
  const Result<std::string> enumeration = client_.get_enumeration(path);
  std::vector<std::string> found;
  for (std::size_t begin = 0; begin < enumeration.value.size();) {
    const std::size_t end = std::min(enumeration.value.find(',', begin), enumeration.value.size());
    if (end > begin) found.push_back(enumeration.value.substr(begin, end - begin));
    begin = end + 1;
  }
  return found;
}

}  // namespace gwconf::tool
