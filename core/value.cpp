#include "core/value.h"

#include <algorithm>
#include <cstring>

#include "core/path.h"
#include "core/user_set.h"

namespace gwconf {

Status CM_CORE_SetValueByURI(std::string_view path, const char* value) {
  if (!value) return CM_OK;
  Parameter* param = nullptr;
  if (const Status status = CM_CORE_GetParaNodeByUri(path, &param)) return status;
  if (has(*param->parent, kDisabled)) return CM_OK;
  const std::string_view text{value};
  if (!tree_has_room(text.size()) || !param->value.assign(text)) return CM_NO_MEMORY;
  mark_user_set(param);
  return CM_OK;
}

Status CM_CORE_GetValueByURI(std::string_view path, std::span<char> out) {
  Parameter* param = nullptr;
  if (const Status status = CM_CORE_GetParaNodeByUri(path, &param)) return status;
  if (out.empty()) return CM_OK;
  if (has(*param->parent, kDisabled)) {
    out.front() = '\0';
  } else if (param->value) {
    const std::size_t length = std::min(param->value.view().size(), out.size() - 1);
    std::memcpy(out.data(), param->value.get(), length);
    out[length] = '\0';
  }
  return CM_OK;
}

Status CM_CORE_SetInstanceRWByURI(std::string_view path, std::uint32_t writable) {
  if (writable >= 2) return CM_OK;
  Node* node = nullptr;
  if (const Status status = CM_CORE_GetObjNodeByUri(path, &node)) return status;
  if (CM_CORE_CheckIfInstance(node->name.view()) != CM_OK) return CM_INVALID;
  if (!has(*node, kDisabled)) set(*node, kWritable, writable == 1);
  return CM_OK;
}

}  // namespace gwconf
