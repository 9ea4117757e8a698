#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "core/tree.h"

namespace gwconf {

// The "type" attribute carries a value type with its limits: a name, then for sized types the
// longest length, "string(64)", and for numbers the range, "int[-5:10]", "int[:10]", "int[-5:]".
// What follows the name counts up to the first blank, at most 63 characters of it. A bound may end
// in K for 1024. Numbers are read as far as they go, 0 where there are none, and saturate.

/// How much of a type's name a loader compares, always without regard to case: the line loader all
/// of it, the DOM loader only six characters of the address types.
enum class TypeMatch { kLine, kDom };

/// Sets type, minimum and maximum of `param` from a type text. The limits stay as they are for
/// "dateTime" and for a text that names no type, which becomes kUnknownType.
void parse_value_type(std::string_view text, TypeMatch match, Parameter* param);

/// The lower bound of the range in a type text; 0 when there is none.
[[nodiscard]] std::int32_t CM_XML2RAM_FindIntMin(std::string_view type_text);
/// The upper bound; 0 when there is none. A K behind it does not count here.
[[nodiscard]] std::int32_t CM_XML2RAM_FindIntMax(std::string_view type_text);
/// The length limit in a type text; 0 when there is none.
[[nodiscard]] std::int32_t CM_XML2RAM_FindStrMax(std::string_view type_text);

/// The number at the start of `text`, times 1024 when a K of either case stands anywhere in it.
/// Saturates.
[[nodiscard]] std::int32_t CM_XML2RAM_Multiplier_Check(std::string_view text);

/// Room for a type text in a writer, NUL included; a longer one is cut.
inline constexpr std::size_t kTypeTextSize = 32;

/// Writes the type text of a code and its limits into `out`, cut to its size with a NUL. A code
/// without a name of its own is written "string". Returns the length of the whole text.
std::int32_t CM_GetFullDataTypeString(std::uint8_t code, std::int32_t min, std::int32_t max,
                                      std::span<char> out);

}  // namespace gwconf
