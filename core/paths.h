#pragma once

namespace gwconf {

/// The system's fixed paths. There is no configuration for them: the product links paths.cpp, the
/// sandbox and the tests link a version whose root is a folder of their own. Nothing else differs
/// between the two.
struct Paths {
  const char* defaults;           ///< factory defaults, XML
  const char* socket;             ///< the request socket
  const char* primary_partition;  ///< settings block, flash
  const char* backup_partition;   ///< settings block, flash
  const char* temporary_output;   ///< the writer's temporary file
  const char* last_block_text;    ///< plain text of the block written last
  const char* device_info;        ///< key=value lines of the device's identity
  const char* proc;               ///< root of the kernel's files
  const char* proc_net_dev;
  const char* proc_meminfo;
  const char* proc_uptime;
  const char* proc_mtd;  ///< exists where the kernel drives raw flash
  const char* sys;       ///< root of the kernel's device files

  // What a plain Linux machine knows of itself.
  const char* os_release;
  const char* resolv_conf;
  const char* logs;             ///< folder of the system's log files
  const char* dhclient_leases;  ///< folders of the usual DHCP clients
  const char* dhcpcd_leases;
  const char* networkd_leases;
};

/// The paths of this process, the same at every call.
[[nodiscard]] const Paths& paths();

}  // namespace gwconf
