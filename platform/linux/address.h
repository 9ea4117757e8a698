#pragma once

#include <cstdint>

namespace gwconf {

/// What the kernel holds of an interface's IPv4 address, in network byte order; 0 when there is
/// none.
[[nodiscard]] std::uint32_t own_address(const char* interface);
[[nodiscard]] std::uint32_t network_mask(const char* interface);
/// The far end of a point-to-point link.
[[nodiscard]] std::uint32_t remote_address(const char* interface);

}  // namespace gwconf
