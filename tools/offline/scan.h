#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/offline/rules.h"
#include "xml/reader.h"

namespace gwconf::tool {

// The grammar of the daemon's reader once more, with places: the reader reports that it refuses a
// text, this scan reports where. What loads is decided by the reader; tests keep both in agreement.
// Names and raw values are views into the text.

struct ScannedAttribute {
  std::string_view name;
  std::string_view raw;  ///< between the quotes, as it stands
  std::string value;     ///< decoded
};

/// One markup item, well-formed.
struct ScannedItem {
  XmlItem kind = kXmlNone;
  std::string_view name;  ///< of the tag; empty for a comment
  std::vector<ScannedAttribute> attributes;
  std::size_t at = 0;   ///< offset of its "<"
  std::size_t end = 0;  ///< offset behind it

  /// The last attribute of the name, the one that counts; null when there is none.
  [[nodiscard]] const ScannedAttribute* find(std::string_view attribute) const;
};

struct Scan {
  std::vector<ScannedItem> items;
  std::optional<Finding> fault;  ///< what the reader refuses, behind the items
};

/// Cuts a text that holds no NUL into its items, up to the first that is malformed.
[[nodiscard]] Scan scan(std::string_view text);

/// The offset, from the start of `raw`, of the character that is number `index` once decoded.
[[nodiscard]] std::size_t raw_index(std::string_view raw, std::size_t index);

}  // namespace gwconf::tool
