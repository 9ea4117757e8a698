#include "core/strays.h"

#include <algorithm>
#include <array>

namespace gwconf {
namespace {

struct Stray {
  Node* node = nullptr;
  Node* lister = nullptr;
};

std::array<Stray, kStraysMax> strays;
std::size_t stray_count = 0;

Stray* end_of_strays() {
  return strays.data() + stray_count;
}

Stray* find(const Node* node) {
  return std::find_if(strays.data(), end_of_strays(),
                      [node](const Stray& stray) { return stray.node == node; });
}

void remove(Stray* stray) {
  *stray = strays[--stray_count];
}

bool is_listed_below(const Node* node, const Node* top) {
  while (node && node != top)
    node = lister_of(*node);
  return node != nullptr;
}

}  // namespace

Node* lister_of(const Node& node) {
  const Stray* stray = find(&node);
  return stray == end_of_strays() ? node.parent : stray->lister;
}

Status remember_stray(Node* node, Node* lister) {
  if (stray_count == kStraysMax) return CM_NO_MEMORY;
  strays[stray_count++] = {.node = node, .lister = lister};
  return CM_OK;
}

void release_strays(const Node* doomed) {
  for (Stray* stray = strays.data(); stray != end_of_strays();) {
    if (!is_listed_below(stray->node->parent, doomed)) {
      ++stray;
      continue;
    }
    stray->node->parent = stray->lister;
    remove(stray);
  }
}

void forget_stray(const Node* node) {
  if (Stray* stray = find(node); stray != end_of_strays()) remove(stray);
}

}  // namespace gwconf
