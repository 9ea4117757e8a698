#include <optional>
#include <vector>

#include "core/number.h"
#include "platform/getters.h"
#include "tools/base/value_check.h"
#include "tools/offline/checked_element.h"
#include "tools/offline/text.h"
#include "xml/attribute_word.h"
#include "xml/vocabulary.h"

namespace gwconf::tool {
namespace {

/// Where the standard wants a parameter writable, there is nothing to be done about it.
[[nodiscard]] bool is_writable_by_standard(const CheckedElement& checked) {
  const Fact* fact =
      checked.facts ? checked.facts->at(checked.outline.path_of(checked.index)) : nullptr;
  return fact && fact->writable;
}

/// The getter of a measured parameter; null for any other.
[[nodiscard]] const GetterRow* check_getter(const CheckedElement& checked) {
  const ScannedAttribute* function = checked.item.find(kAttrFunction);
  if (!function) return nullptr;
  const GetterRow* getter = CM_platform_fn_init(function->value.c_str());
  if (!getter) {
    std::vector<std::string_view> names;
    for (const GetterRow& row : platform_fn_tab)
      if (row.name) names.emplace_back(row.name);
    checked.note(
        Rule::kUnknownGetter, function->raw,
        "unknown getter " + in_quotes(function->value, 60) + did_you_mean(function->value, names));
    return nullptr;
  }
  const ScannedAttribute* writable = checked.item.find(kAttrWritable);
  if (writable && is_true(writable->value) && !is_writable_by_standard(checked))
    checked.note(Rule::kGetterWritable, writable->raw,
                 "what is written to a measured parameter is never read");
  return getter;
}

[[nodiscard]] std::string described(const ScannedAttribute* value, const std::string& plain) {
  return value ? "the value " + in_quotes(plain, 60) : "the value, which is missing,";
}

[[nodiscard]] Rule form_rule(ValueType type) {
  switch (type) {
    case kInt:
    case kUnsignedInt:
      return Rule::kNumber;
    case kBoolean:
      return Rule::kBoolean;
    case kDateTime:
      return Rule::kDateTime;
    case kBase64:
      return Rule::kBase64;
    case kEnumeration:
      return Rule::kNotInEnumeration;
    case kIpAddress:
      return Rule::kIpAddress;
    case kNetmask:
      return Rule::kNetmask;
    default:
      return Rule::kMacAddress;
  }
}

/// A stored value against the type that the daemon reads.
void check_stored(const CheckedElement& checked, const Parameter& read,
                  const ScannedAttribute* value, const std::string& plain) {
  const ScannedAttribute* enumeration = checked.item.find(kAttrEnumeration);
  const std::string_view where = value ? value->raw : checked.item.name;
  const ValueRules rules{read.type, read.min, read.max,
                         enumeration ? unescaped(enumeration->value) : std::string{}};
  // The rules for lengths and ranges are others than those for forms.
  const bool limited = has_limits(read.type);
  ValueRules form = rules;
  if (limited) form.minimum = form.maximum = 0;
  if (const auto complaint = objection(form, plain))
    checked.note(form_rule(read.type), where,
                 described(value, plain) + " is " +
                     (read.type == kEnumeration ? "not one of " + in_quotes(rules.enumeration)
                                                : *complaint));
  else if (const auto past = limited ? objection(rules, plain) : std::nullopt)
    checked.note(
        read.type == kInt || read.type == kUnsignedInt ? Rule::kOutsideLimits : Rule::kTooLong,
        where, described(value, plain) + " is " + *past);
  else if (read.type == kBoolean && !is_digit(plain.front()))
    checked.note(Rule::kBooleanWord, where,
                 "a boolean is stored as 0 or 1; to set it to " +
                     std::string{same_word(plain, "true") ? "1" : "0"} +
                     " would count as a change of its value");
}

[[nodiscard]] bool starts_with_reference(std::string_view text) {
  constexpr std::size_t kLongest = 16;
  const std::string_view reference = text.substr(0, text.substr(0, kLongest).find(';') + 1);
  return reference.find('&', 1) == std::string_view::npos && unescaped(reference) != reference;
}

}  // namespace

void check_escaped(const CheckedElement& checked, const ScannedAttribute& attribute) {
  const std::string_view value = attribute.value;
  if (escaped(unescaped(value)) == value) return;
  for (std::size_t at = 0; at < value.size(); ++at) {
    if (std::string_view{"&<>\"'"}.find(value[at]) == std::string_view::npos ||
        starts_with_reference(value.substr(at)))
      continue;
    const std::string_view where = attribute.raw.substr(raw_index(attribute.raw, at), 1);
    checked.note(Rule::kNotEscaped, where,
                 "a stored text holds " + escaped(value.substr(at, 1)) + " instead of " +
                     in_quotes(value.substr(at, 1)));
    return;
  }
}

void check_value(const CheckedElement& checked, const Parameter& read) {
  const bool measured = check_getter(checked) != nullptr;
  const ScannedAttribute* value = checked.item.find(kAttrValue);
  if (value) check_escaped(checked, *value);
  const std::string plain = value ? unescaped(value->value) : std::string{};
  // What a measured parameter stores is not read.
  if (measured && plain.empty()) return;
  check_stored(checked, read, value, plain);
}

}  // namespace gwconf::tool
