#include "core/segment.h"

#include <cstring>

#include "core/number.h"
#include "core/text_view.h"

namespace gwconf {

InstanceName::InstanceName(std::int32_t number) {
  const DecimalText digits{number};
  length_ = digits.view().size() + 1;
  std::memcpy(text_, digits.c_str(), length_ - 1);
  text_[length_ - 1] = '.';
}

bool is_segment(std::string_view name, std::string_view stem) {
  return name.size() == stem.size() + 1 && begins_with(name, stem) && name.ends_with('.');
}

Status CM_CORE_CheckIfInstance(std::string_view name) {
  const ScannedNumber number = scan_number(name);
  if (!number.found || number.value < 0) return CM_INVALID;
  return number.value > 0 || begins_with(name, "0.") ? CM_OK : CM_INVALID;
}

Status CM_UTL_IsInstance(std::string_view name) {
  return CM_CORE_CheckIfInstance(name);
}

std::int32_t CM_UTL_GetInstanceNumber(std::string_view name) {
  if (const std::int32_t number = to_number(name)) return number;
  return name.find("0.") != std::string_view::npos ? 0 : -1;
}

}  // namespace gwconf
