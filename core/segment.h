#pragma once

// The segments of a path: names with a dot at their end, some of which are numbers of instances.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "protocol/status.h"

namespace gwconf {

/// A path segment, its dot included, is at most this long.
inline constexpr std::size_t kSegmentMax = 255;

/// The segment of an instance: "12." for 12.
class InstanceName {
 public:
  explicit InstanceName(std::int32_t number);
  [[nodiscard]] std::string_view view() const { return {text_, length_}; }

 private:
  char text_[16];
  std::size_t length_;
};

/// True when `name` is the segment of an object called `stem`.
[[nodiscard]] bool is_segment(std::string_view name, std::string_view stem);

/// CM_OK when `name` starts an instance segment: a positive number, or the template "0."; else
/// CM_INVALID. Whatever follows the number is not looked at. Blanks and a sign may stand before it.
Status CM_CORE_CheckIfInstance(std::string_view name);
/// The same under its second name.
Status CM_UTL_IsInstance(std::string_view name);

/// The number at the start of `name` when it is not 0; otherwise 0 when "0." stands anywhere in
/// `name`, else -1. Deliberately unanchored: an object whose name ends in a zero counts as a
/// template.
[[nodiscard]] std::int32_t CM_UTL_GetInstanceNumber(std::string_view name);

}  // namespace gwconf
