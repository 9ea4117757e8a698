#pragma once

// What both ends of the request socket keep to.

#include <cstdint>

namespace gwconf {

/// Where the daemon listens.
inline constexpr const char* kSocketPath = "/tmp/Vantrel_cm_socket";

/// Longest body of a request message, its NUL included. A path with its NUL fits in one.
inline constexpr std::int32_t kMessageMax = 32769;

/// Seconds that the daemon waits for a peer that neither sends nor takes anything.
inline constexpr int kReadSeconds = 5;

/// Seconds that a request may take with all its waits; the daemon then closes the connection.
inline constexpr int kRequestSeconds = 30;

}  // namespace gwconf
