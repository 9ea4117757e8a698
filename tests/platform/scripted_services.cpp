#include "tests/platform/scripted_services.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#include "core/heap.h"

namespace gwconf::test {
namespace {

template <typename... Arguments>
void note(const char* service, const Arguments&... arguments) {
  std::ostringstream listed;
  ((listed << ", " << arguments), ...);
  const std::string list = listed.str();
  services().calls.push_back(std::string{service} + '(' + (list.empty() ? "" : list.substr(2)) +
                             ')');
}

const std::optional<std::string>& text_of(const char* service) {
  return services().texts[service];
}

int result_of(const char* service) {
  return services().results[service];
}

const char* told(const char* service) {
  const auto& text = text_of(service);
  return text ? text->c_str() : nullptr;
}

/// As a service writes that is told no size: the whole text.
void write_whole(const char* service, char* out) {
  if (const auto& text = text_of(service)) std::memcpy(out, text->c_str(), text->size() + 1);
}

/// As one writes that fills its room to the last byte, without a NUL when there is none left.
void write_within(const char* service, char* out, int size) {
  if (const auto& text = text_of(service))
    std::memcpy(out, text->c_str(), std::min(text->size() + 1, static_cast<std::size_t>(size)));
}

}  // namespace

ScriptedServices& services() {
  static ScriptedServices device;
  return device;
}

}  // namespace gwconf::test

using namespace gwconf::test;

char* (*p_cm_value_get_new)(const char*) = nullptr;
char* (*p_cm_instance_get_new)(const char*) = nullptr;

int util_get_hw_sn(char* text, int size) {
  note("util_get_hw_sn", size);
  write_within("util_get_hw_sn", text, size);
  return result_of("util_get_hw_sn");
}

int get_version(char* text, int size) {
  note("get_version", size);
  write_within("get_version", text, size);
  return result_of("get_version");
}

void getHwVersion(char* text) {
  note("getHwVersion");
  write_whole("getHwVersion", text);
}

int getOemName(char* text) {
  note("getOemName");
  write_whole("getOemName", text);
  return result_of("getOemName");
}

int util_getProductName(char* text, int size) {
  note("util_getProductName", size);
  write_within("util_getProductName", text, size);
  return result_of("util_getProductName");
}

void getManufacturerOUI(char* text) {
  note("getManufacturerOUI");
  write_whole("getManufacturerOUI", text);
}

void getProductDesc(char* text) {
  note("getProductDesc");
  write_whole("getProductDesc", text);
}

int getCfgInfo(const char* file, CfgItem* items, int count) {
  for (int at = 0; at < count; ++at) {
    CfgItem& item = items[at];
    note("getCfgInfo", file, item.key, item.kind, std::string{'"'} + item.fallback + '"');
    static char left_behind[] = "not the daemon's";
    item.value = left_behind;
    if (result_of("getCfgInfo") != 0) continue;
    const auto found = services().device_information.find(item.key);
    const std::string value =
        found == services().device_information.end() ? item.fallback : found->second;
    item.value = static_cast<char*>(gwconf::heap_allocate(value.size() + 1));
    if (!item.value) return -1;  // a failure, with no value
    std::memcpy(item.value, value.c_str(), value.size() + 1);
  }
  return result_of("getCfgInfo");
}

long get_uptime() {
  note("get_uptime");
  return services().uptime;
}

void getTimeofDay(char* text) {
  note("getTimeofDay");
  write_whole("getTimeofDay", text);
}

double sal_get_cpu_utilization(int total) {
  note("sal_get_cpu_utilization", total);
  return services().load;
}

int log_get_content(char* text, int size, int limit, int level, int facility) {
  note("log_get_content", size, limit, level, facility);
  write_within("log_get_content", text, size);
  return result_of("log_get_content");
}

int log_get_cwmp_debug_info(char* text, int size) {
  note("log_get_cwmp_debug_info", size);
  write_within("log_get_cwmp_debug_info", text, size);
  return result_of("log_get_cwmp_debug_info");
}

void libGetLanMacAddress(char* text) {
  note("libGetLanMacAddress");
  write_whole("libGetLanMacAddress", text);
}

int sal_eth_get_link_status(int port) {
  note("sal_eth_get_link_status", port);
  return result_of("sal_eth_get_link_status");
}

int sal_eth_get_counters(int port, uint32_t* counters) {
  note("sal_eth_get_counters", port);
  std::copy(services().ethernet_counters.begin(), services().ethernet_counters.end(), counters);
  return result_of("sal_eth_get_counters");
}

int hcal_wan_uri_map_id(const char* path) {
  note("hcal_wan_uri_map_id", path);
  return result_of("hcal_wan_uri_map_id");
}

// The texts that a service returns for a connection, a line, or nothing.
#define TELLS_OF(service)       \
  const char* service(int of) { \
    note(#service, of);         \
    return told(#service);      \
  }
#define TELLS(service)     \
  const char* service() {  \
    note(#service);        \
    return told(#service); \
  }

TELLS_OF(sal_wan_get_con_state_t)
TELLS_OF(sal_wan_get_con_ip_t)
TELLS_OF(sal_wan_get_con_ipmask_t)
TELLS_OF(sal_wan_get_con_gw_t)
TELLS_OF(sal_wan_get_con_dns1_t)
TELLS_OF(sal_wan_get_con_dns2_t)
TELLS_OF(sal_wan_get_con_uptime_t)
TELLS_OF(sal_wan_get_con_lease_t)
TELLS_OF(sal_wan_get_con_ppp_session_t)
TELLS_OF(hcal_wan_get_mode)
TELLS_OF(hcal_wan_get_ip_addr)
TELLS_OF(hcal_wan_get_ip_net_mask)
TELLS_OF(hcal_wan_get_gateway)
TELLS_OF(hcal_wan_get_dns_override)
TELLS_OF(hcal_wan_get_dns_servers)
TELLS_OF(cal_wlan_get_auto_channel_e)
TELLS_OF(voice_get_line_status)
TELLS_OF(voice_get_line_call_state)
TELLS(sal_misc_get_ipping_diag_succ_count)
TELLS(sal_misc_get_ipping_diag_fail_count)
TELLS(sal_misc_get_ipping_diag_avg_resp_time)
TELLS(sal_misc_get_ipping_diag_min_resp_time)
TELLS(sal_misc_get_ipping_diag_max_resp_time)

int sal_wan_get_wan_state(int connection, int32_t* record) {
  note("sal_wan_get_wan_state", connection);
  std::copy(services().wan_state.begin(), services().wan_state.end(), record);
  return result_of("sal_wan_get_wan_state");
}

void libGetWanMacAddress(int connection, char* text) {
  note("libGetWanMacAddress", connection);
  write_whole("libGetWanMacAddress", text);
}

int get_wlan_id(const char* path, int* id) {
  note("get_wlan_id", path);
  if (result_of("get_wlan_id") != 0) *id = services().wlan_id;
  return result_of("get_wlan_id");
}

int val_get_wifi_stats_info(int id, int counter) {
  note("val_get_wifi_stats_info", id, counter);
  return result_of("val_get_wifi_stats_info");
}

int val_get_wifi_channel(const char* path) {
  note("val_get_wifi_channel", path);
  return result_of("val_get_wifi_channel");
}
