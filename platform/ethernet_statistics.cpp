#include "platform/ethernet_statistics.h"

#include <cstddef>
#include <cstring>
#include <string_view>

#include "core/number.h"
#include "core/paths.h"
#include "platform/line_reader.h"
#include "platform/text.h"

namespace gwconf {
namespace {

/// The counters in the order in which the kernel lists them behind an interface's name.
constexpr std::uint32_t EthernetStatistics::*kKernelOrder[] = {
    &EthernetStatistics::bytes_received,      &EthernetStatistics::packets_received,
    &EthernetStatistics::receive_errors,      &EthernetStatistics::receive_drops,
    &EthernetStatistics::receive_fifo_errors, &EthernetStatistics::receive_frame_errors,
    &EthernetStatistics::compressed_received, &EthernetStatistics::multicast_received,
    &EthernetStatistics::bytes_sent,          &EthernetStatistics::packets_sent,
    &EthernetStatistics::send_errors,         &EthernetStatistics::send_drops,
    &EthernetStatistics::send_fifo_errors,    &EthernetStatistics::collisions,
    &EthernetStatistics::send_carrier_errors, &EthernetStatistics::compressed_sent,
};

/// The colon that ends the interface's name. The name of an alias ("eth0:1") holds one itself.
const char* end_of_name(const char* name) {
  const char* colon = std::strchr(name, ':');
  if (!colon) return nullptr;
  const char* behind = colon + 1;
  while (is_digit(*behind))
    ++behind;
  return behind > colon + 1 && *behind == ':' ? behind : colon;
}

void take_over(const char* line, EthernetStatistics& record) {
  while (is_blank(*line))
    ++line;
  const char* colon = end_of_name(line);
  if (!colon) return;
  Answer{record.interface, sizeof record.interface}.append(
      {line, static_cast<std::size_t>(colon - line)});

  const char* at = colon + 1;
  for (const auto counter : kKernelOrder) {
    while (is_blank(*at))
      ++at;
    if (!is_digit(*at)) return;
    // A kernel may count in 64 bits; the record keeps the lower 32, as a counter that wraps.
    std::uint32_t count = 0;
    for (; is_digit(*at); ++at)
      count = count * 10 + static_cast<std::uint32_t>(*at - '0');
    record.*counter = count;
  }
}

}  // namespace

EthernetStatistics ethernet_statistics;

void refresh_ethernet_statistics() {
  LineReader<256> table{paths().proc_net_dev};
  for (int heading = 0; heading < 2; ++heading)
    if (!table.next()) return;
  while (table.next())
    if (std::strstr(table.c_str(), ethernet_statistics.interface))
      take_over(table.c_str(), ethernet_statistics);
}

}  // namespace gwconf
