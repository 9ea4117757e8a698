#pragma once

namespace gwconf {

/// Bits of an attribute word. Requests address them by these numbers.
enum AttributeBit : unsigned {
  kWritable = 0,      ///< on an instance: a real one; clear: a virtual one
  kDisabled = 1,      ///< treated as absent by reads, exports and moves
  kUserSet = 3,       ///< set by a user, not by the defaults
  kUserSetBelow = 4,  ///< objects: not user-set itself, but something below is
  kNotificationOff = 5,
  kPassiveNotification = 6,
  kActiveNotification = 7,
};

}  // namespace gwconf
