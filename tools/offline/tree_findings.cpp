#include "tools/offline/tree_findings.h"

#include <algorithm>
#include <utility>

namespace gwconf::tool {

TreeFindings::TreeFindings(const LoadedTree& tree, const Outline& outline, std::string_view text,
                           Findings* findings)
    : outline_{outline}, text_{text}, findings_{findings} {
  std::size_t element = 0;
  NodeWalk walk{tree.root()};
  do {
    elements_.emplace(walk.get(), element++);
    for (const Parameter* param = walk.get()->params; param; param = param->next)
      elements_.emplace(param, element++);
  } while (walk.next());
}

void TreeFindings::add(Rule rule, const void* record, std::string_view attribute,
                       std::string message) {
  const std::size_t element = elements_.at(record);
  const ScannedItem& item = *outline_.elements[element].item;
  const ScannedAttribute* found = item.find(attribute);
  const std::string_view where = found ? found->raw : item.name;
  findings_->push_back({.rule = rule,
                        .at = static_cast<std::size_t>(where.data() - text_.data()),
                        .length = std::max<std::size_t>(where.size(), 1),
                        .message = std::move(message),
                        .element = element});
}

}  // namespace gwconf::tool
