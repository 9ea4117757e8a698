#include "rpc/attribute_commands.h"

#include "core/number.h"
#include "rpc/notification.h"
#include "rpc/peer.h"
#include "rpc/request.h"

namespace gwconf {
namespace {

struct BitChange {
  std::int32_t bit = 0;
  std::int32_t value = 0;
};

/// "bit,value"; whatever is missing stays 0.
BitChange scan_bit_change(std::string_view text) {
  const ScannedNumber bit = scan_number(text);
  BitChange change{.bit = bit.value, .value = 0};
  text.remove_prefix(bit.used);
  if (bit.found && text.starts_with(',')) {
    text.remove_prefix(1);
    change.value = to_number(text);
  }
  return change;
}

}  // namespace

Status CM_RPC_RPOCESS_SetParameterAttributes(int fd, char* buf) {
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  Target target;
  if (const Status status = find_target(buf, &target)) return status;
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  const BitChange change = scan_bit_change(buf);
  std::uint16_t* word = target.attributes();
  *word = CM_UTL_SetAttrBoolean(*word, static_cast<unsigned>(change.bit),
                                static_cast<unsigned>(change.value));
  return CM_OK;
}

Status CM_RPC_RPOCESS_GetParameterAttributes(int fd, char* buf) {
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  Target target;
  if (const Status status = find_target(buf, &target)) return answer_nothing(fd, status);
  answer_number(fd, *target.attributes());
  return CM_OK;
}

Status CM_RPC_RPOCESS_TR069_Notification_Registration(int fd, char* buf) {
  buf[0] = '\0';  // a process id that does not come must not read as the command's number
  Registration* registration = renew_registration();
  if (!registration) return CM_INVALID;
  registration->registrant = peer_of(fd);
  // Each field counts as soon as it is there: one that was cut short stays partial, and switches
  // notification off.
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  registration->process = to_number(buf);
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  registration->signal = to_number(buf);
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  return start_notification_file(registration, buf);
}

}  // namespace gwconf
