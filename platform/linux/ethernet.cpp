#include <cstdint>

#include "platform/linux/interfaces.h"
#include "platform/services.h"

// The LAN's ports are the physical Ethernet interfaces on its side, in their natural order: port 1
// is the first.

void libGetLanMacAddress(char* text) {
  using namespace gwconf;
  *text = '\0';
  const InterfaceList ports = lan_ports();
  if (const char* first = ports.at(0)) read_attribute(first, "address", {text, kServiceTextRoom});
}

int sal_eth_get_link_status(int port) {
  using namespace gwconf;
  const InterfaceList ports = lan_ports();
  const char* name = ports.at(std::int64_t{port} - 1);
  return name && has_carrier(name) ? 1 : 0;
}

int sal_eth_get_counters(int port, uint32_t* counters) {
  using namespace gwconf;
  constexpr std::int64_t kPortOne = 3;
  const InterfaceList ports = lan_ports();
  const char* name = ports.at(kPortOne - port);
  if (!name) return -1;
  const std::uint64_t errors = read_counter(name, "statistics/rx_errors");
  counters[8] = static_cast<std::uint32_t>(errors >> 32);
  counters[9] = static_cast<std::uint32_t>(errors);
  return 0;
}
