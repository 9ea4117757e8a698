#include "tools/live/assignment.h"

#include <utility>

#include "tools/base/value_check.h"

namespace gwconf::tool {
namespace {

[[nodiscard]] bool is_set(unsigned attributes, gwconf_attribute bit) {
  return (attributes >> bit & 1U) != 0;
}

/// Puts an answer in its place. False when there is none; its code is then in `code`.
template <typename T>
[[nodiscard]] bool take(Result<T> answer, T* value, int* code) {
  *code = answer.code;
  *value = std::move(answer.value);
  return *code == GWCONF_OK;
}

/// The path of an object around the parameter that is disabled; empty for none.
Result<std::string> disabled_object(const Client& client, const std::string& path) {
  for (std::size_t dot = path.find('.'); dot != std::string::npos; dot = path.find('.', dot + 1)) {
    const std::string object = path.substr(0, dot + 1);
    const Result<unsigned> attributes = client.get_attributes(object);
    if (!attributes) return {attributes.code, {}};
    if (is_set(attributes.value, GWCONF_ATTRIBUTE_DISABLED)) return {GWCONF_OK, object};
  }
  return {GWCONF_OK, {}};
}

/// The rest of the rules for values of the type in `rules`.
[[nodiscard]] int complete(const Client& client, const std::string& path, ValueRules* rules) {
  int code = GWCONF_OK;
  if (has_limits(rules->type) && (!take(client.get_min(path), &rules->minimum, &code) ||
                                  !take(client.get_max(path), &rules->maximum, &code)))
    return code;
  if (rules->type == GWCONF_TYPE_ENUMERATION &&
      !take(client.get_enumeration(path), &rules->enumeration, &code))
    return code;
  return GWCONF_OK;
}

}  // namespace

Result<std::optional<std::string>> objection_to(const Client& client, const std::string& model,
                                                const std::string& value) {
  ValueRules rules;
  unsigned attributes = 0;
  int code = GWCONF_OK;
  if (!take(client.get_type(model), &rules.type, &code) ||
      !take(client.get_attributes(model), &attributes, &code))
    return {code, {}};
  if (!is_set(attributes, GWCONF_ATTRIBUTE_WRITABLE)) return {GWCONF_OK, "read-only"};
  if (is_set(attributes, GWCONF_ATTRIBUTE_DISABLED)) return {GWCONF_OK, "disabled"};
  const Result<std::string> disabled = disabled_object(client, model);
  if (!disabled) return {disabled.code, {}};
  if (!disabled.value.empty()) return {GWCONF_OK, disabled.value + " is disabled"};
  code = complete(client, model, &rules);
  if (code != GWCONF_OK) return {code, {}};
  return {GWCONF_OK, objection(rules, value)};
}

}  // namespace gwconf::tool
