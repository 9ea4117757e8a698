#include "client/exchange.h"

#include <cstdio>

#include "client/connection.h"
#include "rpc/protocol.h"

namespace gwconf::client {
namespace {

/// The messages that come before the result.
enum class Shape {
  kNothing,
  kOne,
  kUntilEmpty,  ///< up to an empty text, which is no answer itself
  kUntilEnd,    ///< not known: the daemon hangs up behind the result
};

[[nodiscard]] Shape shape_of(std::int32_t command) {
  switch (command) {
    case kSetValue:
    case kSetAttribute:
    case kAddInstance:
    case kAddVirtualInstance:
    case kDeleteInstance:
    case kDeleteNode:
    case kInsertInstance:
    case kInsertVirtualInstance:
    case kRearrange:
    case kCommit:
    case kReset:
    case kMove:
    case kSetValueAgain:
    case kSetAttributeAgain:
    case kSaveFile:
    case kRestoreFile:
    case kRegisterListener:
      return Shape::kNothing;
    case kGetValue:
    case kGetName:
    case kGetAttributes:
    case kGetType:
    case kGetMax:
    case kGetMin:
    case kGetPath:
    case kGetEnumeration:
    case kCheckVirtual:
    case kListInstances:
    case kGetValueAgain:
    case kGetNameAgain:
    case kGetAttributesAgain:
    case kExportNode:
    case kExportParameter:
      return Shape::kOne;
    case kDumpShortNames:
      return Shape::kUntilEmpty;
    default:
      return Shape::kUntilEnd;
  }
}

[[nodiscard]] int receive_into(Connection& connection, gwconf_answers& answers) {
  const std::size_t begin = answers.texts.size();
  if (const int code = connection.receive(answers.texts)) return code;
  return answers.begins.append(&begin, sizeof begin) ? GWCONF_OK : GWCONF_E_MEMORY;
}

/// Every message of the answer, the result last.
[[nodiscard]] int receive_all(Connection& connection, Shape shape, gwconf_answers& answers) {
  if (shape == Shape::kUntilEnd) {
    int code = GWCONF_OK;
    while (code == GWCONF_OK)
      code = receive_into(connection, answers);
    return code == GWCONF_E_CLOSED && answers.count() > 0 ? GWCONF_OK : code;
  }
  if (shape != Shape::kNothing)
    if (const int code = receive_into(connection, answers)) return code;
  if (shape == Shape::kUntilEmpty) {
    while (*answers.text(answers.count() - 1) != '\0')
      if (const int code = receive_into(connection, answers)) return code;
    answers.drop_last();
  }
  return receive_into(connection, answers);
}

/// Numbers from here down to -1999 are this library's own; the daemon has no business with them.
[[nodiscard]] bool is_ours(std::int32_t code) {
  return code <= GWCONF_E_ARGUMENT && code > -2000;
}

}  // namespace

bool parse_number(const char* text, std::int32_t* number) noexcept {
  const bool negative = *text == '-';
  if (negative) ++text;
  if (*text == '\0') return false;
  std::int64_t value = 0;
  for (; *text != '\0'; ++text) {
    if (*text < '0' || *text > '9') return false;
    value = value * 10 + (*text - '0');
    if (value > std::int64_t{INT32_MAX} + 1) return false;
  }
  if (negative) value = -value;
  if (value > INT32_MAX) return false;
  *number = static_cast<std::int32_t>(value);
  return true;
}

int exchange(const gwconf_client& client, std::int32_t command,
             std::span<const char* const> arguments, gwconf_answers& answers) noexcept {
  char number[12];
  std::snprintf(number, sizeof number, "%d", static_cast<int>(command));
  Request request;
  if (const int code = request.append(number)) return code;
  for (const char* argument : arguments)
    if (const int code = request.append(argument)) return code;

  Connection connection{client.timeout.load(std::memory_order_relaxed)};
  if (const int code = connection.open(client.socket_path)) return code;
  if (const int code = connection.send(request)) return code;
  if (const int code = receive_all(connection, shape_of(command), answers)) return code;

  std::int32_t result = 0;
  if (!parse_number(answers.text(answers.count() - 1), &result) || is_ours(result))
    return GWCONF_E_PROTOCOL;
  answers.drop_last();
  return result;
}

}  // namespace gwconf::client
