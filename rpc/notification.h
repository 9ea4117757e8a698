#pragma once

#include <cstdint>

#include "core/tree.h"
#include "rpc/peer.h"

namespace gwconf {

/// The one process that hears of changed values, and where. Notification is on while the process,
/// the signal and the file are there.
struct Registration {
  Peer registrant;  ///< whose rights count for the file and the process
  std::int32_t process = 0;
  std::int32_t signal = 0;
  OwnedText file;
};

/// The registration, or none before the first; it then lives as long as the process.
extern Registration* notify_reg;

/// Names the process that serves: registered as the listener, it counts as missing.
void exclude_from_listening(std::int32_t process);

/// Clears the registration, making one at the first call. None when there is no memory for it.
[[nodiscard]] Registration* renew_registration();

/// Takes a copy of `path` into the registration and creates or empties that file, with the
/// registrant's rights. CM_INVALID when the file cannot be opened, the path cannot be copied, or
/// the process or the signal is missing; what was stored stays, but for a process that is not the
/// registrant's: it counts as missing from then on.
Status start_notification_file(Registration* registration, const char* path);

/// Tells the listener that the value of `param` was changed: appends a line to its file, under the
/// lock that the two share, and sends its signal, unless the process is the registrant's no longer.
/// A lock that is held for longer than kReadSeconds is passed over. `buf`, of `size` bytes, is
/// overwritten by the line, which is cut to it. When there is no process to signal and the file has
/// passed 256 KiB, the registration is cleared. CM_INVALID, and nothing told: an argument is
/// missing, nobody is registered, or the file cannot be opened with the registrant's rights; the
/// registration stays.
Status CM_RPC_TR069_Notification_Check(const Parameter* param, char* buf, std::int32_t size);

}  // namespace gwconf
