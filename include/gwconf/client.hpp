// libgwconf for C++17: client.h with owners, strings and results. Nothing to link beyond the
// library.
#ifndef GWCONF_CLIENT_HPP
#define GWCONF_CLIENT_HPP

#include <gwconf/client.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace gwconf {

/// The code of a request, and what it delivered when the code is 0.
template <typename T>
struct [[nodiscard]] Result {
  int code = GWCONF_E_ARGUMENT;
  T value{};
  explicit operator bool() const noexcept { return code == GWCONF_OK; }
};

namespace detail {
struct Release {
  void operator()(void* text_or_list) const noexcept { gwconf_free(text_or_list); }
  void operator()(gwconf_client* client) const noexcept { gwconf_close(client); }
  void operator()(gwconf_answers* answers) const noexcept { gwconf_answers_free(answers); }
  void operator()(gwconf_listener* listener) const noexcept { gwconf_listener_close(listener); }
};
template <typename T>
using Owned = std::unique_ptr<T, Release>;

inline std::vector<std::string> texts_of(const gwconf_answers* answers) {
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < gwconf_answers_count(answers); ++i)
    texts.emplace_back(gwconf_answers_text(answers, i));
  return texts;
}
}  // namespace detail

/// A handle; see client.h for what each request does. Requests may run in several threads.
class Client {
 public:
  /// The socket at `socket_path`; without one GWCONF_SOCKET's or the system's.
  explicit Client(const char* socket_path = nullptr) {
    gwconf_client* made = nullptr;
    code_ = gwconf_open(socket_path, &made);
    handle_.reset(made);
  }

  /// GWCONF_OK when there is a handle. Without one every request gives GWCONF_E_ARGUMENT.
  [[nodiscard]] int code() const noexcept { return code_; }
  [[nodiscard]] gwconf_client* handle() const noexcept { return handle_.get(); }
  [[nodiscard]] const char* socket_path() const { return gwconf_socket_path(handle()); }
  [[nodiscard]] int set_timeout(int milliseconds) {
    return gwconf_set_timeout(handle(), milliseconds);
  }

  Result<std::string> get_value(const std::string& parameter) const {
    return text(gwconf_get_value, parameter);
  }
  [[nodiscard]] int set_value(const std::string& parameter, const std::string& value) const {
    return gwconf_set_value(handle(), parameter.c_str(), value.c_str());
  }
  Result<std::string> get_name(const std::string& parameter) const {
    return text(gwconf_get_name, parameter);
  }
  Result<std::string> get_path(const std::string& parameter) const {
    return text(gwconf_get_path, parameter);
  }
  Result<std::string> get_enumeration(const std::string& parameter) const {
    return text(gwconf_get_enumeration, parameter);
  }
  Result<int> get_type(const std::string& parameter) const {
    return number<int>(gwconf_get_type, parameter);
  }
  Result<int> get_max(const std::string& parameter) const {
    return number<int>(gwconf_get_max, parameter);
  }
  Result<int> get_min(const std::string& parameter) const {
    return number<int>(gwconf_get_min, parameter);
  }
  Result<unsigned> get_attributes(const std::string& path) const {
    return number<unsigned>(gwconf_get_attributes, path);
  }
  [[nodiscard]] int set_attribute(const std::string& path, int bit, bool on) const {
    return gwconf_set_attribute(handle(), path.c_str(), bit, on ? 1 : 0);
  }
  Result<std::vector<std::string>> dump_short_names() const {
    gwconf_answers* answers = nullptr;
    const int code = gwconf_dump_short_names(handle(), &answers);
    const detail::Owned<gwconf_answers> owned{answers};
    return {code, detail::texts_of(answers)};
  }

