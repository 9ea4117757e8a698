#include "core/path.h"

#include <algorithm>
#include <cstring>

#include "core/number.h"
#include "core/row_index.h"
#include "core/text_view.h"
#include "core/walk.h"

namespace gwconf {
namespace {

constexpr std::string_view kTemplate = "0.";

enum class Segments { kAsTheyAre, kOfTemplates };

/// Follows the object segments of `path` from `node`, which may be null; instance segments lead to
/// the template where that is asked for. The rest behind the last dot goes to `leaf`.
Node* walk(Node* node, std::string_view path, std::string_view* leaf,
           Segments segments = Segments::kAsTheyAre) {
  while (node) {
    const std::size_t dot = path.find('.');
    if (dot == std::string_view::npos) break;
    std::string_view segment{path.data(), dot + 1};
    path.remove_prefix(segment.size());
    if (segment.size() > kSegmentMax) return nullptr;
    if (segments == Segments::kOfTemplates && CM_CORE_CheckIfInstance(segment) == CM_OK)
      segment = kTemplate;
    node = CM_CORE_GetChildObjByName(node, segment);
  }
  *leaf = path;
  return node;
}

[[nodiscard]] bool has_dot(std::string_view path) {
  return path.find('.') != std::string_view::npos;
}

/// Prepends the names of a chain of ancestors to `leaf`, from the end of `out` backwards, and moves
/// the whole to its front.
Status path_of(std::string_view leaf, const Node* ancestor, std::span<char> out) {
  if (out.empty()) return CM_INVALID;
  out.front() = '\0';
  const std::size_t room = std::min(out.size(), kPathBufferSize) - 1;
  std::size_t length = leaf.size();
  for (const Node* node = ancestor; node; node = node->parent)
    length += node->name.view().size();
  if (length > room) return CM_INVALID;
  char* at = out.data() + length;
  *at = '\0';
  const auto prepend = [&at](std::string_view part) {
    at -= part.size();
    if (!part.empty()) std::memcpy(at, part.data(), part.size());
  };
  prepend(leaf);
  for (const Node* node = ancestor; node; node = node->parent)
    prepend(node->name.view());
  return CM_OK;
}

}  // namespace

bool PathText::append(std::string_view part) {
  if (part.size() >= kPathBufferSize - length_) return false;
  if (!part.empty()) std::memcpy(text_ + length_, part.data(), part.size());
  length_ += part.size();
  text_[length_] = '\0';
  return true;
}

bool PathText::append_instance(std::int32_t number) {
  return append(InstanceName{number}.view());
}

Status CM_UTL_UriIsObjNode(std::string_view path) {
  return path.ends_with('.') ? CM_OK : CM_INVALID;
}

const char* strstr_last(const char* str, const char* tail) {
  if (!str || !tail) return nullptr;
  const std::size_t length = std::strlen(str);
  const std::size_t tail_length = std::strlen(tail);
  if (tail_length > length) return nullptr;
  const char* position = str + length - tail_length;
  return std::strcmp(position, tail) == 0 ? position : nullptr;
}

Node* CM_CORE_GetChildObjByName(Node* node, std::string_view name) {
  return node->name.view() == name ? node : find_child(node, name);
}

Parameter* CM_CORE_GetChildParaByName(Node* node, std::string_view name) {
  Parameter* param = node->params;
  while (param && param->name.view() != name)
    param = param->next;
  return param;
}

Status CM_CORE_GetObjNodeByUri(std::string_view path, Node** out) {
  *out = nullptr;
  if (CM_UTL_UriIsObjNode(path) != CM_OK || path.size() >= kPathBufferSize) return CM_INVALID;
  std::string_view leaf;
  *out = walk(cml_root, path, &leaf);
  return *out ? CM_OK : CM_NOT_FOUND;
}

Node* descend(Node* from, std::string_view segments) {
  std::string_view leaf;
  Node* node = walk(from, segments, &leaf);
  return leaf.empty() ? node : nullptr;
}

Status find_template(std::string_view table, Node** out) {
  *out = nullptr;
  if (table.size() + kTemplate.size() >= kPathBufferSize) return CM_INVALID;
  std::string_view leaf;
  Node* model = walk(cml_root, table, &leaf, Segments::kOfTemplates);
  if (model) *out = CM_CORE_GetChildObjByName(model, kTemplate);
  return *out ? CM_OK : CM_NOT_FOUND;
}

Status CM_CORE_GetParaNodeByUri(std::string_view path, Parameter** out) {
  *out = nullptr;
  if (!path.data() || CM_UTL_UriIsObjNode(path) == CM_OK || path.size() >= kPathBufferSize)
    return CM_INVALID;
  if (!has_dot(path)) return CM_NOT_FOUND;
  std::string_view leaf;
  Node* node = walk(cml_root, path, &leaf);
  if (node) *out = CM_CORE_GetChildParaByName(node, leaf);
  return *out ? CM_OK : CM_NOT_FOUND;
}

Status CM_CORE_GetURIByParaNode(const Parameter* param, std::span<char> out) {
  return path_of(param->name.view(), param->parent, out);
}

Status CM_CORE_GetURIByObjNode(const Node* node, std::span<char> out) {
  return path_of({}, node, out);
}

Status CM_UTL_Node2URI(const Node* node, OwnedText* buffer) {
  std::size_t length = 0;
  for (const Node* part = node; part; part = part->parent) {
    if (!part->name) return CM_INVALID;
    length += part->name.view().size();
  }
  if (!node || length >= kPathBufferSize) return CM_INVALID;
  char* text = static_cast<char*>(CM_UTL_malloc(buffer->release(), length + 1));
  if (!text) return CM_NO_MEMORY;
  const Status status = path_of({}, node, {text, length + 1});
  *buffer = OwnedText::adopt(text);
  return status;
}

bool paths_fit(const Node& node, const Node* parent) {
  std::size_t length = 0;
  for (; parent; parent = parent->parent)
    length += parent->name.view().size();
  const auto enter = [&length](const Node& object) {
    length += object.name.view().size();
    std::size_t longest = 0;
    for (const Parameter* param = object.params; param; param = param->next)
      longest = std::max(longest, param->name.view().size());
    return length + longest < kPathBufferSize ? Visit::kEnter : Visit::kStop;
  };
  const auto leave = [&length](const Node& object) {
    length -= object.name.view().size();
    return true;
  };
  return walk_subtree(&node, enter, leave);
}

void CM_CORE_GetModelUri(char* path) {
  const std::string_view given{path};
  if (CM_UTL_UriIsObjNode(given) != CM_OK) return;
  // The rewritten path never overtakes the one being read: no instance segment is shorter than
  // "0.".
  char* out = path;
  for (std::size_t at = 0; at < given.size();) {
    const std::size_t dot = given.find('.', at);
    const std::string_view segment{path + at, dot + 1 - at};
    at = dot + 1;
    if (CM_CORE_CheckIfInstance(segment) == CM_OK) {
      for (const char c : kTemplate)
        *out++ = c;
    } else {
      std::memmove(out, segment.data(), segment.size());
      out += segment.size();
    }
  }
  *out = '\0';
}

}  // namespace gwconf
