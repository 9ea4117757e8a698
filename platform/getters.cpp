#include "platform/getters.h"

#include <cstring>

#include "core/instance.h"
#include "core/owned_text.h"
#include "core/path.h"
#include "platform/connection_getters.h"
#include "platform/device_getters.h"
#include "platform/services.h"
#include "platform/stored_value.h"

namespace gwconf {

// The getters that are constantly empty stand in the table so that a configuration may name them:
// this device has no source for them.
constexpr std::array<GetterRow, kGetterCount + 1> platform_fn_tab{{
    {"GetELANStats", lan_statistics},
    {"GetSN", serial_number},
    {"GetFWVersion", sized_text<get_version, is<-1>>},
    {"GetHWVersion", written_over<getHwVersion>},
    {"GetManufacturer", written_text_or_maker<getOemName>},
    {"GetManufacturerUrl", device_information<kManufacturerUrl>},
    {"GetManufacturerOUI", written_text<getManufacturerOUI>},
    {"GetProductClass", sized_text<util_getProductName, is<0>>},
    {"GetModelName", written_text_or_maker<model_name>},
    {"GetModelNumber", device_information<kModelNumber>},
    {"GetModelUrl", device_information<kModelUrl>},
    {"GetDeviceName", device_information<kDeviceName>},
    {"GetSysUpTime", up_time},
    {"GetSystemLog", sized_text<newest_log, is_below<1>>},
    {"GetCWMPLog", sized_text<log_get_cwmp_debug_info, is_below<0>>},
    {"get_ntp_time", written_text<getTimeofDay>},
    {"GetEthMacAddr", written_text<libGetLanMacAddress>},
    {"GetELANStatus", lan_port_status},
    {"GetELANPacketsSent", constant<kEmpty>},
    {"GetELANPacketsReceived", constant<kEmpty>},
    {"GetELANErrorsReceived", lan_port_errors},
    {"GetELANDiscardPacketsSent", constant<kEmpty>},
    {"GetELANDiscardPacketsReceived", constant<kEmpty>},
    {"COM_GetWANPhysicalLinkStatus", constant<kUp>},
    {"COM_GetWANTotalBytesSent", constant<kEmpty>},
    {"COM_GetWANTotalBytesReceived", constant<kEmpty>},
    {"COM_GetWANTotalPacketsSent", constant<kEmpty>},
    {"COM_GetWANTotalPacketsReceived", constant<kEmpty>},
    {"GetWANBytesSent", constant<kEmpty>},
    {"GetWANBytesReceived", constant<kEmpty>},
    {"GetWANPacketsSent", wan_counter<1>},
    {"GetWANPacketsReceived", wan_counter<6>},
    {"GetWANEthernetErrorsSent", constant<kEmpty>},
    {"GetWANEthernetErrorsReceived", wan_counter<9>},
    {"GetWANEthernetUnicastPacketsSent", constant<kEmpty>},
    {"GetWANEthernetUnicastPacketsReceived", constant<kEmpty>},
    {"GetWANEthernetBroadcastPacketsSent", constant<kEmpty>},
    {"GetWANEthernetBroadcastPacketsReceived", constant<kEmpty>},
    {"GetWANEthernetMulticastPacketsSent", constant<kEmpty>},
    {"GetWANEthernetMulticastPacketsReceived", constant<kEmpty>},
    {"GetWLANErrorsSent", wlan_counter<0>},
    {"GetWLANErrorsReceived", wlan_counter<1>},
    {"GetWLANUnicastPacketsSent", wlan_counter<2>},
    {"GetWLANUnicastPacketsReceived", wlan_counter<3>},
    {"GetWLANDiscardPacketsSent", wlan_counter<4>},
    {"GetWLANDiscardPacketsReceived", wlan_counter<5>},
    {"GetWLANMulticastPacketsSent", wlan_counter<6>},
    {"GetWLANMulticastPacketsReceived", wlan_counter<7>},
    {"GetWLANBroadcastPacketsSent", wlan_counter<8>},
    {"GetWLANBroadcastPacketsReceived", wlan_counter<9>},
    {"GetWLANChannel", wlan_channel},
    {"GetDescription", written_text<getProductDesc>},
    {"GetWANConnectionStatus", wan_status},
    {"GetWANUpTime", wan_up_time},
    {"GetWANIPExternalIPAddress",
     live_or_configured_text<sal_wan_get_con_ip_t, hcal_wan_get_ip_addr>},
    {"GetWANIPSubnetMask",
     live_or_configured_text<sal_wan_get_con_ipmask_t, hcal_wan_get_ip_net_mask>},
    {"GetWANDefaultGateway", live_or_configured_text<sal_wan_get_con_gw_t, hcal_wan_get_gateway>},
    {"GetWANDNSServers", wan_name_servers},
    {"GetWANMACAddress", wan_mac_address},
    {"GetPPPExternalIPAddress", live_text<sal_wan_get_con_ip_t>},
    {"GetPPPRemoteIPAddress", live_text<sal_wan_get_con_gw_t>},
    {"GetPPPCurrentMRUSize", constant<kEmpty>},
    {"GetWANPPPReset", constant<kZero>},
    {"GetWANPPPoESessionID", live_text<sal_wan_get_con_ppp_session_t>},
    {"GetVoiceLineStatus", line_text<voice_get_line_status>},
    {"GetVoiceLineCallState", line_text<voice_get_line_call_state>},
    {"GetIPPingDiagSuccessCount", service_text<sal_misc_get_ipping_diag_succ_count>},
    {"GetIPPingDiagFailureCount", service_text<sal_misc_get_ipping_diag_fail_count>},
    {"GetIPPingDiagAvgResponseTime", service_text<sal_misc_get_ipping_diag_avg_resp_time>},
    {"GetIPPingDiagMinResponseTime", service_text<sal_misc_get_ipping_diag_min_resp_time>},
    {"GetIPPingDiagMaxResponseTime", service_text<sal_misc_get_ipping_diag_max_resp_time>},
    {"GetTotalRAM", memory<kMemoryTotal>},
    {"GetFreeRAM", memory<kMemoryFree>},
    {"GetCPUUtilization", processor_load},
    {"GetWANLeaseTime", wan_lease_time},
    {nullptr, nullptr},
}};

namespace {

using Row = std::string_view;

consteval bool rows_are_whole_and_unique() {
  for (std::size_t row = 0; row < kGetterCount; ++row) {
    if (!platform_fn_tab[row].name) return false;
    for (std::size_t other = 0; other < row; ++other)
      if (Row{platform_fn_tab[row].name} == platform_fn_tab[other].name) return false;
  }
  return true;
}
static_assert(rows_are_whole_and_unique());
static_assert(!platform_fn_tab[kGetterCount].name);

// The rows keep their places; these stand at the ends of their families.
static_assert(Row{platform_fn_tab[0].name} == "GetELANStats");
static_assert(Row{platform_fn_tab[11].name} == "GetDeviceName");
static_assert(Row{platform_fn_tab[17].name} == "GetELANStatus");
static_assert(Row{platform_fn_tab[23].name} == "COM_GetWANPhysicalLinkStatus");
static_assert(Row{platform_fn_tab[30].name} == "GetWANPacketsSent");
static_assert(Row{platform_fn_tab[40].name} == "GetWLANErrorsSent");
static_assert(Row{platform_fn_tab[50].name} == "GetWLANChannel");
static_assert(Row{platform_fn_tab[51].name} == "GetDescription");
static_assert(Row{platform_fn_tab[58].name} == "GetWANMACAddress");
static_assert(Row{platform_fn_tab[64].name} == "GetVoiceLineStatus");
static_assert(Row{platform_fn_tab[71].name} == "GetTotalRAM");
static_assert(Row{platform_fn_tab[74].name} == "GetWANLeaseTime");

/// The list cut behind the last entry that ends within its bound, so that no cut number is taken
/// for another instance's.
std::string_view within_bound(std::string_view list) {
  if (list.size() <= kInstanceListMax) return list;
  std::size_t length = kInstanceListMax;
  while (length > 0 && list[length - 1] != ',')
    --length;
  return {list.data(), length};
}

char* copy_of(std::string_view text) {
  OwnedText copy;
  return copy.assign(text) ? copy.release() : nullptr;
}

}  // namespace

const GetterRow* CM_platform_fn_init(const char* name) {
  if (!p_cm_value_get_new) p_cm_value_get_new = cm_get_value_core;
  if (!p_cm_instance_get_new) p_cm_instance_get_new = cm_get_instance_core;
  if (!name || *name == '\0') return nullptr;
  for (const GetterRow* row = platform_fn_tab.data(); row->name; ++row)
    if (std::strcmp(row->name, name) == 0) return row;
  return nullptr;
}

const char* stored_value(const char* path) {
  Parameter* parameter = nullptr;
  if (!path || CM_CORE_GetParaNodeByUri(path, &parameter) != CM_OK) return nullptr;
  return parameter->value.get();
}

char* cm_get_value_core(const char* path) {
  const char* value = stored_value(path);
  return value ? copy_of(value) : nullptr;
}

char* cm_get_instance_core(const char* path) {
  if (!path) return nullptr;
  PathText list{path};
  if (!list.fits()) return nullptr;
  if (CM_CORE_GetInstanceList(list.buffer(), kInstanceListMax) != CM_OK) return nullptr;
  return copy_of(without_template(within_bound(list.buffer())));
}

}  // namespace gwconf