  [[nodiscard]] int add_instance(const std::string& table, unsigned instance) const {
    return gwconf_add_instance(handle(), table.c_str(), instance);
  }
  [[nodiscard]] int add_virtual_instance(const std::string& table, unsigned instance) const {
    return gwconf_add_virtual_instance(handle(), table.c_str(), instance);
  }
  [[nodiscard]] int insert_instance(const std::string& table, unsigned instance) const {
    return gwconf_insert_instance(handle(), table.c_str(), instance);
  }
  [[nodiscard]] int insert_virtual_instance(const std::string& table, unsigned instance) const {
    return gwconf_insert_virtual_instance(handle(), table.c_str(), instance);
  }
  [[nodiscard]] int delete_instance(const std::string& table, unsigned instance) const {
    return gwconf_delete_instance(handle(), table.c_str(), instance);
  }
  [[nodiscard]] int delete_node(const std::string& object) const {
    return gwconf_delete_node(handle(), object.c_str());
  }
  Result<bool> check_virtual(const std::string& path) const {
    const Result<int> result = number<int>(gwconf_check_virtual, path);
    return {result.code, result.value != 0};
  }
  Result<std::vector<unsigned>> list_instances(const std::string& table) const {
    unsigned* numbers = nullptr;
    std::size_t count = 0;
    const int code = gwconf_list_instances(handle(), table.c_str(), &numbers, &count);
    const detail::Owned<unsigned> owned{numbers};
    return {code, std::vector<unsigned>(numbers, numbers + count)};
  }
  [[nodiscard]] int rearrange(const std::string& table, unsigned first, unsigned count) const {
    return gwconf_rearrange(handle(), table.c_str(), first, count);
  }
  [[nodiscard]] int move(const std::string& new_parent, const std::string& moved) const {
    return gwconf_move(handle(), new_parent.c_str(), moved.c_str());
  }

  [[nodiscard]] int commit() const { return gwconf_commit(handle()); }
  [[nodiscard]] int reset() const { return gwconf_reset(handle()); }
  [[nodiscard]] int save(const std::string& file) const {
    return gwconf_save(handle(), file.c_str());
  }
  [[nodiscard]] int restore(const std::string& file) const {
    return gwconf_restore(handle(), file.c_str());
  }
  Result<std::string> export_node(const std::string& object) const {
    return text(gwconf_export_node, object);
  }
  Result<std::string> export_parameter(const std::string& parameter) const {
    return text(gwconf_export_parameter, parameter);
  }

  /// Any command. The answers are there with every code of the daemon's.
  Result<std::vector<std::string>> call(int command,
                                        const std::vector<std::string>& arguments) const {
    std::vector<const char*> texts;
    for (const std::string& argument : arguments)
      texts.push_back(argument.c_str());
    gwconf_answers* answers = nullptr;
    const int code = gwconf_call(handle(), command, texts.data(), texts.size(), &answers);
    const detail::Owned<gwconf_answers> owned{answers};
    return {code, detail::texts_of(answers)};
  }

  [[nodiscard]] int register_listener(int process, int signal, const std::string& file) const {
    return gwconf_register(handle(), process, signal, file.c_str());
  }

 private:
  Result<std::string> text(int (*ask)(const gwconf_client*, const char*, char**),
                           const std::string& path) const {
    char* answer = nullptr;
    const int code = ask(handle(), path.c_str(), &answer);
    const detail::Owned<char> owned{answer};
    return {code, answer ? std::string{answer} : std::string{}};
  }

  template <typename T>
  Result<T> number(int (*ask)(const gwconf_client*, const char*, T*),
                   const std::string& path) const {
    Result<T> result;
    result.code = ask(handle(), path.c_str(), &result.value);
    return result;
  }

  detail::Owned<gwconf_client> handle_;
  int code_ = GWCONF_E_ARGUMENT;
};

struct Change {
  std::string parameter;
  int notification = GWCONF_NOTIFICATION_NONE;
};

/// The listener for value changes; see gwconf_listener_open().
class Listener {
 public:
  explicit Listener(const Client& client, int signal = 0) {
    gwconf_listener* made = nullptr;
    code_ = gwconf_listener_open(client.handle(), signal, &made);
    handle_.reset(made);
  }

  /// GWCONF_OK when the listener is registered.
  [[nodiscard]] int code() const noexcept { return code_; }
  [[nodiscard]] int fd() const { return gwconf_listener_fd(handle_.get()); }

  /// The next change; none for now when the code is 0 and the value is empty.
  Result<std::optional<Change>> next() {
    gwconf_change change{};
    const int code = gwconf_listener_next(handle_.get(), &change);
    if (!change.parameter) return {code, std::nullopt};
    return {code, Change{change.parameter, change.notification}};
  }

 private:
  detail::Owned<gwconf_listener> handle_;
  int code_ = GWCONF_E_ARGUMENT;
};

}  // namespace gwconf

#endif
