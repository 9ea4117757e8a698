#include "client/exchange.h"

#include <cstdio>

#include "client/connection.h"
#include "protocol/commands.h"

namespace gwconf::client {
namespace {

[[nodiscard]] int receive_into(Connection& connection, gwconf_answers& answers) {
  const std::size_t begin = answers.texts.size();
  if (const int code = connection.receive(answers.texts)) return code;
  return answers.begins.append(&begin, sizeof begin) ? GWCONF_OK : GWCONF_E_MEMORY;
}

/// Every message of the answer to `command`, the result last. Of a number that is no command only
/// the end tells how many there are.
[[nodiscard]] int receive_all(Connection& connection, std::int32_t command,
                              gwconf_answers& answers) {
  const CommandShape* shape = shape_of(command);
  if (!shape) {
    int code = GWCONF_OK;
    while (code == GWCONF_OK)
      code = receive_into(connection, answers);
    return code == GWCONF_E_CLOSED && answers.count() > 0 ? GWCONF_OK : code;
  }
  if (shape->answer != Answer::kNothing)
    if (const int code = receive_into(connection, answers)) return code;
  if (shape->answer == Answer::kUntilEmpty) {
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
  if (const int code = receive_all(connection, command, answers)) return code;

  std::int32_t result = 0;
  if (!parse_number(answers.text(answers.count() - 1), &result) || is_ours(result))
    return GWCONF_E_PROTOCOL;
  answers.drop_last();
  return result;
}

}  // namespace gwconf::client
