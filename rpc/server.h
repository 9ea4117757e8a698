#pragma once

#include <cstdint>

#include "protocol/status.h"

namespace gwconf {

// Three globals of the request interface that nothing here reads or writes: other programs link to
// their names.
extern std::uint32_t CM_RPC_CMD;
extern std::uint32_t CM_EventType;
extern std::uint32_t CM_AttrType;

/// Takes over the socket's path, whatever lies there, and serves requests, one connection after the
/// other, until a handler's result is CM_STOP: CM_OK then. CM_NO_SERVER when the socket cannot be
/// bound or listened on. No socket of its own is left behind.
[[nodiscard]] int CM_RPC_ServerStart();

/// Removes the socket's file while it is the one that this process has bound: a later service may
/// have taken the path over. A signal handler may call it.
void remove_own_socket();

/// Reads and serves one request of a connection and returns the handler's result. Starts the
/// request's time, which goes on to the message of the result. CM_UNREADABLE without a command;
/// CM_INVALID for a number without a handler.
Status CM_RPC_RPOCESS(int fd);

}  // namespace gwconf
