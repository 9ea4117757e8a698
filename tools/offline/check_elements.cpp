#include "tools/offline/check_elements.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <set>
#include <strings.h>

#include "core/number.h"
#include "core/path.h"
#include "core/tree.h"
#include "platform/getters.h"
#include "tools/base/value_check.h"
#include "tools/offline/loaded_tree.h"
#include "tools/offline/text.h"
#include "xml/attribute_word.h"
#include "xml/value_type.h"
#include "xml/vocabulary.h"

namespace gwconf::tool {
namespace {

/// A type text read by its letter: what somebody means by it, not what the daemon makes of it.
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

constexpr std::array<std::string_view, 9> kTypeNames = {"string",    "int",      "unsignedInt",
                                                        "boolean",   "dateTime", "base64",
                                                        "ipAddress", "netmask",  "macAddress"};

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

[[nodiscard]] bool same_word(std::string_view one, std::string_view other) {
  return one.size() == other.size() && strncasecmp(one.data(), other.data(), one.size()) == 0;
}

/// Checks one element.
class ElementCheck {
 public:
  ElementCheck(const Outline& outline, std::size_t index, std::string_view text, const Facts* facts,
               Findings& findings)
      : outline_{outline},
        index_{index},
        element_{outline.elements[index]},
        item_{*element_.item},
        text_{text},
        facts_{facts},
        findings_{findings} {}

  void run() {
    check_name();
    check_attributes();
    if (element_.is_object)
      check_object();
    else
      check_parameter();
  }

 private:
  void note(Rule rule, std::string_view where, std::string message) {
    const auto at = static_cast<std::size_t>(where.data() - text_.data());
    findings_.push_back({.rule = rule,
                         .at = at,
                         .length = std::max<std::size_t>(where.size(), 1),
                         .message = std::move(message),
                         .element = index_});
  }

  [[nodiscard]] bool is_row() const {
    return element_.is_object && CM_CORE_CheckIfInstance(element_.name) == CM_OK;
  }

  // --- names

  void check_name() {
    const ScannedAttribute* attribute = item_.find(kAttrName);
    if (element_.name.empty()) {
      note(Rule::kNoName, attribute ? attribute->raw : item_.name,
           element_.is_object ? "the object has no name" : "the parameter has no name");
      return;
    }
    const std::string_view where = attribute->raw;
    std::string_view stem = element_.name;
    if (element_.is_object && stem.ends_with('.'))
      stem.remove_suffix(1);
    else if (element_.is_object)
      note(Rule::kNameDot, where, "the name of an object ends with a dot");
    if (stem.find('.') != std::string_view::npos)
      note(Rule::kNameDot, where,
           element_.is_object ? "a dot inside an object's name: no path leads here"
                              : "a dot in a parameter's name: no path leads here");
    else if (!is_plain(stem))
      note(Rule::kNameCharacters, where,
           "the name " + in_quotes(element_.name, 80) +
               " is not made of letters, digits, - and _, with no digit first");
    if (element_.is_object) check_object_name(where);
  }

  /// A row's number is checked as a number.
  [[nodiscard]] bool is_plain(std::string_view stem) const {
    if (is_row()) return true;
    const auto is_fit = [](char c) {
      const char letter = static_cast<char>(c | 0x20);
      return (letter >= 'a' && letter <= 'z') || is_digit(c) || c == '_' || c == '-';
    };
    return !stem.empty() && !is_digit(stem.front()) && stem.front() != '-' &&
           std::all_of(stem.begin(), stem.end(), is_fit);
  }

  void check_object_name(std::string_view where) {
    const std::string_view name = element_.name;
    if (index_ == 0 && name != kRootSegment)
      note(Rule::kRootName, where, "the root object is called " + std::string{kRootSegment});
    if (element_.parent != Element::kNone && outline_.elements[element_.parent].name == name)
      note(Rule::kNameOfParent, where,
           "the object around it has the same name: a path that says " + in_quotes(name, 80) +
               " twice stays on that");
    if (!is_row()) {
      if (name.ends_with("0.") && !is_digit(name.front()))
        note(Rule::kNameLikeRow, where,
             "the daemon takes every object whose name ends in 0 for a table's template");
      return;
    }
    const std::int32_t number = CM_UTL_GetInstanceNumber(name);
    const InstanceName plain{number};
    if (name.ends_with('.') && name != plain.view())
      note(Rule::kRowNumber, where,
           "the daemon takes this for row " + std::to_string(number) + ", but looks it up as " +
               in_quotes(plain.view()));
    else if (number > kListedMax)
      note(Rule::kRowNumberListed, where,
           "the daemon lists numbers of five digits and more cut to four");
  }

  // --- attributes

