#pragma once

#include <cstdint>

#include "platform/linux/interfaces.h"

namespace gwconf {

// A plain Linux machine has a WAN connection wherever it has a default route. The interfaces that
// hold one are numbered in their natural order. In the tree they are the WANConnectionDevices 1, 2,
// ... of the first WANDevice: a PPP interface is the WANPPPConnection 1 of its device, any other
// one the WANIPConnection 1, and each kind is counted on its own.

/// Where a connection stands in the tree.
struct WanPlace {
  bool ppp = false;
  std::int32_t device = 0;  ///< its WANConnectionDevice; 0 when there is no such connection
};

/// `connections` are the interfaces that hold a default route.
[[nodiscard]] WanPlace place_of_connection(const InterfaceList& connections, int connection);

}  // namespace gwconf
