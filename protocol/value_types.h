#pragma once

#include <cstdint>

namespace gwconf {

/// Value types. 0 and 1 never come from a file.
enum ValueType : std::uint8_t {
  kString = 2,
  kInt = 3,
  kUnsignedInt = 4,
  kBoolean = 5,
  kDateTime = 6,
  kBase64 = 7,
  kEnumeration = 8,
  kIpAddress = 9,
  kNetmask = 10,
  kMacAddress = 11,
  kUnknownType = 12,
};

}  // namespace gwconf