  void check_attributes() {
    std::set<std::string_view> seen;
    for (const ScannedAttribute& attribute : item_.attributes) {
      const std::string_view name = attribute.name;
      const bool adds_up = name == kAttrWritable || name == kAttrNotification;
      if (!seen.insert(name).second)
        note(Rule::kAttributeTwice, name,
             in_quotes(name, 60) + " is given twice; " +
                 (adds_up ? "both count" : "the last one counts"));
      check_known(name);
      if (name == kAttrWritable && !is_one_of(attribute.value, {"0", "1", "false", "true"}))
        note(Rule::kWritable, attribute.raw,
             "writable is 0 or 1; " + in_quotes(attribute.value, 40) + " counts as 0");
      if (name == kAttrNotification && !is_one_of(attribute.value, {"0", "1", "2"}))
        note(Rule::kNotification, attribute.raw,
             "notification is 1 (passive) or 2 (active); " + in_quotes(attribute.value, 40) +
                 " counts as off");
    }
  }

  [[nodiscard]] static bool is_one_of(std::string_view text,
                                      std::initializer_list<std::string_view> words) {
    return std::any_of(words.begin(), words.end(),
                       [text](std::string_view word) { return same_word(text, word); });
  }

  void check_known(std::string_view name) {
    const std::span<const std::string_view> known =
        element_.is_object ? std::span<const std::string_view>{kObjectAttributes}
                           : std::span<const std::string_view>{kParameterAttributes};
    if (contains(known, name)) return;
    const std::string hint =
        contains(kForeignAttributes, name) ? std::string{} : did_you_mean(name, known);
    note(Rule::kUnknownAttribute, name,
         "the daemon ignores the attribute " + in_quotes(name, 60) + hint);
  }

  void check_object() {
    if (const ScannedAttribute* type = item_.find(kAttrType);
        type && !same_word(type->value, kTypeObject))
      note(Rule::kObjectType, type->raw, "the type of an object is object");
    const ScannedAttribute* writable = item_.find(kAttrWritable);
    if (is_row() && writable && !is_true(writable->value))
      note(Rule::kRowNotWritable, writable->raw,
           "the daemon loads every row writable, whatever is said here");
  }

  // --- types and values

  void check_parameter() {
    const ScannedAttribute* type = item_.find(kAttrType);
    const ScannedAttribute* enumeration = item_.find(kAttrEnumeration);
    Parameter read;
    for (const ScannedAttribute& attribute : item_.attributes) {
      if (attribute.name == kAttrType)
        parse_value_type(attribute.value, TypeMatch::kLine, &read);
      else if (attribute.name == kAttrEnumeration && !attribute.value.empty())
        read.type = kEnumeration;
    }
    if (type)
      check_type(*type, enumeration && !enumeration->value.empty());
    else
      note(Rule::kNoType, item_.name, "the parameter has no type");
    if (enumeration) check_enumeration(*enumeration, type, read);
    check_getter();
    check_value(read, enumeration);
  }

  void check_type(const ScannedAttribute& type, bool enumerated) {
    Parameter read;
    parse_value_type(type.value, TypeMatch::kLine, &read);
    if (read.type == kUnknownType) {
      note(Rule::kUnknownType, type.raw,
           "unknown type " + in_quotes(type.value, 60) +
               did_you_mean(std::string_view{type.value}.substr(0, type.value.find_first_of("[(")),
                            kTypeNames));
      return;
    }
    const std::string taken = type_text(read);
    const std::optional<MeantType> meant = MeantTypeReader{type.value}.run();
    if (!meant || !is_meant(*meant, read))
      note(Rule::kTypeTakenAs, type.raw,
           "the daemon takes the type " + in_quotes(type.value, 60) + " for " + taken);
    if (enumerated && read.type != kString)
      note(Rule::kEnumerationType, type.raw,
           "beside an enumeration the type is string, and a save writes it so");
    else if (enumerated && read.max != 0)
      note(Rule::kEnumerationType, type.raw,
           "beside an enumeration a string has no length, and a save writes none");
    const bool is_number = read.type == kInt || read.type == kUnsignedInt;
    if (is_number && read.max != 0 && read.min > read.max)
      note(Rule::kLimits, type.raw,
           "the minimum " + std::to_string(read.min) + " is more than the maximum " +
               std::to_string(read.max));
    else if ((read.type == kUnsignedInt && (read.min < 0 || read.max < 0)) ||
             (!is_number && read.max < 0))
      note(Rule::kLimits, type.raw, "a limit below 0");
  }

