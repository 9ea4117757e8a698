#pragma once

// The device's own services, as its vendor's library defines them at link time. On a plain Linux
// machine the folder platform/linux/ defines them. Every text handed over to the daemon is released
// with free(). A C library may include this header too.

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Writes `length` bytes from `buffer` at the start of the flash partition `path`, erasing as the
/// flash needs. They are on the medium when it returns, and read() of the path gives them back: the
/// daemon looks. A partition that holds the very bytes already need not be worn. Returns a negative
/// value on failure, and tells the reason in errno where it knows one; the partition then holds
/// whatever was written by then. It is called again at once when it failed, three times in all, and
/// for the first 40 bytes alone when what a partition holds is to count no longer.
int flash_write(const char* path, const void* buffer, int32_t length);

/// Returns `text` between two `quote` characters, with a backslash before every `"` and `\` in it:
/// newly allocated, the caller's. None when there is no memory.
char* string_encode(char quote, const char* text);

/// Returns `raw` with one backslash removed before every character: newly allocated, the caller's.
/// None when `raw` holds no backslash, so that nothing needs decoding, or when there is no memory.
char* string_decode(const char* raw);

/// Writes the escaped form of `src` into `dst`, which holds 32,769 zeroed bytes. Returns 0, or a
/// negative value when the escaped form is longer than 32,768 characters; `dst` then holds the
/// empty text.
int util_xml_encoder(char* dst, const char* src);

/// Writes the unescaped form of `src`, which is never longer, into `dst`, which holds 32,769 zeroed
/// bytes. Returns 0, or a negative value when it does not fit; `dst` then holds the empty text.
int util_xml_decoder(char* dst, const char* src);

// Texts. "Room" is what the daemon provides; a text ends with a NUL that fits into it. A returned
// text stays the platform's and holds until the same service is called again; none stands for the
// empty text. The daemon copies every text within bounds.

enum {
  kServiceTextRoom = 256,      // room of every text whose service is not told a size
  kEthernetCounterWords = 64,  // room of an Ethernet counter record
  kWanStateWords = 64,         // room of a WAN statistics record
  kWanConnections = 4          // WAN connections are numbered from 0; a number past them is none
};

// --- The configuration client ---

/// How platform code reads the daemon's tree when it runs inside the daemon; none until the daemon
/// fills them with its own readers. A stored value, or the list of a table's instance numbers with
/// a comma behind each: newly allocated, the caller's. None when there is no such thing.
extern char* (*p_cm_value_get_new)(const char* path);
extern char* (*p_cm_instance_get_new)(const char* path);

// --- The device itself ---

/// Writes the serial number into a zeroed buffer of `size` (20) bytes; a text that fills it needs
/// no NUL. The result is not looked at.
int util_get_hw_sn(char* text, int size);

/// Writes the firmware's version into room for `size` bytes. Returns -1 when there is none.
int get_version(char* text, int size);

/// Writes the hardware's version. The buffer is not cleared before: it is answered as it is left.
void getHwVersion(char* text);

/// Writes the manufacturer's name. Returns 0 when there is none.
int getOemName(char* text);

/// Writes the product's name into room for `size` bytes. Returns 0 when there is none.
int util_getProductName(char* text, int size);

/// Writes the manufacturer's organisation number, six hexadecimal digits.
void getManufacturerOUI(char* text);

/// Writes a description of the product.
void getProductDesc(char* text);

/// One value to look up in a device information file.
typedef struct CfgItem {
  char* value;  // out: newly allocated, the caller's; not looked at when the lookup failed
  const char* key;
  int kind;              // 0: a text
  const char* fallback;  // the value of a key that is not there
} CfgItem;

/// Fills the values of `count` items from `file`. Returns 0, or another number when it failed: the
/// file cannot be read, or there is no memory.
int getCfgInfo(const char* file, CfgItem* items, int count);

/// Seconds since the machine started.
long get_uptime(void);

/// Writes the local time.
void getTimeofDay(char* text);

/// The processor's load since the last call in percent, over all processors when `total` is 1;
/// exactly -1.0 when it cannot be told.
double sal_get_cpu_utilization(int total);

