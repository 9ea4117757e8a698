#include <string_view>

#include "core/owned_text.h"
#include "platform/linux/key_value.h"
#include "platform/services.h"

int getCfgInfo(const char* file, CfgItem* items, int count) {
  using namespace gwconf;
  Status result = CM_OK;
  for (CfgItem* item = items; item != items + count; ++item) {
    OwnedText value;
    Status status = find_key_value(file, item->key, value);
    if (status == CM_NOT_FOUND)
      status = value.assign(std::string_view{item->fallback}) ? CM_OK : CM_NO_MEMORY;
    item->value = value.release();
    if (status != CM_OK) result = status;
  }
  return result;
}
