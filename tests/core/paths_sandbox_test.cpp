#include <string>

#include <gtest/gtest.h>

#include "core/paths.h"
#include "tests/support/sandbox.h"

namespace gwconf {
namespace {

TEST(SandboxPaths, AreTheFixedOnesBelowItsFolder) {
  const std::string root = test::sandbox_root();
  EXPECT_EQ(paths().defaults, root + "/etc/default.xml");
  EXPECT_EQ(paths().socket, root + "/tmp/Vantrel_cm_socket");
  EXPECT_EQ(paths().primary_partition, root + "/dev/mtd9");
  EXPECT_EQ(paths().backup_partition, root + "/dev/mtd10");
  EXPECT_EQ(paths().temporary_output, root + "/tmp/ConfigOut.TMP");
  EXPECT_EQ(paths().last_block_text, root + "/tmp/backup.xml");
  EXPECT_EQ(paths().device_info, root + "/etc/device_info_cfg");
  EXPECT_EQ(paths().proc_mtd, root + "/proc/mtd");
}

TEST(SandboxPaths, OfTheKernelAndTheMachineAreItsOwnWhereItHasAProc) {
  const std::string root = test::sandbox_root();
  EXPECT_EQ(paths().proc, root + "/proc");
  EXPECT_EQ(paths().proc_net_dev, root + "/proc/net/dev");
  EXPECT_EQ(paths().proc_meminfo, root + "/proc/meminfo");
  EXPECT_EQ(paths().proc_uptime, root + "/proc/uptime");
  EXPECT_EQ(paths().sys, root + "/sys");
  EXPECT_EQ(paths().os_release, root + "/etc/os-release");
  EXPECT_EQ(paths().resolv_conf, root + "/etc/resolv.conf");
  EXPECT_EQ(paths().logs, root + "/var/log");
  EXPECT_EQ(paths().dhclient_leases, root + "/var/lib/dhcp");
  EXPECT_EQ(paths().dhcpcd_leases, root + "/var/lib/dhcpcd");
  EXPECT_EQ(paths().networkd_leases, root + "/run/systemd/netif/leases");
}

}  // namespace
}  // namespace gwconf
