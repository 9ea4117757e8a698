#include <algorithm>
#include <cstdint>

#include "core/number.h"
#include "tools/offline/checked_element.h"
#include "tools/offline/daemon_terms.h"
#include "tools/offline/text.h"
#include "xml/vocabulary.h"

namespace gwconf::tool {
namespace {

/// A row's number is checked as a number.
[[nodiscard]] bool is_plain(const CheckedElement& checked, std::string_view stem) {
  if (checked.is_row()) return true;
  const auto is_fit = [](char c) {
    const char letter = static_cast<char>(c | 0x20);
    return (letter >= 'a' && letter <= 'z') || is_digit(c) || c == '_' || c == '-';
  };
  return !stem.empty() && !is_digit(stem.front()) && stem.front() != '-' &&
         std::all_of(stem.begin(), stem.end(), is_fit);
}

void check_object_name(const CheckedElement& checked, std::string_view where) {
  const std::string_view name = checked.element.name;
  if (checked.index == 0 && name != kRootSegment)
    checked.note(Rule::kRootName, where, "the root object is called " + std::string{kRootSegment});
  if (checked.element.parent != Element::kNone &&
      checked.outline.elements[checked.element.parent].name == name)
    checked.note(Rule::kNameOfParent, where,
                 "the object around it has the same name: a path that says " + in_quotes(name, 80) +
                     " twice stays on that");
  if (!checked.is_row()) {
    if (name.ends_with(kTemplateName) && !is_digit(name.front()))
      checked.note(Rule::kNameLikeRow, where,
                   "the daemon takes every object whose name ends in 0 for a table's template");
    return;
  }
  const std::int32_t number = CM_UTL_GetInstanceNumber(name);
  const InstanceName plain{number};
  if (name.ends_with('.') && name != plain.view())
    checked.note(Rule::kRowNumber, where,
                 "the daemon takes this for row " + std::to_string(number) +
                     ", but looks it up as " + in_quotes(plain.view()));
  else if (number > kListedRowMax)
    checked.note(Rule::kRowNumberListed, where,
                 "the daemon lists numbers of five digits and more cut to four");
}

}  // namespace

void check_name(const CheckedElement& checked) {
  const ScannedAttribute* attribute = checked.item.find(kAttrName);
  if (checked.element.name.empty()) {
    checked.note(
        Rule::kNoName, attribute ? attribute->raw : checked.item.name,
        checked.element.is_object ? "the object has no name" : "the parameter has no name");
    return;
  }
  const std::string_view where = attribute->raw;
  std::string_view stem = checked.element.name;
  if (checked.element.is_object && stem.ends_with('.'))
    stem.remove_suffix(1);
  else if (checked.element.is_object)
    checked.note(Rule::kNameDot, where, "the name of an object ends with a dot");
  if (stem.find('.') != std::string_view::npos)
    checked.note(Rule::kNameDot, where,
                 checked.element.is_object ? "a dot inside an object's name: no path leads here"
                                           : "a dot in a parameter's name: no path leads here");
  else if (!is_plain(checked, stem))
    checked.note(Rule::kNameCharacters, where,
                 "the name " + in_quotes(checked.element.name, 80) +
                     " is not made of letters, digits, - and _, with no digit first");
  if (checked.element.is_object) check_object_name(checked, where);
}

}  // namespace gwconf::tool
