#pragma once

#include "protocol/status.h"

namespace gwconf {

/// Path of an object or a parameter, then "bit,value". Sets the bit for the value 1 and clears it
/// for any other; what does not scan is 0. A bit outside the word changes nothing. The lookup's
/// code, and no second argument read, when the path names nothing.
Status CM_RPC_RPOCESS_SetParameterAttributes(int fd, char* buf);
/// Path of an object or a parameter. Answers the attribute word in decimal; the empty text before
/// the code of a failed lookup.
Status CM_RPC_RPOCESS_GetParameterAttributes(int fd, char* buf);
/// Process id, signal number, file path: the one listener to changes, in place of the one before,
/// which is forgotten even when a later argument is unreadable. CM_INVALID, and no argument read,
/// without memory for the first registration; otherwise as start_notification_file.
Status CM_RPC_RPOCESS_TR069_Notification_Registration(int fd, char* buf);

}  // namespace gwconf
