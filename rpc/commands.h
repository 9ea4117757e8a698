#pragma once

#include <array>

#include "protocol/commands.h"
#include "protocol/limits.h"
#include "protocol/status.h"

namespace gwconf {

/// A command's code: reads its arguments from the connection into the request buffer of kMessageMax
/// bytes, answers, and returns the result; CM_UNREADABLE, and nothing changed in the tree, when an
/// argument cannot be read.
using Handler = Status (*)(int fd, char* buf);

/// The handlers by command number, filled each time the service starts. The slot without a handler
/// is none.
extern std::array<Handler, kCommandCount> CM_RPC_PROCESS_FUNCTABLE;

/// Fills CM_RPC_PROCESS_FUNCTABLE.
void fill_command_table();

}  // namespace gwconf
