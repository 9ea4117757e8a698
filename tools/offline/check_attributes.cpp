#include <algorithm>
#include <array>
#include <initializer_list>
#include <set>
#include <span>

#include "tools/offline/checked_element.h"
#include "tools/offline/daemon_terms.h"
#include "tools/offline/text.h"
#include "xml/attribute_word.h"
#include "xml/vocabulary.h"

namespace gwconf::tool {
namespace {

constexpr std::array<std::string_view, 7> kParameterAttributes = {
    kAttrName,         kAttrType,        kAttrValue,   kAttrWritable,
    kAttrNotification, kAttrEnumeration, kAttrFunction};
constexpr std::array<std::string_view, 6> kObjectAttributes = {
    kAttrName, kAttrType, kAttrWritable, kAttrNotification, kAttrValue, kAttrEnumeration};
constexpr std::array<std::string_view, 3> kForeignAttributes = {kAttrShortName, kAttrDisabled,
                                                                kAttrPlatform};

[[nodiscard]] bool contains(std::span<const std::string_view> list, std::string_view text) {
  return std::find(list.begin(), list.end(), text) != list.end();
}

[[nodiscard]] bool is_one_of(std::string_view text, std::initializer_list<std::string_view> words) {
  return std::any_of(words.begin(), words.end(),
                     [text](std::string_view word) { return same_word(text, word); });
}

/// Whether an attribute sets bits, which no later one clears.
[[nodiscard]] bool is_access(std::string_view name) {
  return name == kAttrWritable || name == kAttrNotification;
}

void check_access(const CheckedElement& checked, const ScannedAttribute& attribute) {
  if (attribute.name == kAttrWritable && !is_one_of(attribute.value, {"0", "1", "false", "true"}))
    checked.note(Rule::kWritable, attribute.raw,
                 "writable is 0 or 1; " + in_quotes(attribute.value, 40) + " counts as 0");
  const std::string off = notification_value(kNotificationOff);
  const std::string passive = notification_value(kPassiveNotification);
  const std::string active = notification_value(kActiveNotification);
  if (attribute.name == kAttrNotification && !is_one_of(attribute.value, {off, passive, active}))
    checked.note(Rule::kNotification, attribute.raw,
                 "notification is " + passive + " (passive) or " + active + " (active); " +
                     in_quotes(attribute.value, 40) + " counts as off");
}

void check_known(const CheckedElement& checked, std::string_view name) {
  const std::span<const std::string_view> known =
      checked.element.is_object ? std::span<const std::string_view>{kObjectAttributes}
                                : std::span<const std::string_view>{kParameterAttributes};
  if (contains(known, name)) return;
  const std::string hint =
      contains(kForeignAttributes, name) ? std::string{} : did_you_mean(name, known);
  checked.note(Rule::kUnknownAttribute, name,
               "the daemon ignores the attribute " + in_quotes(name, 60) + hint);
}

void check_object(const CheckedElement& checked) {
  if (const ScannedAttribute* type = checked.item.find(kAttrType);
      type && !same_word(type->value, kTypeObject))
    checked.note(Rule::kObjectType, type->raw, "the type of an object is object");
  const ScannedAttribute* writable = checked.item.find(kAttrWritable);
  if (checked.is_row() && writable && !is_true(writable->value))
    checked.note(Rule::kRowNotWritable, writable->raw,
                 "the daemon loads every row writable, whatever is said here");
}

}  // namespace

void check_attributes(const CheckedElement& checked) {
  std::set<std::string_view> seen;
  for (const ScannedAttribute& attribute : checked.item.attributes) {
    const std::string_view name = attribute.name;
    if (!seen.insert(name).second)
      checked.note(Rule::kAttributeTwice, name,
                   in_quotes(name, 60) + " is given twice; " +
                       (is_access(name) ? "both count" : "the last one counts"));
    check_known(checked, name);
    check_access(checked, attribute);
  }
  if (checked.element.is_object) check_object(checked);
}

}  // namespace gwconf::tool
