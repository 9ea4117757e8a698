#include "platform/device_getters.h"

#include <cstdio>

#include "core/owned_text.h"
#include "core/paths.h"
#include "platform/ethernet_statistics.h"
#include "platform/line_reader.h"

namespace gwconf {
namespace {

/// What the parameters of the LAN statistics are called, in the order in which a path is searched
/// for them. The first name found decides, and it is the beginning of every longer one of its
/// group: whatever follows it in the path, the packets are what is answered. Clients count on that.
struct LanCounter {
  const char* name;
  std::uint32_t (*value)(const EthernetStatistics&);
};
using Record = const EthernetStatistics&;
constexpr LanCounter lan_uri_id[] = {
    {"PacketsSent", [](Record r) { return r.packets_sent; }},
    {"PacketsSentErrors", [](Record r) { return r.send_errors; }},
    {"PacketsSentUnicast", [](Record r) { return r.packets_sent - r.multicast_sent; }},
    {"PacketsSentMulticast", [](Record r) { return r.multicast_sent; }},
    {"PacketsSentDiscard", [](Record r) { return r.send_drops; }},
    {"PacketsReceived", [](Record r) { return r.packets_received; }},
    {"PacketsReceivedErrors", [](Record r) { return r.receive_errors; }},
    {"PacketsReceivedUnicast", [](Record r) { return r.packets_received - r.multicast_received; }},
    {"PacketsReceivedMulticast", [](Record r) { return r.multicast_received; }},
    {"PacketsReceivedDiscard", [](Record r) { return r.receive_drops; }},
};

std::int32_t lan_port(const char* path) {
  return number_behind(path, ".LANEthernetInterfaceConfig.");
}

/// Reads the second word of a line as a number.
std::int32_t second_word(std::string_view line) {
  static_cast<void>(next_word(line));
  return to_number(next_word(line));
}

}  // namespace

Status device_information(const char* key, char* out, std::int32_t size) {
  Answer answer{out, size};
  CfgItem item{.value = nullptr, .key = key, .kind = 0, .fallback = ""};
  if (getCfgInfo(paths().device_info, &item, 1) != 0) return CM_OK;
  const auto value = OwnedText::adopt(item.value);
  for (const char* at = value.c_str(); *at != '\0'; ++at) {
    answer.append({at, 1});
    if (at[0] == '%' && at[1] == '%') ++at;
  }
  return CM_OK;
}

std::int32_t memory_figure(const char* label) {
  std::int32_t figure = 0;
  LineReader<128> table{paths().proc_meminfo};
  while (table.next())
    if (table.line().find(label) != std::string_view::npos) figure = second_word(table.line());
  return figure;
}

int model_name(char* text) {
  return util_getProductName(text, kServiceTextRoom);
}

int newest_log(char* text, int size) {
  return log_get_content(text, size - 1, size - 1, 0, 0);
}

Status serial_number(const char*, char* out, std::int32_t size) {
  char serial[20] = {};
  util_get_hw_sn(serial, sizeof serial);
  Answer{out, size}.append({serial, strnlen(serial, sizeof serial)});
  return CM_OK;
}

Status up_time(const char*, char* out, std::int32_t size) {
  Answer{out, size}.append_number(get_uptime());
  return CM_OK;
}

Status processor_load(const char*, char* out, std::int32_t size) {
  Answer{out, size};  // empty, should there be no value
  const double load = sal_get_cpu_utilization(1);
  if (load == -1.0) return CM_INVALID;
  std::snprintf(out, size > 0 ? static_cast<std::size_t>(size) : 0, "%5.2f%%", load);
  return CM_OK;
}

Status lan_statistics(const char* path, char* out, std::int32_t size) {
  Answer answer{out, size};
  for (const LanCounter& counter : lan_uri_id) {
    if (!std::strstr(path, counter.name)) continue;
    answer.append_number(counter.value(ethernet_statistics));
    return CM_OK;
  }
  return CM_INVALID;
}

Status lan_port_status(const char* path, char* out, std::int32_t size) {
  Answer{out, size}.append(sal_eth_get_link_status(lan_port(path)) == 1 ? "Up" : "NoLink");
  return CM_OK;
}

Status lan_port_errors(const char* path, char* out, std::int32_t size) {
  Answer answer{out, size};
  // The switch numbers its ports from the other end than the link status does.
  const auto port = static_cast<int>(4U - static_cast<unsigned>(lan_port(path)));
  std::uint32_t counters[kEthernetCounterWords] = {};
  if (sal_eth_get_counters(port, counters) < 0) return CM_INVALID;
  answer.append_number(static_cast<std::int64_t>((std::uint64_t{counters[8]} << 32) | counters[9]));
  return CM_OK;
}

}  // namespace gwconf
