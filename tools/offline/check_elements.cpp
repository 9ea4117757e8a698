#include "tools/offline/check_elements.h"

#include <algorithm>
#include <utility>

#include "tools/offline/checked_element.h"
#include "tools/offline/daemon_terms.h"

namespace gwconf::tool {

void check_elements(const Outline& outline, std::string_view text, const Facts* facts,
                    Findings* findings) {
  for (std::size_t index = 0; index < outline.elements.size(); ++index) {
    const CheckedElement checked{outline, index, text, facts, findings};
    check_name(checked);
    check_attributes(checked);
    if (checked.element.is_object) continue;
    const Parameter read = type_as_read(checked.item);
    check_type(checked, read);
    check_value(checked, read);
  }
}

void CheckedElement::note(Rule rule, std::string_view where, std::string message) const {
  findings->push_back({.rule = rule,
                       .at = static_cast<std::size_t>(where.data() - text.data()),
                       .length = std::max<std::size_t>(where.size(), 1),
                       .message = std::move(message),
                       .element = index});
}

bool CheckedElement::is_row() const {
  return element.is_object && tool::is_row(element.name);
}

}  // namespace gwconf::tool
