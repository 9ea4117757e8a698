#pragma once

#include <array>

#include "gwconf/client.h"

namespace gwconf::client {

/// How the lines that the daemon writes for its listener name the kinds of enum
/// gwconf_notification, by number.
inline constexpr std::array<const char*, 3> kNotificationWords = {"None", "Passive", "Active"};
static_assert(GWCONF_NOTIFICATION_NONE == 0 && GWCONF_NOTIFICATION_PASSIVE == 1 &&
              GWCONF_NOTIFICATION_ACTIVE == 2);

}  // namespace gwconf::client
