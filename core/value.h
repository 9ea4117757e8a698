#pragma once

// Reads and writes by path.

#include <cstdint>
#include <span>
#include <string_view>

#include "protocol/status.h"

namespace gwconf {

/// Stores a copy of `value` in the parameter at `path` and marks it user-set, unless it is a
/// NumberOfEntries counter. No value, or a disabled object: CM_OK, nothing changed. The lookup's
/// code when there is no such parameter. CM_NO_MEMORY, without room in the tree too: the old value
/// stays.
Status CM_CORE_SetValueByURI(std::string_view path, const char* value);

/// Copies the stored value of the parameter at `path` into `out`, cut to its size, NUL included;
/// the empty text when its object is disabled. `out` is not touched when there is no value. The
/// lookup's code otherwise.
Status CM_CORE_GetValueByURI(std::string_view path, std::span<char> out);

/// Makes the instance at `path` real (1) or virtual (0). CM_OK without effect for any other
/// `writable` and for a disabled instance; the lookup's code; CM_INVALID when the object is no
/// instance.
Status CM_CORE_SetInstanceRWByURI(std::string_view path, std::uint32_t writable);

}  // namespace gwconf
