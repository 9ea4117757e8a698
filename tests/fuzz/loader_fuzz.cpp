#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/path.h"
#include "tests/support/failing_heap.h"
#include "xml/loader.h"
#include "xml/writer.h"

using namespace gwconf;

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

void mark_user_set(Node* node) {
  for (; node; node = node->next) {
    set(*node, kUserSet);
    for (Parameter* param = node->params; param; param = param->next)
      set(*param, kUserSet);
    mark_user_set(node->children);
  }
}

/// What is saved of a text when all of it was set by the user; none when it does not load or is too
/// long to be saved.
OwnedText saved(std::string_view text) {
  const NodePtr root = new_node();
  if (VT_CM_XML2RAM(root.get(), text) != CM_OK) return {};
  mark_user_set(root.get());
  OwnedText out;
  ignore(VT_CM_RAM2XML(&out, root.get()));
  return out;
}

}  // namespace

/// Loads the input and saves it: what was saved loads again, and from the second time on comes back
/// to the byte. (The first time may cut a range that is too long for its text.) The fuzzer wants
/// -close_fd_mask=1: the reader talks.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
  const std::size_t blocks = test::live_blocks();
  if (const OwnedText first = saved({reinterpret_cast<const char*>(input), size})) {
    const OwnedText second = saved(first.view());
    require(static_cast<bool>(second));
    const OwnedText third = saved(second.view());
    require(third && third.view() == second.view());
  }
  require(test::live_blocks() == blocks);
  return 0;
}
