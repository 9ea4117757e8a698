#pragma once

// The getters of the WAN connections, the wireless LAN, the telephone lines and the ping test: one
// template for each shape of source, which the table fills with the source.

#include <cstdint>

#include "platform/services.h"
#include "platform/text.h"
#include "protocol/status.h"

namespace gwconf {

inline constexpr char kUp[] = "Up";
inline constexpr char kZero[] = "0";

/// The WAN connection that `path` lies in; false when there is none, which is no error to any
/// getter: its answer is the empty text.
[[nodiscard]] bool find_connection(const char* path, int& connection);
/// Whether the connection's state begins with '1'.
[[nodiscard]] bool is_up(int connection);
/// Whether the connection is configured to a fixed address.
[[nodiscard]] bool is_static(int connection);

using ConnectionText = const char* (*)(int connection);

/// What an up connection has; empty otherwise.
template <ConnectionText kLive>
Status live_text(const char* path, char* out, std::int32_t size) {
  Answer answer{out, size};
  int connection = 0;
  if (find_connection(path, connection) && is_up(connection)) answer.append(kLive(connection));
  return CM_OK;
}

/// What an up connection has, and what a fixed one is configured to while it is down; empty
/// otherwise.
template <ConnectionText kLive, ConnectionText kConfigured>
Status live_or_configured_text(const char* path, char* out, std::int32_t size) {
  Answer answer{out, size};
  int connection = 0;
  if (!find_connection(path, connection)) return CM_OK;
  if (is_up(connection))
    answer.append(kLive(connection));
  else if (is_static(connection))
    answer.append(kConfigured(connection));
  return CM_OK;
}

/// Fetches word `word`, counted from 1, of the WAN statistics of `path`. False when the platform
/// refuses; it is asked whatever number the path maps to.
[[nodiscard]] bool wan_state_word(const char* path, int word, std::int32_t& value);

/// A word of the WAN statistics record.
template <int kWord>
Status wan_counter(const char* path, char* out, std::int32_t size) {
  static_assert(kWord >= 1 && kWord <= kWanStateWords);
  Answer answer{out, size};
  std::int32_t value = 0;
  if (!wan_state_word(path, kWord, value)) return CM_INVALID;
  answer.append_number(value);
  return CM_OK;
}

/// A counter of a wireless interface; 0 when the path names none.
template <int kCounter>
Status wlan_counter(const char* path, char* out, std::int32_t size) {
  int id = 0;
  const int value = get_wlan_id(path, &id) != 0 ? val_get_wifi_stats_info(id, kCounter) : 0;
  Answer{out, size}.append_number(value);
  return CM_OK;
}

/// What a service tells of a telephone line.
template <const char* (*kService)(int line)>
Status line_text(const char* path, char* out, std::int32_t size) {
  Answer{out, size}.append(kService(number_behind(path, "Line.")));
  return CM_OK;
}

/// What a service tells without being asked about anything.
template <const char* (*kService)()>
Status service_text(const char*, char* out, std::int32_t size) {
  Answer{out, size}.append(kService());
  return CM_OK;
}

// Getters of which there is only one of a kind.

/// "Connected" or "Disconnected".
Status wan_status(const char* path, char* out, std::int32_t size);
/// Seconds for which an up connection has been up; empty while it is down. No value without its
/// start or the machine's own uptime.
Status wan_up_time(const char* path, char* out, std::int32_t size);
/// The learned ones of an up connection, "first,second", the comma also where one is missing; empty
/// while it is down. The configured ones, up or down, where they go first or the address is fixed.
Status wan_name_servers(const char* path, char* out, std::int32_t size);
/// Up or down.
Status wan_mac_address(const char* path, char* out, std::int32_t size);
/// Up or down; no value without a lease.
Status wan_lease_time(const char* path, char* out, std::int32_t size);
/// The driver's channel where it is chosen automatically, else the one stored for this parameter; 1
/// where that is not known.
Status wlan_channel(const char* path, char* out, std::int32_t size);

}  // namespace gwconf
