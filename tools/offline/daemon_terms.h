#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/path.h"
#include "core/tree.h"
#include "storage/settings_block.h"
#include "xml/vocabulary.h"

namespace gwconf::tool {

// Bounds and words of the daemon, in the form that the verbs need.

/// Bytes of the largest document that the daemon reads.
inline constexpr auto kDocumentBytesMax = static_cast<std::size_t>(kDocumentMax);
static_assert(kDocumentBytesMax + 1 == block::kTextMax, "a block holds any document, and its NUL");

/// Characters of the longest path.
inline constexpr std::size_t kPathMax = kPathBufferSize - 1;
/// Characters of the longest attribute list that a save can write.
inline constexpr std::size_t kAttributeListMax = 2047;
/// Larger row numbers are listed cut to their first digits.
inline constexpr std::int32_t kListedRowMax = 9999;

/// The name of a table's template.
inline constexpr std::string_view kTemplateName = "0.";

/// Whether the daemon takes an object of that name for a row or a template.
[[nodiscard]] bool is_row(std::string_view name);
[[nodiscard]] inline bool is_row(const Node& node) {
  return is_row(node.name.view());
}

/// A type with its limits, as the daemon writes it.
[[nodiscard]] std::string type_text(ValueType type, std::int32_t min, std::int32_t max);
[[nodiscard]] inline std::string type_text(const Parameter& parameter) {
  return type_text(parameter.type, parameter.min, parameter.max);
}
/// The same without limits.
[[nodiscard]] inline std::string type_name(ValueType type) {
  return type_text(type, 0, 0);
}

/// What the notification attribute says for one of the bits of that name; kNotificationOff is "0".
[[nodiscard]] std::string notification_value(AttributeBit bit);

}  // namespace gwconf::tool
