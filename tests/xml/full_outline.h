#pragma once

#include <cstdint>
#include <string>

#include "core/tree.h"

namespace gwconf::test {

inline constexpr std::uint16_t kAllAttributes = 0xFFFF;

/// Everything the records of a subtree hold, `node`'s later siblings left out: one line a record,
/// two blanks of indentation a level. Of the attribute words only the bits in `attributes` count:
///
///     InternetGatewayDevice. [1]
///       UpTime [8] 4(0..100) GetSysUpTime = 7
///       Mode 8(0..0) {A,B} = A
[[nodiscard]] std::string full_outline_of(const Node* node,
                                          std::uint16_t attributes = kAllAttributes);

}  // namespace gwconf::test