/// Writes the newest part of the system's log that fits into room for `size` bytes, at most `limit`
/// of them, without a NUL when it fills them. `level` and `facility` narrow the choice; 0 is all.
/// Returns how many bytes there are, or a number below 1 when there is no log.
int log_get_content(char* text, int size, int limit, int level, int facility);

/// Writes the management client's log into room for `size` bytes. Returns a negative value when it
/// failed.
int log_get_cwmp_debug_info(char* text, int size);

// --- Ethernet ports of the LAN ---

/// Writes the MAC address of the LAN.
void libGetLanMacAddress(char* text);

/// Returns 1 when the port, numbered from 1 as in the tree, has a link.
int sal_eth_get_link_status(int port);

/// Fills `counters`, kEthernetCounterWords zeroed words, for a port numbered the switch's way: 3 is
/// the tree's port 1, 0 its port 4. Words 9 and 10 hold the frames received with errors, high word
/// first; no other is read. Returns a negative value when it failed.
int sal_eth_get_counters(int port, uint32_t* counters);

// --- WAN connections ---

/// The number of the WAN connection that `path` lies in; kWanConnections or more when there is
/// none.
int hcal_wan_uri_map_id(const char* path);

/// The connection's state: "1..." when it is up.
const char* sal_wan_get_con_state_t(int connection);
/// What an up connection has: address, mask, gateway (or the far end), name servers.
const char* sal_wan_get_con_ip_t(int connection);
const char* sal_wan_get_con_ipmask_t(int connection);
const char* sal_wan_get_con_gw_t(int connection);
const char* sal_wan_get_con_dns1_t(int connection);
const char* sal_wan_get_con_dns2_t(int connection);
/// The machine's uptime, in whole seconds, at which the connection came up.
const char* sal_wan_get_con_uptime_t(int connection);
/// The time of its address lease in seconds; none when there is no lease.
const char* sal_wan_get_con_lease_t(int connection);
/// The identifier of its PPP session.
const char* sal_wan_get_con_ppp_session_t(int connection);

/// Fills `record`, kWanStateWords zeroed words: word 1 packets sent, word 6 packets received, word
/// 9 errors received; no other is read. `connection` may be any number. Returns a negative value
/// when it failed.
int sal_wan_get_wan_state(int connection, int32_t* record);

/// What the connection is configured to: the addressing mode ("Static": a fixed address), its
/// address, mask and gateway, whether the WAN's name servers go before the configured ones ("0":
/// they do not), and the configured ones.
const char* hcal_wan_get_mode(int connection);
const char* hcal_wan_get_ip_addr(int connection);
const char* hcal_wan_get_ip_net_mask(int connection);
const char* hcal_wan_get_gateway(int connection);
const char* hcal_wan_get_dns_override(int connection);
const char* hcal_wan_get_dns_servers(int connection);

/// Writes the MAC address of the connection.
void libGetWanMacAddress(int connection, char* text);

// --- Wi-Fi ---

/// Returns a value other than 0, and the wireless interface in `id`, when `path` lies in one.
int get_wlan_id(const char* path, int* id);

/// A counter of a wireless interface. 0 errors sent, 1 received, 2 unicast packets sent, 3
/// received, 4 packets discarded at sending, 5 at receiving, 6 multicast packets sent, 7 received,
/// 8 broadcast packets sent, 9 received.
int val_get_wifi_stats_info(int id, int counter);

/// The channel in use by the wireless interface that `path` lies in; 0 when it is not known.
int val_get_wifi_channel(const char* path);

/// "1..." when radio `radio`, numbered from 1, chooses its channel itself.
const char* cal_wlan_get_auto_channel_e(int radio);

// --- Telephone lines and the ping test ---

/// State and call state of a line, as its path numbers it; -1 when the path has none.
const char* voice_get_line_status(int line);
const char* voice_get_line_call_state(int line);

/// Results of the last ping test: answers, failures, response times in milliseconds.
const char* sal_misc_get_ipping_diag_succ_count(void);
const char* sal_misc_get_ipping_diag_fail_count(void);
const char* sal_misc_get_ipping_diag_avg_resp_time(void);
const char* sal_misc_get_ipping_diag_min_resp_time(void);
const char* sal_misc_get_ipping_diag_max_resp_time(void);

#ifdef __cplusplus
}  // extern "C"
#endif
