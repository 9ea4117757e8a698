#include "platform/connection_getters.h"

#include <string_view>

#include "core/path.h"
#include "core/paths.h"
#include "platform/device_getters.h"
#include "platform/line_reader.h"
#include "platform/stored_value.h"

namespace gwconf {
namespace {

std::string_view view(const char* text) {
  return text ? std::string_view{text} : std::string_view{};
}

/// The machine's uptime in whole seconds.
ScannedNumber kernel_uptime() {
  LineReader<128> file{paths().proc_uptime};
  return file.next() ? scan_number(file.line()) : ScannedNumber{};
}

}  // namespace

bool find_connection(const char* path, int& connection) {
  connection = hcal_wan_uri_map_id(path);
  return connection >= 0 && connection < kWanConnections;
}

bool is_up(int connection) {
  return view(sal_wan_get_con_state_t(connection)).starts_with('1');
}

bool is_static(int connection) {
  return view(hcal_wan_get_mode(connection)) == "Static";
}

bool wan_state_word(const char* path, int word, std::int32_t& value) {
  std::int32_t record[kWanStateWords] = {};
  if (sal_wan_get_wan_state(hcal_wan_uri_map_id(path), record) < 0) return false;
  value = record[word - 1];
  return true;
}

Status wan_status(const char* path, char* out, std::int32_t size) {
  Answer answer{out, size};
  int connection = 0;
  if (!find_connection(path, connection)) return CM_OK;
  answer.append(is_up(connection) ? "Connected" : "Disconnected");
  return CM_OK;
}

Status wan_up_time(const char* path, char* out, std::int32_t size) {
  Answer answer{out, size};
  int connection = 0;
  if (!find_connection(path, connection) || !is_up(connection)) return CM_OK;
  const ScannedNumber start = scan_number(view(sal_wan_get_con_uptime_t(connection)));
  if (!start.found) return CM_INVALID;
  const ScannedNumber now = kernel_uptime();
  if (!now.found) return CM_INVALID;
  answer.append_number(std::int64_t{now.value} - start.value);
  return CM_OK;
}

Status wan_name_servers(const char* path, char* out, std::int32_t size) {
  Answer answer{out, size};
  int connection = 0;
  if (!find_connection(path, connection)) return CM_OK;
  if (view(hcal_wan_get_dns_override(connection)) == "0" || is_static(connection)) {
    answer.append(hcal_wan_get_dns_servers(connection));
  } else if (is_up(connection)) {
    answer.append(sal_wan_get_con_dns1_t(connection)).append(",");
    answer.append(sal_wan_get_con_dns2_t(connection));
  }
  return CM_OK;
}

Status wan_mac_address(const char* path, char* out, std::int32_t size) {
  TextRoom room{out, size};
  room.clear();
  int connection = 0;
  if (find_connection(path, connection)) libGetWanMacAddress(connection, room.text());
  return CM_OK;
}

Status wan_lease_time(const char* path, char* out, std::int32_t size) {
  Answer answer{out, size};
  int connection = 0;
  if (!find_connection(path, connection)) return CM_OK;
  const char* lease = sal_wan_get_con_lease_t(connection);
  answer.append(lease);
  return lease ? CM_OK : CM_INVALID;
}

Status wlan_channel(const char* path, char* out, std::int32_t size) {
  Answer answer{out, size};
  if (view(cal_wlan_get_auto_channel_e(1)).starts_with('1')) {
    const int channel = val_get_wifi_channel(path);
    answer.append_number(channel == 0 ? 1 : channel);
  } else {
    const char* stored = stored_value(path);
    answer.append(stored ? stored : "1");
  }
  return CM_OK;
}

}  // namespace gwconf
