#include "gwconf/client.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "client/buffer.h"
#include "client/exchange.h"
#include "protocol/commands.h"
#include "protocol/limits.h"
#include "protocol/status.h"

using namespace gwconf;
using client::Owned;

namespace {

/// A number as the argument text that it travels as.
class Decimal {
 public:
  explicit Decimal(int number) noexcept { std::snprintf(text_, sizeof text_, "%d", number); }
  explicit Decimal(unsigned number) noexcept { std::snprintf(text_, sizeof text_, "%u", number); }
  [[nodiscard]] const char* text() const noexcept { return text_; }

 private:
  char text_[12];
};

using Arguments = std::initializer_list<const char*>;

[[nodiscard]] int request(const gwconf_client* handle, std::int32_t command, Arguments arguments,
                          gwconf_answers& answers) {
  if (!handle) return GWCONF_E_ARGUMENT;
  return client::exchange(*handle, command, {arguments.begin(), arguments.size()}, answers);
}

/// A command that is answered by its result alone.
[[nodiscard]] int order(const gwconf_client* handle, std::int32_t command, Arguments arguments) {
  gwconf_answers answers;
  return request(handle, command, arguments, answers);
}

/// A command that is answered by a text.
[[nodiscard]] int ask(const gwconf_client* handle, std::int32_t command, const char* path,
                      char** text) {
  if (!text) return GWCONF_E_ARGUMENT;
  *text = nullptr;
  gwconf_answers answers;
  const int code = request(handle, command, {path}, answers);
  if (code == GWCONF_OK) *text = answers.texts.release();
  return code;
}

/// A command that is answered by a number.
[[nodiscard]] int ask(const gwconf_client* handle, std::int32_t command, const char* path,
                      int* number) {
  if (!number) return GWCONF_E_ARGUMENT;
  *number = 0;
  gwconf_answers answers;
  const int code = request(handle, command, {path}, answers);
  if (code != GWCONF_OK) return code;
  std::int32_t value = 0;
  if (!client::parse_number(answers.text(0), &value)) return GWCONF_E_PROTOCOL;
  *number = value;
  return GWCONF_OK;
}

/// A command on one instance of a table.
[[nodiscard]] int order_instance(const gwconf_client* handle, std::int32_t command,
                                 const char* table, unsigned number) {
  if (number > GWCONF_INSTANCE_MAX) return GWCONF_E_ARGUMENT;
  return order(handle, command, {table, Decimal{number}.text()});
}

/// Numbers each followed by a comma. False for any other text.
[[nodiscard]] bool parse_list(const char* text, unsigned* numbers) {
  while (*text != '\0') {
    unsigned long value = 0;
    const char* digits = text;
    for (; *text >= '0' && *text <= '9'; ++text) {
      value = value * 10 + static_cast<unsigned>(*text - '0');
      if (value > GWCONF_INSTANCE_MAX) return false;
    }
    if (text == digits || *text++ != ',') return false;
    *numbers++ = static_cast<unsigned>(value);
  }
  return true;
}

[[nodiscard]] std::size_t count_of(const char* text, char wanted) {
  std::size_t count = 0;
  for (; *text != '\0'; ++text)
    count += *text == wanted;
  return count;
}

}  // namespace

int gwconf_open(const char* socket_path, gwconf_client** client) {
  if (!client) return GWCONF_E_ARGUMENT;
  *client = nullptr;
  if (!socket_path) {
    socket_path = std::getenv("GWCONF_SOCKET");
    if (!socket_path || *socket_path == '\0') socket_path = kSocketPath;
  }
  const std::size_t size = std::strlen(socket_path) + 1;
  if (size == 1 || size > sizeof gwconf_client::socket_path) return GWCONF_E_ARGUMENT;
  Owned<gwconf_client> made = client::make<gwconf_client>();
  if (!made) return GWCONF_E_MEMORY;
  std::memcpy(made->socket_path, socket_path, size);
  *client = made.release();
  return GWCONF_OK;
}

