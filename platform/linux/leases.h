#pragma once

#include <cstdint>

namespace gwconf {

/// The time in seconds for which the interface was leased `address` (network byte order), as the
/// usual DHCP clients note it. 0 when none of them has noted that; a lease of another address is an
/// old one.
[[nodiscard]] std::uint32_t lease_seconds(const char* interface, std::uint32_t address);

}  // namespace gwconf
