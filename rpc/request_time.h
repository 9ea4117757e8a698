#pragma once

#include <cstdint>

namespace gwconf {

/// Milliseconds of a clock that nobody sets.
[[nodiscard]] std::int64_t milliseconds();

/// Starts the time that one request may take: kRequestSeconds from now. Before the first start
/// there is no end to it.
void start_request_time();

/// The milliseconds that one wait may take from now on: kReadSeconds, or what is left of the
/// request's time. 0: that is over.
[[nodiscard]] int next_wait();

}  // namespace gwconf