void gwconf_close(gwconf_client* client) {
  const Owned<gwconf_client> owned{client};
}

const char* gwconf_socket_path(const gwconf_client* client) {
  return client ? client->socket_path : "";
}

int gwconf_set_timeout(gwconf_client* client, int milliseconds) {
  if (!client || milliseconds < 1) return GWCONF_E_ARGUMENT;
  client->timeout.store(milliseconds, std::memory_order_relaxed);
  return GWCONF_OK;
}

void gwconf_free(void* text_or_list) {
  std::free(text_or_list);
}

const char* gwconf_strerror(int code) {
  switch (code) {
    case GWCONF_E_ARGUMENT:
      return "argument missing, too long or out of range";
    case GWCONF_E_MEMORY:
      return "out of memory in this process";
    case GWCONF_E_CONNECT:
      return "daemon not reachable";
    case GWCONF_E_TIMEOUT:
      return "no answer in time";
    case GWCONF_E_CLOSED:
      return "daemon hung up without a result";
    case GWCONF_E_PROTOCOL:
      return "answer is not of this protocol";
    case GWCONF_E_SYSTEM:
      return "system call failed";
    default:
      return status_text(code);
  }
}

int gwconf_get_value(const gwconf_client* client, const char* parameter, char** value) {
  return ask(client, kGetValue, parameter, value);
}

int gwconf_set_value(const gwconf_client* client, const char* parameter, const char* value) {
  return order(client, kSetValue, {parameter, value});
}

int gwconf_get_name(const gwconf_client* client, const char* parameter, char** name) {
  return ask(client, kGetName, parameter, name);
}

int gwconf_get_path(const gwconf_client* client, const char* parameter, char** path) {
  return ask(client, kGetPath, parameter, path);
}

int gwconf_get_type(const gwconf_client* client, const char* parameter, int* type) {
  return ask(client, kGetType, parameter, type);
}

int gwconf_get_max(const gwconf_client* client, const char* parameter, int* maximum) {
  return ask(client, kGetMax, parameter, maximum);
}

int gwconf_get_min(const gwconf_client* client, const char* parameter, int* minimum) {
  return ask(client, kGetMin, parameter, minimum);
}

int gwconf_get_enumeration(const gwconf_client* client, const char* parameter, char** enumeration) {
  return ask(client, kGetEnumeration, parameter, enumeration);
}

int gwconf_get_attributes(const gwconf_client* client, const char* path, unsigned* attributes) {
  if (!attributes) return GWCONF_E_ARGUMENT;
  *attributes = 0;
  int word = 0;
  const int code = ask(client, kGetAttributes, path, &word);
  if (code != GWCONF_OK) return code;
  if (word < 0 || word > 0xffff) return GWCONF_E_PROTOCOL;
  *attributes = static_cast<unsigned>(word);
  return GWCONF_OK;
}

int gwconf_set_attribute(const gwconf_client* client, const char* path, int bit, int on) {
  char change[16];
  if (bit < 0 || bit > 15) return GWCONF_E_ARGUMENT;
  std::snprintf(change, sizeof change, "%d,%d", bit, on != 0 ? 1 : 0);
  return order(client, kSetAttribute, {path, change});
}

int gwconf_dump_short_names(const gwconf_client* client, gwconf_answers** texts) {
  const int code = gwconf_call(client, kDumpShortNames, nullptr, 0, texts);
  if (code != GWCONF_OK && texts) {
    gwconf_answers_free(*texts);
    *texts = nullptr;
  }
  return code;
}

int gwconf_add_instance(const gwconf_client* client, const char* table, unsigned number) {
  return order_instance(client, kAddInstance, table, number);
}

int gwconf_add_virtual_instance(const gwconf_client* client, const char* table, unsigned number) {
  return order_instance(client, kAddVirtualInstance, table, number);
}

int gwconf_insert_instance(const gwconf_client* client, const char* table, unsigned number) {
  return order_instance(client, kInsertInstance, table, number);
}

