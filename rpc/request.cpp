#include "rpc/request.h"

#include "core/number.h"
#include "core/path.h"

namespace gwconf {

bool read_argument(int fd, char* buf) {
  return CM_RPC_SocketRead(fd, buf) != 0;
}

Status CM_RPC_RPOCESS_GetObjNode(int fd, char* buf, Node** out) {
  *out = nullptr;
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  return CM_CORE_GetObjNodeByUri(buf, out);
}

Status CM_RPC_RPOCESS_GetParameter(int fd, char* buf, Parameter** out) {
  *out = nullptr;
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  return CM_CORE_GetParaNodeByUri(buf, out);
}

Status find_target(std::string_view path, Target* out) {
  *out = {};
  if (CM_UTL_UriIsObjNode(path) == CM_OK) return CM_CORE_GetObjNodeByUri(path, &out->node);
  if (const Status status = CM_CORE_GetParaNodeByUri(path, &out->param)) return status;
  out->node = out->param->parent;
  return CM_OK;
}

void answer(int fd, const char* text) {
  CM_RPC_SocketWrite(fd, text);
}

void answer_number(int fd, std::int32_t number) {
  answer(fd, DecimalText{number}.c_str());
}

Status answer_nothing(int fd, Status result) {
  answer(fd, "");
  return result;
}

}  // namespace gwconf
