#include "platform/linux/wan.h"

#include <arpa/inet.h>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "core/paths.h"
#include "platform/line_reader.h"
#include "platform/linux/address.h"
#include "platform/linux/interfaces.h"
#include "platform/linux/leases.h"
#include "platform/services.h"
#include "platform/text.h"

namespace gwconf {
namespace {

/// The interface of a connection, as long as it lives.
class Connection {
 public:
  explicit Connection(int number)
      : interfaces_{default_route_interfaces()},
        name_{number < kWanConnections ? interfaces_.at(number) : nullptr} {}
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  explicit operator bool() const { return name_ != nullptr; }
  [[nodiscard]] const char* name() const { return name_; }

 private:
  InterfaceList interfaces_;
  const char* name_;
};

using AddressText = char[INET_ADDRSTRLEN];

const char* written(std::uint32_t address, AddressText& text) {
  if (address == 0) return "";
  in_addr bytes = {};
  bytes.s_addr = address;
  return inet_ntop(AF_INET, &bytes, text, sizeof text);
}

/// The `wanted`th name server of the machine, counted from 0.
const char* name_server(int wanted, char (&text)[64]) {
  LineReader<256> file{paths().resolv_conf};
  Answer answer{text, sizeof text};
  while (file.next()) {
    std::string_view rest = file.line();
    if (next_word(rest) != "nameserver" || wanted-- > 0) continue;
    answer.append(next_word(rest));
    break;
  }
  return text;
}

/// A session of PPP over Ethernet.
struct Session {
  std::uint16_t id = 0;
  InterfaceName carrier = {};  ///< the Ethernet interface below it
};

/// The session of a PPP connection. The kernel lists the sessions but not their interfaces, so only
/// a single session of a single PPP connection is known to be its.
bool find_session(const char* interface, Session& session) {
  if (!is_ppp(interface)) return false;
  const InterfaceList connections = default_route_interfaces();
  for (std::int64_t other = 0; const char* name = connections.at(other); ++other)
    if (is_ppp(name) && std::strcmp(name, interface) != 0) return false;

  char path[512];
  std::snprintf(path, sizeof path, "%s/net/pppoe", paths().proc);
  LineReader<128> table{path};
  int sessions = 0;
  for (bool heading = true; table.next(); heading = false) {
    if (heading) continue;
    std::string_view rest = table.line();
    const std::string_view id = next_word(rest);
    static_cast<void>(next_word(rest));  // the far end's MAC address
    const std::string_view carrier = next_word(rest);
    std::uint16_t as_sent = 0;
    const auto [end, error] = std::from_chars(id.data(), id.data() + id.size(), as_sent, 16);
    if (error != std::errc{} || end != id.data() + id.size() || carrier.empty()) continue;
    session.id = ntohs(as_sent);  // listed in the byte order of the wire
    Answer{session.carrier.text, sizeof session.carrier.text}.append(carrier);
    ++sessions;
  }
  return sessions == 1;
}

}  // namespace

WanPlace place_of_connection(const InterfaceList& connections, int connection) {
  const char* name = connection < kWanConnections ? connections.at(connection) : nullptr;
  if (!name) return {};
  WanPlace place{.ppp = is_ppp(name), .device = 1};
  for (int before = 0; before < connection; ++before)
    if (is_ppp(connections.at(before)) == place.ppp) ++place.device;
  return place;
}

}  // namespace gwconf

using namespace gwconf;

int hcal_wan_uri_map_id(const char* path) {
  if (number_behind(path, ".WANDevice.") != 1) return kWanConnections;
  const bool ppp = std::strstr(path, ".WANPPPConnection.") != nullptr;
  const char* const table = ppp ? ".WANPPPConnection." : ".WANIPConnection.";
  if (std::strstr(path, table) && number_behind(path, table) != 1) return kWanConnections;
  // What belongs to the WANDevice itself tells of its first connection.
  const std::int32_t device =
      std::strstr(path, ".WANConnectionDevice.") ? number_behind(path, ".WANConnectionDevice.") : 1;
  if (device < 1) return kWanConnections;
  const InterfaceList connections = default_route_interfaces();
  for (int connection = 0; connection < kWanConnections; ++connection) {
    const WanPlace place = place_of_connection(connections, connection);
    if (place.ppp == ppp && place.device == device) return connection;
  }
  return kWanConnections;
}

const char* sal_wan_get_con_state_t(int connection) {
  const Connection wan{connection};
  return wan && has_carrier(wan.name()) ? "1" : "0";
}

const char* sal_wan_get_con_ip_t(int connection) {
  static AddressText text;
  const Connection wan{connection};
  return wan ? written(own_address(wan.name()), text) : "";
}

const char* sal_wan_get_con_ipmask_t(int connection) {
  static AddressText text;
  const Connection wan{connection};
  return wan ? written(network_mask(wan.name()), text) : "";
}

const char* sal_wan_get_con_gw_t(int connection) {
  static AddressText text;
  const Connection wan{connection};
  if (!wan) return "";
  const std::uint32_t gateway =
      is_ppp(wan.name()) ? remote_address(wan.name()) : default_gateway(wan.name());
  return written(gateway, text);
}

const char* sal_wan_get_con_dns1_t(int) {
  static char text[64];
  return name_server(0, text);
}

const char* sal_wan_get_con_dns2_t(int) {
  static char text[64];
  return name_server(1, text);
}

const char* sal_wan_get_con_uptime_t(int) {
  return "";  // the kernel does not note when a link came up
}

const char* sal_wan_get_con_lease_t(int connection) {
  static char text[12];
  const Connection wan{connection};
  if (!wan) return nullptr;
  const std::uint32_t seconds = lease_seconds(wan.name(), own_address(wan.name()));
  if (seconds == 0) return nullptr;
  Answer{text, sizeof text}.append_number(seconds);
  return text;
}

const char* sal_wan_get_con_ppp_session_t(int connection) {
  static char text[8];
  const Connection wan{connection};
  Session session;
  if (!wan || !find_session(wan.name(), session)) return "";
  Answer{text, sizeof text}.append_number(session.id);
  return text;
}

int sal_wan_get_wan_state(int connection, int32_t* record) {
  const Connection wan{connection};
  if (!wan) return -1;
  const auto counter = [&](const char* name) {
    return static_cast<std::int32_t>(read_counter(wan.name(), name));
  };
  record[0] = counter("statistics/tx_packets");
  record[5] = counter("statistics/rx_packets");
  record[8] = counter("statistics/rx_errors");
  return 0;
}

void libGetWanMacAddress(int connection, char* text) {
  *text = '\0';
  const Connection wan{connection};
  if (!wan) return;
  Session session;
  const bool over_ethernet = find_session(wan.name(), session);
  read_attribute(over_ethernet ? session.carrier.text : wan.name(), "address",
                 {text, kServiceTextRoom});
}
