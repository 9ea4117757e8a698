#include "rpc/instance_commands.h"

#include <cstring>
#include <syslog.h>

#include "core/instance.h"
#include "core/log.h"
#include "core/move.h"
#include "core/number.h"
#include "core/path.h"
#include "core/value.h"
#include "rpc/request.h"

namespace gwconf {

std::int32_t cm_log_priority = 0;

namespace {

/// An instance number as it came: the text counts too, since the path of the new instance is made
/// of it.
struct NumberArgument {
  static constexpr std::size_t kSize = 6;
  char text[kSize] = {};

  [[nodiscard]] std::int32_t value() const { return to_number(text); }
};

Status read_number(int fd, NumberArgument* number) {
  char message[kMessageMax] = {};
  const Received received = receive_message(fd, message);
  if (received.readiness == CM_OK && received.length == 0) return CM_UNREADABLE;
  if (received.length > static_cast<std::int32_t>(NumberArgument::kSize)) return CM_INVALID;
  std::memcpy(number->text, message, NumberArgument::kSize - 1);
  return CM_OK;
}

/// Makes the new instance real or virtual. Its path is composed of the number as received: one with
/// leading zeros names nothing, and the instance keeps the state of its template.
void set_instance_state(std::string_view table, const NumberArgument& number, bool real) {
  PathText path{table};
  if (path.append(number.text) && path.append("."))
    ignore(CM_CORE_SetInstanceRWByURI(path.view(), real ? 1 : 0));
}

/// Tells the system log of a change, by a format for its path and, where it has one, its number.
void log_change(const char* format, const char* path, std::int32_t number = 0) {
  if (log_keeps_up()) syslog(cm_log_priority, format, path, number);
}

using Creation = Status (*)(std::string_view table, std::int32_t n);

/// The one procedure behind adding and inserting.
Status create_instance(int fd, char* buf, Creation creation, bool real, bool logged) {
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  NumberArgument number;
  if (const Status status = read_number(fd, &number)) return status;
  if (const Status status = creation(buf, number.value())) return status;
  set_instance_state(buf, number, real);
  if (logged) log_change("Add object %s instance %d", buf, number.value());
  return CM_OK;
}

}  // namespace

Status CM_RPC_RPOCESS_AddInstance(int fd, char* buf) {
  return create_instance(fd, buf, CM_CORE_AddInstance, true, true);
}

Status CM_RPC_RPOCESS_AddVirtualInstance(int fd, char* buf) {
  return create_instance(fd, buf, CM_CORE_AddInstance, false, true);
}

Status CM_RPC_RPOCESS_InsertInstance(int fd, char* buf) {
  return create_instance(fd, buf, CM_CORE_InsertInstance, true, false);
}

Status CM_RPC_RPOCESS_InsertVirtualInstance(int fd, char* buf) {
  return create_instance(fd, buf, CM_CORE_InsertInstance, false, false);
}

Status CM_RPC_RPOCESS_DelInstance(int fd, char* buf) {
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  NumberArgument number;
  if (const Status status = read_number(fd, &number)) return status;
  if (const Status status = CM_CORE_DelInstance(buf, number.value())) return status;
  log_change("Delete object %s instance %d", buf, number.value());
  return CM_OK;
}

Status CM_RPC_RPOCESS_DelNode(int fd, char* buf) {
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  if (const Status status = CM_CORE_DelNode(buf)) return status;
  log_change("Delete object %s", buf);
  return CM_OK;
}

Status CM_RPC_RPOCESS_VirtualInstanceCheck(int fd, char* buf) {
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  Target target;
  ignore(find_target(buf, &target));  // what does not exist lies in no virtual instance
  answer(fd, lies_in_virtual_instance(target.node) ? "1" : "0");
  return CM_OK;
}

Status CM_RPC_RPOCESS_GetInstanceList(int fd, char* buf) {
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  if (const Status status = CM_CORE_GetInstanceList(buf, kMessageMax))
    return answer_nothing(fd, status);
  answer(fd, buf);
  return CM_OK;
}

Status CM_RPC_RPOCESS_InstanceReArrange(int fd, char* buf) {
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  const std::int32_t first = to_number(buf);
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  const std::int32_t count = to_number(buf);
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  return CM_CORE_InstanceReArrange(buf, first, count);
}

Status CM_RPC_RPOCESS_NodeMove(int fd, char* buf) {
  Node* parent = nullptr;
  const Status found = CM_RPC_RPOCESS_GetObjNode(fd, buf, &parent);
  if (found == CM_UNREADABLE) return found;
  const bool readable = read_argument(fd, buf);  // also when the first path names nothing
  if (found != CM_OK) return found;
  if (!readable) return CM_UNREADABLE;
  Target moved;
  if (const Status status = find_target(buf, &moved)) return status;
  if (has(*moved.node, kDisabled)) return CM_REFUSED;
  return CM_CORE_NodeMove(parent, moved.node);
}

}  // namespace gwconf
