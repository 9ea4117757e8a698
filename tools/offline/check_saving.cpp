#include <cstdio>
#include <memory>
#include <vector>

#include "core/counter.h"
#include "core/path.h"
#include "storage/settings_block.h"
#include "tools/offline/check_tree.h"
#include "tools/offline/daemon_terms.h"
#include "xml/vocabulary.h"
#include "xml/writer.h"

namespace gwconf::tool {
namespace {

/// False when a save could not write the record.
[[nodiscard]] bool check_list(ElementKind kind, const void* record, std::FILE* nowhere,
                              TreeFindings& findings) {
  if (VT_CM_RAM2XML_Element(kind, record, nowhere) == 0) return true;
  findings.add(Rule::kAttributeListTooLong, record, kAttrValue,
               "with all its attributes this is longer than " + std::to_string(kAttributeListMax) +
                   " characters: no settings with it could be saved");
  return false;
}

/// Sets what a user could set: everything but templates and counters.
void set_all(const LoadedTree& tree) {
  NodeWalk walk{tree.root()};
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

/// 0 when the text cannot be compressed.
[[nodiscard]] std::size_t block_size(const std::string& text) {
  std::vector<char> room(text.size() + text.size() / 8 + 1024);
  const std::int32_t length = CM_UTL_compress(room.data(), static_cast<std::int32_t>(room.size()),
                                              text.data(), static_cast<std::int32_t>(text.size()));
  return length < 0 ? 0 : block::kDataAt + static_cast<std::size_t>(length);
}

void check_block(const LoadedTree& tree, TreeFindings& findings) {
  set_all(tree);
  bool written = false;
  const std::string text = saved_text(tree.root(), &written);
  const std::size_t size = written ? block_size(text) : 0;
  if (size == 0) return;
  const std::string amount = "with every parameter set the settings would take " +
                             std::to_string(size) + " of " + std::to_string(block::kSizeMax) +
                             " bytes";
  if (text.size() > kDocumentBytesMax)
    findings.add(Rule::kBlockTooLarge, tree.root(), kAttrName,
                 "with every parameter set the settings would be a text of " +
                     std::to_string(text.size()) + " bytes; " + std::to_string(kDocumentBytesMax) +
                     " can be saved");
  else if (size > block::kSizeMax)
    findings.add(Rule::kBlockTooLarge, tree.root(), kAttrName, amount);
  else if (size > block::kSizeMax / 5 * 4)
    findings.add(Rule::kBlockNearlyFull, tree.root(), kAttrName, amount);
}

}  // namespace

void check_saving(const LoadedTree& tree, TreeFindings& findings) {
  bool fits = true;
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> nowhere{std::fopen("/dev/null", "w"),
                                                                std::fclose};
  if (!nowhere) return;
  NodeWalk walk{tree.root()};
  do {
    const Node& node = *walk.get();
    fits &= check_list(ElementKind::kObject, &node, nowhere.get(), findings);
    for (const Parameter* param = node.params; param; param = param->next)
      fits &= check_list(ElementKind::kParameter, param, nowhere.get(), findings);
  } while (walk.next());
  if (fits) check_block(tree, findings);
}

}  // namespace gwconf::tool
