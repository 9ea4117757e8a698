#include "core/paths.h"

namespace gwconf {

const Paths& paths() {
  static constexpr Paths kProduct{
      .defaults = "/etc/default.xml",
      .socket = "/tmp/Vantrel_cm_socket",
      .primary_partition = "/dev/mtd9",
      .backup_partition = "/dev/mtd10",
      .temporary_output = "/tmp/ConfigOut.TMP",
      .last_block_text = "/tmp/backup.xml",
      .device_info = "/etc/device_info_cfg",
      .proc = "/proc",
      .proc_net_dev = "/proc/net/dev",
      .proc_meminfo = "/proc/meminfo",
      .proc_uptime = "/proc/uptime",
      .proc_mtd = "/proc/mtd",
      .sys = "/sys",
      .os_release = "/etc/os-release",
      .resolv_conf = "/etc/resolv.conf",
      .logs = "/var/log",
      .dhclient_leases = "/var/lib/dhcp",
      .dhcpcd_leases = "/var/lib/dhcpcd",
      .networkd_leases = "/run/systemd/netif/leases",
  };
  return kProduct;
}

}  // namespace gwconf
