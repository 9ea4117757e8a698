#pragma once

#include <cstdint>

#include "core/status.h"

namespace gwconf {

// Three globals of the request interface that nothing here reads or writes: other programs link to
// their names.
extern std::uint32_t CM_RPC_CMD;
extern std::uint32_t CM_EventType;
extern std::uint32_t CM_AttrType;

/// Serves requests, one connection after the other, until a handler's result is CM_STOP: CM_OK
/// then. CM_NO_SERVER, and no socket left behind, when the socket cannot be bound or listened on.
[[nodiscard]] int CM_RPC_ServerStart();

/// Reads and serves one request of a connection and returns the handler's result. Starts the
/// request's time, which goes on to the message of the result. CM_UNREADABLE without a command;
/// CM_INVALID for a number without a handler.
Status CM_RPC_RPOCESS(int fd);

}  // namespace gwconf
