#include "core/paths.h"

#include <gtest/gtest.h>

namespace gwconf {
namespace {

// Other programs know these: clients the socket, the firmware's tools the partitions.
TEST(ProductPaths, AreFixed) {
  EXPECT_STREQ(paths().defaults, "/etc/default.xml");
  EXPECT_STREQ(paths().socket, "/tmp/Vantrel_cm_socket");
  EXPECT_STREQ(paths().primary_partition, "/dev/mtd9");
  EXPECT_STREQ(paths().backup_partition, "/dev/mtd10");
  EXPECT_STREQ(paths().temporary_output, "/tmp/ConfigOut.TMP");
  EXPECT_STREQ(paths().last_block_text, "/tmp/backup.xml");
  EXPECT_STREQ(paths().device_info, "/etc/device_info_cfg");
}

TEST(ProductPaths, OfTheKernelAndTheMachineAreTheUsualOnes) {
  EXPECT_STREQ(paths().proc, "/proc");
  EXPECT_STREQ(paths().proc_net_dev, "/proc/net/dev");
  EXPECT_STREQ(paths().proc_meminfo, "/proc/meminfo");
  EXPECT_STREQ(paths().proc_uptime, "/proc/uptime");
  EXPECT_STREQ(paths().proc_mtd, "/proc/mtd");
  EXPECT_STREQ(paths().sys, "/sys");
  EXPECT_STREQ(paths().os_release, "/etc/os-release");
  EXPECT_STREQ(paths().resolv_conf, "/etc/resolv.conf");
  EXPECT_STREQ(paths().logs, "/var/log");
  EXPECT_STREQ(paths().dhclient_leases, "/var/lib/dhcp");
  EXPECT_STREQ(paths().dhcpcd_leases, "/var/lib/dhcpcd");
  EXPECT_STREQ(paths().networkd_leases, "/run/systemd/netif/leases");
}

}  // namespace
}  // namespace gwconf