  /// Whether the daemon understands a type as it is meant. A bound that it stores as 0 is none.
  [[nodiscard]] static bool is_meant(const MeantType& meant, const Parameter& read) {
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

  void check_enumeration(const ScannedAttribute& enumeration, const ScannedAttribute* type,
                         const Parameter& read) {
    if (enumeration.value.empty()) return;
    if (type && read.type != kEnumeration)
      note(Rule::kEnumerationLost, enumeration.name,
           "the type behind it undoes the enumeration: type comes first");
    check_escaped(enumeration);
    std::set<std::string_view> items;
    std::string_view rest = enumeration.value;
    for (bool more = true; more;) {
      const std::size_t comma = rest.find(',');
      const std::string_view item = rest.substr(0, comma);
      more = comma != std::string_view::npos;
      if (more) rest.remove_prefix(comma + 1);
      if (const char* objection = item_objection(item, items)) {
        note(Rule::kEnumerationItems, enumeration.raw, objection + in_quotes(item, 60));
        return;
      }
    }
  }

  [[nodiscard]] static const char* item_objection(std::string_view item,
                                                  std::set<std::string_view>& items) {
    if (!item.empty() && (is_blank(item.front()) || is_blank(item.back())))
      return "blanks belong to the item that they stand at: ";
    return items.insert(item).second ? nullptr : "twice in the enumeration: ";
  }

  void check_getter() {
    const ScannedAttribute* function = item_.find(kAttrFunction);
    if (!function) return;
    getter_ = CM_platform_fn_init(function->value.c_str());
    if (!getter_) {
      std::vector<std::string_view> names;
      for (const GetterRow& row : platform_fn_tab)
        if (row.name) names.emplace_back(row.name);
      note(Rule::kUnknownGetter, function->raw,
           "unknown getter " + in_quotes(function->value, 60) +
               did_you_mean(function->value, names));
      return;
    }
    const ScannedAttribute* writable = item_.find(kAttrWritable);
    if (writable && is_true(writable->value) && !is_writable_by_standard())
      note(Rule::kGetterWritable, writable->raw,
           "what is written to a measured parameter is never read");
  }

  /// Where the standard wants a parameter writable, there is nothing to be done about it.
  [[nodiscard]] bool is_writable_by_standard() const {
    const Fact* fact = facts_ ? facts_->at(outline_.path_of(index_)) : nullptr;
    return fact && fact->writable;
  }

  void check_value(const Parameter& read, const ScannedAttribute* enumeration) {
    const ScannedAttribute* value = item_.find(kAttrValue);
    if (value) check_escaped(*value);
    const std::string plain = value ? unescaped(value->value) : std::string{};
    // What a measured parameter stores is not read.
    if (getter_ && plain.empty()) return;
    const std::string_view where = value ? value->raw : item_.name;
    ValueRules rules{read.type, read.min, read.max,
                     enumeration ? unescaped(enumeration->value) : std::string{}};
    // The rules for lengths and ranges are others than those for forms.
    const bool limited = has_limits(read.type);
    ValueRules form = rules;
    if (limited) form.minimum = form.maximum = 0;
    if (const auto complaint = objection(form, plain))
      note(form_rule(read.type), where,
           described(value, plain) + " is " +
               (read.type == kEnumeration ? "not one of " + in_quotes(rules.enumeration)
                                          : *complaint));
    else if (const auto past = limited ? objection(rules, plain) : std::nullopt)
      note(read.type == kInt || read.type == kUnsignedInt ? Rule::kOutsideLimits : Rule::kTooLong,
           where, described(value, plain) + " is " + *past);
    else if (read.type == kBoolean && !is_digit(plain.front()))
      note(Rule::kBooleanWord, where,
           "a boolean is stored as 0 or 1; to set it to " +
               std::string{same_word(plain, "true") ? "1" : "0"} +
               " would count as a change of its value");
  }

  [[nodiscard]] static std::string described(const ScannedAttribute* value,
                                             const std::string& plain) {
    return value ? "the value " + in_quotes(plain, 60) : "the value, which is missing,";
  }

  [[nodiscard]] static Rule form_rule(ValueType type) {
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

  [[nodiscard]] static bool starts_with_reference(std::string_view text) {
    constexpr std::size_t kLongest = 16;
    const std::string_view reference = text.substr(0, text.substr(0, kLongest).find(';') + 1);
    return reference.find('&', 1) == std::string_view::npos && unescaped(reference) != reference;
  }

  /// Exports write a stored text as it is, so it must be safe between double quotes.
  void check_escaped(const ScannedAttribute& attribute) {
    const std::string_view value = attribute.value;
    if (escaped(unescaped(value)) == value) return;
    for (std::size_t at = 0; at < value.size(); ++at) {
      if (std::string_view{"&<>\"'"}.find(value[at]) == std::string_view::npos ||
          starts_with_reference(value.substr(at)))
        continue;
      const std::string_view where = attribute.raw.substr(raw_index(attribute.raw, at), 1);
      note(Rule::kNotEscaped, where,
           "a stored text holds " + escaped(value.substr(at, 1)) + " instead of " +
               in_quotes(value.substr(at, 1)));
      return;
    }
  }

  static constexpr std::int32_t kListedMax = 9999;

  const Outline& outline_;
  std::size_t index_;
  const Element& element_;
  const ScannedItem& item_;
  std::string_view text_;
  const Facts* facts_;
  Findings& findings_;
  const GetterRow* getter_ = nullptr;
};

}  // namespace

void check_elements(const Outline& outline, std::string_view text, const Facts* facts,
                    Findings& findings) {
  for (std::size_t index = 0; index < outline.elements.size(); ++index)
    ElementCheck{outline, index, text, facts, findings}.run();
}

}  // namespace gwconf::tool
