#pragma once

namespace gwconf {

/// Whether the system log takes a line at once, or is not there. Ask before syslog(): a log that
/// stands still would hold the service for as long, so nothing is logged then. False also when that
/// cannot be told for want of a descriptor.
[[nodiscard]] bool log_keeps_up();

}  // namespace gwconf
