#include "rpc/value_commands.h"

#include <cstdio>

#include "core/path.h"
#include "core/short_name_index.h"
#include "core/user_set.h"
#include "platform/getters.h"
#include "platform/services.h"
#include "rpc/notification.h"
#include "rpc/request.h"

namespace gwconf {
namespace {

Status find_parameter(int fd, char* buf, Parameter** out) {
  const Status status = CM_RPC_RPOCESS_GetParameter(fd, buf, out);
  return status == CM_OK ? status : answer_nothing(fd, status);
}

template <auto Field>
Status answer_field(int fd, char* buf) {
  Parameter* param = nullptr;
  if (const Status status = find_parameter(fd, buf, &param)) return status;
  answer_number(fd, param->*Field);
  return CM_OK;
}

}  // namespace

Status CM_RPC_RPOCESS_SetParameterValues(int fd, char* buf) {
  Parameter* param = nullptr;
  if (const Status status = CM_RPC_RPOCESS_GetParameter(fd, buf, &param)) return status;
  if (!read_argument(fd, buf)) return CM_UNREADABLE;
  char escaped[kMessageMax] = {};
  if (util_xml_encoder(escaped, buf) < 0) return CM_INVALID;
  const std::string_view value{escaped};
  if (param->value && param->value.view() == value) return CM_UNCHANGED;
  if (!tree_has_room(value.size()) || !param->value.assign(value)) return CM_NO_MEMORY;
  ignore(CM_RPC_TR069_Notification_Check(param, buf, kMessageMax));  // mostly nobody listens
  mark_user_set(param);
  return CM_OK;
}

Status CM_RPC_RPOCESS_GetParameterValues(int fd, char* buf) {
  Parameter* param = nullptr;
  if (const Status status = find_parameter(fd, buf, &param)) return status;
  if (has(*param->parent, kDisabled)) return answer_nothing(fd, CM_OK);
  char value[kMessageMax] = {};
  if (param->getter) {
    if (param->getter->getter(buf, value, kMessageMax) != CM_OK) return answer_nothing(fd, CM_OK);
  } else if (param->value) {
    // A value of a configuration file may be longer than a message; what does not fit reads as
    // empty.
    static_cast<void>(util_xml_decoder(value, param->value.get()));
  }
  answer(fd, value);
  return CM_OK;
}

Status CM_RPC_RPOCESS_GetParameterNames(int fd, char* buf) {
  Parameter* param = nullptr;
  if (const Status status = find_parameter(fd, buf, &param)) return status;
  answer(fd, param->name.c_str());
  return CM_OK;
}

Status CM_RPC_RPOCESS_GetParameterURI(int fd, char* buf) {
  Parameter* param = nullptr;
  if (const Status status = find_parameter(fd, buf, &param)) return status;
  if (const Status status = CM_CORE_GetURIByParaNode(param, {buf, kMessageMax}))
    return answer_nothing(fd, status);
  answer(fd, buf);
  return CM_OK;
}

Status CM_RPC_RPOCESS_GetParameterDataType(int fd, char* buf) {
  return answer_field<&Parameter::type>(fd, buf);
}

Status CM_RPC_RPOCESS_GetParameterMaxLen(int fd, char* buf) {
  return answer_field<&Parameter::max>(fd, buf);
}

Status CM_RPC_RPOCESS_GetParameterMinLen(int fd, char* buf) {
  return answer_field<&Parameter::min>(fd, buf);
}

Status CM_RPC_RPOCESS_GetParameterEnumeration(int fd, char* buf) {
  Parameter* param = nullptr;
  if (const Status status = find_parameter(fd, buf, &param)) return status;
  // A configuration file may hold a longer list than a message.
  std::snprintf(buf, kMessageMax, "%s", param->enumeration.c_str());
  answer(fd, buf);
  return CM_OK;
}

Status CM_RPC_RPOCESS_SNameDump(int fd, char* /*buf*/) {
  char line[kMessageMax];
  for (int bucket = 0; bucket < kShortNameBuckets; ++bucket) {
    std::snprintf(line, sizeof line, "Hash index : %d\n", bucket);
    answer(fd, line);
    for (const ShortNameEntry* entry = hashroot_sname[bucket]; entry; entry = entry->next) {
      std::snprintf(line, sizeof line, "\t %s = %s\n", entry->key.c_str(),
                    entry->value ? entry->value->value.c_str() : "");
      answer(fd, line);
    }
  }
  return answer_nothing(fd, CM_OK);  // the end of the list
}

}  // namespace gwconf
