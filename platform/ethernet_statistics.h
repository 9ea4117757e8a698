#pragma once

#include <cstdint>

namespace gwconf {

/// The counters of one network interface, as the kernel told them last.
struct EthernetStatistics {
  char interface[8] = {};  ///< its name, cut to fit
  std::uint32_t packets_received = 0;
  std::uint32_t packets_sent = 0;
  std::uint32_t bytes_received = 0;
  std::uint32_t bytes_sent = 0;
  std::uint32_t receive_errors = 0;
  std::uint32_t send_errors = 0;
  std::uint32_t receive_drops = 0;
  std::uint32_t send_drops = 0;
  std::uint32_t multicast_received = 0;
  std::uint32_t multicast_sent = 0;  ///< the kernel does not tell: stays 0
  std::uint32_t compressed_received = 0;
  std::uint32_t compressed_sent = 0;
  std::uint32_t collisions = 0;
  std::uint32_t receive_frame_errors = 0;
  std::uint32_t receive_fifo_errors = 0;
  std::uint32_t send_carrier_errors = 0;
  std::uint32_t send_fifo_errors = 0;
};

/// All zero until the first refresh.
extern EthernetStatistics ethernet_statistics;

/// Reads the kernel's interface table into the record. Every line that contains the name held now
/// renames the record, so it follows the first interface listed and any later one whose line
/// contains that name. Without the table the record keeps what it has.
void refresh_ethernet_statistics();

}  // namespace gwconf
