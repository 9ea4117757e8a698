#include "tools/offline/daemon_terms.h"

#include <array>

#include "xml/attribute_word.h"
#include "xml/value_type.h"

namespace gwconf::tool {

bool is_row(std::string_view name) {
  return CM_CORE_CheckIfInstance(name) == CM_OK;
}

std::string type_text(ValueType type, std::int32_t min, std::int32_t max) {
  std::array<char, 40> text{};
  CM_GetFullDataTypeString(type, min, max, text);
  return text.data();
}

std::string notification_value(AttributeBit bit) {
  const char* text = notification_text(CM_UTL_SetAttrBoolean(0, bit, 1));
  return text ? text : "0";
}

}  // namespace gwconf::tool
