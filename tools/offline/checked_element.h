#pragma once

#include <string>
#include <string_view>

#include "core/tree.h"
#include "tools/offline/facts.h"
#include "tools/offline/outline.h"

namespace gwconf::tool {

/// An object or a parameter under check, with what it stands in. All of it must outlive this.
struct CheckedElement {
  const Outline& outline;
  std::size_t index;  ///< in the outline
  std::string_view text;
  const Facts* facts;  ///< may be null
  Findings* findings;
  const Element& element = outline.elements[index];
  const ScannedItem& item = *element.item;

  /// Adds a finding about a part of the text.
  void note(Rule rule, std::string_view where, std::string message) const;

  [[nodiscard]] bool is_row() const;
};

// The rules about one element, by what they look at.
void check_name(const CheckedElement& checked);
void check_attributes(const CheckedElement& checked);
/// `read` is the type that the daemon reads.
void check_type(const CheckedElement& checked, const Parameter& read);
void check_value(const CheckedElement& checked, const Parameter& read);

/// Exports write a stored text as it is, so it must be safe between double quotes.
void check_escaped(const CheckedElement& checked, const ScannedAttribute& attribute);

/// Type and limits of a parameter as the daemon's loader reads them, kEnumeration for one with an
/// enumeration; nothing else is set.
[[nodiscard]] Parameter type_as_read(const ScannedItem& item);

}  // namespace gwconf::tool
