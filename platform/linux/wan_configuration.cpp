#include <cstdio>
#include <string_view>

#include "core/owned_text.h"
#include "platform/linux/wan.h"
#include "platform/services.h"
#include "platform/text.h"

// On a plain Linux machine nobody but the tree itself knows how a connection is configured. The
// platform's own reader gives its stored values, past the getters that these services serve.

char* (*p_cm_value_get_new)(const char* path) = nullptr;
char* (*p_cm_instance_get_new)(const char* path) = nullptr;

namespace gwconf {
namespace {

OwnedText stored(const char* path) {
  return OwnedText::adopt(p_cm_value_get_new ? p_cm_value_get_new(path) : nullptr);
}

OwnedText connection_setting(int connection, const char* name) {
  const WanPlace place = place_of_connection(default_route_interfaces(), connection);
  if (place.device == 0) return {};
  char path[192];
  std::snprintf(
      path, sizeof path, "InternetGatewayDevice.WANDevice.1.WANConnectionDevice.%d.%s.1.%s",
      static_cast<int>(place.device), place.ppp ? "WANPPPConnection" : "WANIPConnection", name);
  return stored(path);
}

/// Room for a setting; longer ones are cut.
using SettingText = char[512];

const char* written(const OwnedText& value, SettingText& text) {
  Answer{text, sizeof text}.append(value.view());
  return text;
}

bool is_off(const OwnedText& boolean) {
  return boolean.view() == "0" || boolean.view() == "false";
}

}  // namespace
}  // namespace gwconf

using namespace gwconf;

const char* hcal_wan_get_mode(int connection) {
  static SettingText text;
  return written(connection_setting(connection, "AddressingType"), text);
}

const char* hcal_wan_get_ip_addr(int connection) {
  static SettingText text;
  return written(connection_setting(connection, "ExternalIPAddress"), text);
}

const char* hcal_wan_get_ip_net_mask(int connection) {
  static SettingText text;
  return written(connection_setting(connection, "SubnetMask"), text);
}

const char* hcal_wan_get_gateway(int connection) {
  static SettingText text;
  return written(connection_setting(connection, "DefaultGateway"), text);
}

const char* hcal_wan_get_dns_override(int connection) {
  // Configured servers that are not there cannot stand in the way of the WAN's.
  const bool configured = !connection_setting(connection, "DNSServers").view().empty();
  const bool kept = configured && is_off(connection_setting(connection, "DNSOverrideAllowed"));
  return kept ? "0" : "1";
}

const char* hcal_wan_get_dns_servers(int connection) {
  static SettingText text;
  return written(connection_setting(connection, "DNSServers"), text);
}

const char* cal_wlan_get_auto_channel_e(int radio) {
  char path[96];
  std::snprintf(path, sizeof path,
                "InternetGatewayDevice.LANDevice.1.WLANConfiguration.%d.AutoChannelEnable", radio);
  const OwnedText value = stored(path);
  return value.view().empty() || is_off(value) ? "0" : "1";
}
