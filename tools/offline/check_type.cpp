#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <set>
#include <vector>

#include "core/number.h"
#include "tools/offline/checked_element.h"
#include "tools/offline/daemon_terms.h"
#include "tools/offline/text.h"
#include "xml/value_type.h"
#include "xml/vocabulary.h"

namespace gwconf::tool {
namespace {

/// A type text taken literally: what its author means, not what the daemon makes of it.
struct MeantType {
  std::string name;
  std::optional<std::int64_t> min;
  std::optional<std::int64_t> max;
};

class MeantTypeReader {
 public:
  explicit MeantTypeReader(std::string_view text) : rest_{text} {}

  /// Nothing when the text is not a name with or without its limits.
  std::optional<MeantType> run() {
    const auto is_letter = [](char c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; };
    const auto end = std::find_if_not(rest_.begin(), rest_.end(),
                                      [&](char c) { return is_letter(c) || is_digit(c); });
    MeantType type;
    type.name.assign(rest_.begin(), end);
    rest_.remove_prefix(type.name.size());
    if (rest_.empty()) return type;
    if (take('(')) {
      type.max = bound();
      if (!type.max || !take(')')) return {};
    } else if (take('[')) {
      type.min = bound();
      if (!take(':')) return {};
      type.max = bound();
      if (!take(']')) return {};
    }
    return rest_.empty() ? std::optional{type} : std::nullopt;
  }

 private:
  bool take(char c) {
    if (!rest_.starts_with(c)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  std::optional<std::int64_t> bound() {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), number);
    if (error != std::errc{} || std::abs(number) > std::int64_t{1} << 40) return {};
    rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
    return take('K') || take('k') ? number * 1024 : number;
  }

  std::string_view rest_;
};

/// A hint at a type that may have been meant.
[[nodiscard]] std::string suggestion_for(std::string_view text) {
  std::vector<std::string> names;
  for (int type = kString; type <= kMacAddress; ++type)
    if (type != kEnumeration) names.push_back(type_name(static_cast<ValueType>(type)));
  const std::vector<std::string_view> candidates{names.begin(), names.end()};
  return did_you_mean(text.substr(0, text.find_first_of("[(")), candidates);
}

/// Whether the daemon understands a type as it is meant. A bound stored as 0 counts as no bound.
[[nodiscard]] bool is_meant(const MeantType& meant, const Parameter& read) {
  if (!same_word(meant.name, type_text(read.type, 0, 0))) return false;
  const auto agrees = [](std::optional<std::int64_t> bound, std::int32_t stored) {
    return bound.value_or(0) == stored;
  };
  switch (read.type) {
    case kInt:
    case kUnsignedInt:
      return agrees(meant.min, read.min) && agrees(meant.max, read.max) && meant.max != 0;
    case kString:
    case kBase64:
      return !meant.min && agrees(meant.max, read.max) && meant.max != 0;
    default:
      return !meant.min && !meant.max;
  }
}

[[nodiscard]] bool is_number(const Parameter& read) {
  return read.type == kInt || read.type == kUnsignedInt;
}

/// A type beside an enumeration, which is that of its items.
void check_enumerated(const CheckedElement& checked, const ScannedAttribute& type,
                      const Parameter& read) {
  if (read.type != kString)
    checked.note(Rule::kEnumerationType, type.raw,
                 "beside an enumeration the type is string, and a save writes it so");
  else if (read.max != 0)
    checked.note(Rule::kEnumerationType, type.raw,
                 "beside an enumeration a string has no length, and a save writes none");
}

void check_limits(const CheckedElement& checked, const ScannedAttribute& type,
                  const Parameter& read) {
  if (is_number(read) && read.max != 0 && read.min > read.max)
    checked.note(Rule::kLimits, type.raw,
                 "the minimum " + std::to_string(read.min) + " is more than the maximum " +
                     std::to_string(read.max));
  else if ((read.type == kUnsignedInt && (read.min < 0 || read.max < 0)) ||
           (!is_number(read) && read.max < 0))
    checked.note(Rule::kLimits, type.raw, "a limit below 0");
}

void check_type_text(const CheckedElement& checked, const ScannedAttribute& type, bool enumerated) {
  Parameter read;
  parse_value_type(type.value, TypeMatch::kLine, &read);
  if (read.type == kUnknownType) {
    checked.note(Rule::kUnknownType, type.raw,
                 "unknown type " + in_quotes(type.value, 60) + suggestion_for(type.value));
    return;
  }
  const std::optional<MeantType> meant = MeantTypeReader{type.value}.run();
  if (!meant || !is_meant(*meant, read))
    checked.note(
        Rule::kTypeTakenAs, type.raw,
        "the daemon takes the type " + in_quotes(type.value, 60) + " for " + type_text(read));
  if (enumerated) check_enumerated(checked, type, read);
  check_limits(checked, type, read);
}

/// What is odd about an item; null when nothing is. Adds it to those seen.
[[nodiscard]] const char* item_objection(std::string_view item, std::set<std::string_view>* seen) {
  if (!item.empty() && (is_blank(item.front()) || is_blank(item.back())))
    return "blanks belong to the item that they stand at: ";
  return seen->insert(item).second ? nullptr : "twice in the enumeration: ";
}

void check_enumeration(const CheckedElement& checked, const ScannedAttribute& enumeration,
                       const ScannedAttribute* type, const Parameter& read) {
  if (enumeration.value.empty()) return;
  if (type && read.type != kEnumeration)
    checked.note(Rule::kEnumerationLost, enumeration.name,
                 "the type behind it undoes the enumeration: type comes first");
  check_escaped(checked, enumeration);
  std::set<std::string_view> seen;
  std::string_view rest = enumeration.value;
  for (bool more = true; more;) {
    const std::size_t comma = rest.find(',');
    const std::string_view item = rest.substr(0, comma);
    more = comma != std::string_view::npos;
    if (more) rest.remove_prefix(comma + 1);
    if (const char* objection = item_objection(item, &seen)) {
      checked.note(Rule::kEnumerationItems, enumeration.raw, objection + in_quotes(item, 60));
      return;
    }
  }
}

}  // namespace

Parameter type_as_read(const ScannedItem& item) {
  Parameter read;
  for (const ScannedAttribute& attribute : item.attributes) {
    if (attribute.name == kAttrType)
      parse_value_type(attribute.value, TypeMatch::kLine, &read);
    else if (attribute.name == kAttrEnumeration && !attribute.value.empty())
      read.type = kEnumeration;
  }
  return read;
}

void check_type(const CheckedElement& checked, const Parameter& read) {
  const ScannedAttribute* type = checked.item.find(kAttrType);
  const ScannedAttribute* enumeration = checked.item.find(kAttrEnumeration);
  if (type)
    check_type_text(checked, *type, enumeration && !enumeration->value.empty());
  else
    checked.note(Rule::kNoType, checked.item.name, "the parameter has no type");
  if (enumeration) check_enumeration(checked, *enumeration, type, read);
}

}  // namespace gwconf::tool
