#pragma once

#include <iterator>

#include "core/paths.h"
#include "protocol/limits.h"

namespace gwconf {

/// One of the system's fixed paths, and where it goes.
struct FixedPath {
  const char* Paths::*member;
  const char* text;
  /// A file of the kernel or of the machine, which a sandbox without a proc/ of its own shares.
  bool is_machines = false;
};

/// The only list of them: the product has them as they are, a sandbox below its root.
inline constexpr FixedPath kFixedPaths[] = {
    {&Paths::defaults, "/etc/default.xml"},
    {&Paths::socket, kSocketPath},
    {&Paths::primary_partition, "/dev/mtd9"},
    {&Paths::backup_partition, "/dev/mtd10"},
    {&Paths::temporary_output, "/tmp/ConfigOut.TMP"},
    {&Paths::last_block_text, "/tmp/backup.xml"},
    {&Paths::device_info, "/etc/device_info_cfg"},
    {&Paths::proc, "/proc", true},
    {&Paths::proc_net_dev, "/proc/net/dev", true},
    {&Paths::proc_meminfo, "/proc/meminfo", true},
    {&Paths::proc_uptime, "/proc/uptime", true},
    {&Paths::proc_mtd, "/proc/mtd"},
    {&Paths::sys, "/sys", true},
    {&Paths::os_release, "/etc/os-release", true},
    {&Paths::resolv_conf, "/etc/resolv.conf", true},
    {&Paths::logs, "/var/log", true},
    {&Paths::dhclient_leases, "/var/lib/dhcp", true},
    {&Paths::dhcpcd_leases, "/var/lib/dhcpcd", true},
    {&Paths::networkd_leases, "/run/systemd/netif/leases", true},
};

static_assert(sizeof(Paths) == std::size(kFixedPaths) * sizeof(const char*), "none is forgotten");

}  // namespace gwconf
