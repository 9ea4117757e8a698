#pragma once

#include <cstdint>

#include "protocol/limits.h"
#include "protocol/status.h"

namespace gwconf {

// Every wait for the peer ends after kReadSeconds, and all of a request together after
// kRequestSeconds (rpc/request_time.h): then the connection is shut down, so that no later wait
// begins.

/// What a read brought: readiness CM_OK with the declared length of a usable message, or length 0
/// for one that is not; otherwise CM_NOT_READY or CM_TIMED_OUT.
struct Received {
  Status readiness = CM_OK;
  std::int32_t length = 0;
};

/// Reads one message into `buf`, which holds kMessageMax bytes: one read for the length and one for
/// the body, each after a wait of at most kReadSeconds. What has not arrived by then is not waited
/// for a second time, so the body may be a part of what was declared. Bytes behind it stay as they
/// were; the last byte of `buf` is always NUL. A length below 1 or above kMessageMax, and the end
/// of the stream, are not usable; the body then stays unread. So is a message whose body had not
/// begun when the request's time was over.
[[nodiscard]] Received receive_message(int fd, char* buf);

/// receive_message as one number: the declared length, 0 when nothing usable was read, or
/// CM_NOT_READY or CM_TIMED_OUT, which count as a message of no bytes.
[[nodiscard]] std::int32_t CM_RPC_SocketRead(int fd, char* buf);

/// Sends `text` with its NUL as one message and returns the bytes of the body that were taken, or
/// -1. A peer that takes nothing for kReadSeconds is given up: its connection is shut down, too.
/// Descriptors 0 to 2 are the console: the text goes to standard error.
std::int32_t CM_RPC_SocketWrite(int fd, const char* text);

}  // namespace gwconf