int gwconf_insert_virtual_instance(const gwconf_client* client, const char* table,
                                   unsigned number) {
  return order_instance(client, kInsertVirtualInstance, table, number);
}

int gwconf_delete_instance(const gwconf_client* client, const char* table, unsigned number) {
  return order_instance(client, kDeleteInstance, table, number);
}

int gwconf_delete_node(const gwconf_client* client, const char* object) {
  return order(client, kDeleteNode, {object});
}

int gwconf_check_virtual(const gwconf_client* client, const char* path, int* is_virtual) {
  return ask(client, kCheckVirtual, path, is_virtual);
}

int gwconf_list_instances(const gwconf_client* client, const char* table, unsigned** numbers,
                          size_t* count) {
  if (!numbers || !count) return GWCONF_E_ARGUMENT;
  *numbers = nullptr;
  *count = 0;
  gwconf_answers answers;
  const int code = request(client, kListInstances, {table}, answers);
  if (code != GWCONF_OK) return code;
  const char* text = answers.text(0);
  if (*text == '\0') return GWCONF_OK;
  const std::size_t commas = count_of(text, ',');
  if (commas == 0) return GWCONF_E_PROTOCOL;
  auto* list = static_cast<unsigned*>(std::calloc(commas, sizeof(unsigned)));
  if (!list) return GWCONF_E_MEMORY;
  if (!parse_list(text, list)) {
    std::free(list);
    return GWCONF_E_PROTOCOL;
  }
  *numbers = list;
  *count = commas;
  return GWCONF_OK;
}

int gwconf_rearrange(const gwconf_client* client, const char* table, unsigned first,
                     unsigned count) {
  if (first > INT32_MAX || count > INT32_MAX) return GWCONF_E_ARGUMENT;
  return order(client, kRearrange, {Decimal{first}.text(), Decimal{count}.text(), table});
}

int gwconf_move(const gwconf_client* client, const char* new_parent, const char* moved) {
  return order(client, kMove, {new_parent, moved});
}

int gwconf_commit(const gwconf_client* client) {
  return order(client, kCommit, {});
}

int gwconf_reset(const gwconf_client* client) {
  return order(client, kReset, {});
}

int gwconf_save(const gwconf_client* client, const char* file) {
  return order(client, kSaveFile, {file});
}

int gwconf_restore(const gwconf_client* client, const char* file) {
  return order(client, kRestoreFile, {file});
}

int gwconf_export_node(const gwconf_client* client, const char* object, char** xml) {
  return ask(client, kExportNode, object, xml);
}

int gwconf_export_parameter(const gwconf_client* client, const char* parameter, char** xml) {
  return ask(client, kExportParameter, parameter, xml);
}

int gwconf_register(const gwconf_client* client, int process, int signal, const char* file) {
  return order(client, kRegisterListener, {Decimal{process}.text(), Decimal{signal}.text(), file});
}

int gwconf_call(const gwconf_client* client, int command, const char* const* arguments,
                size_t argument_count, gwconf_answers** answers) {
  if (!answers) return GWCONF_E_ARGUMENT;
  *answers = nullptr;
  if (!client || (!arguments && argument_count > 0)) return GWCONF_E_ARGUMENT;
  Owned<gwconf_answers> gathered = client::make<gwconf_answers>();
  if (!gathered) return GWCONF_E_MEMORY;
  const int code = client::exchange(*client, command, {arguments, argument_count}, *gathered);
  if (code > GWCONF_E_ARGUMENT) *answers = gathered.release();
  return code;
}

size_t gwconf_answers_count(const gwconf_answers* answers) {
  return answers ? answers->count() : 0;
}

const char* gwconf_answers_text(const gwconf_answers* answers, size_t index) {
  return answers && index < answers->count() ? answers->text(index) : nullptr;
}

void gwconf_answers_free(gwconf_answers* answers) {
  const Owned<gwconf_answers> owned{answers};
}
