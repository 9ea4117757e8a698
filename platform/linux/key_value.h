#pragma once

#include <string_view>

#include "core/owned_text.h"
#include "protocol/status.h"

namespace gwconf {

/// Finds the first line "key=value" of `key` in a file. Blanks around the "=" and double quotes
/// around the value do not count; lines that start with "#" are comments. CM_OK with the value in
/// `value`; otherwise `value` is none: CM_UNUSABLE when the file cannot be read, CM_NOT_FOUND when
/// it has no such key, CM_NO_MEMORY. Values are cut at about a thousand characters.
Status find_key_value(const char* path, std::string_view key, OwnedText& value);

}  // namespace gwconf
