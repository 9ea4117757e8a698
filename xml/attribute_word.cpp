#include "xml/attribute_word.h"

#include <strings.h>

#include "core/tree.h"
#include "xml/vocabulary.h"

namespace gwconf {

bool is_true(std::string_view text) {
  constexpr std::string_view kTrue = "true";
  return text == "1" ||
         (text.size() == kTrue.size() && strncasecmp(text.data(), kTrue.data(), kTrue.size()) == 0);
}

void apply_access_attribute(std::string_view name, std::string_view value, std::uint16_t* word) {
  const auto set_bit = [word](AttributeBit bit) { *word = CM_UTL_SetAttrBoolean(*word, bit, 1); };
  if (name == kAttrWritable && is_true(value)) set_bit(kWritable);
  if (name == kAttrNotification) {
    if (value == "2")
      set_bit(kActiveNotification);
    else if (value == "1")
      set_bit(kPassiveNotification);
    else
      set_bit(kNotificationOff);
  }
}

const char* notification_text(std::uint16_t word) {
  if (CM_UTL_GetAttrBoolean(word, kActiveNotification)) return "2";
  if (CM_UTL_GetAttrBoolean(word, kPassiveNotification)) return "1";
  return nullptr;
}

}  // namespace gwconf
