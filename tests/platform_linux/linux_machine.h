#pragma once

#include <map>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace gwconf::test {

/// What the kernel tells of an interface below /sys/class/net/<name>/: text by attribute, each with
/// its line break. An attribute with no text is a folder.
using Attributes = std::map<std::string, std::string>;

/// A Linux machine of the test's own: empty kernel and system folders below the sandbox.
class LinuxMachine : public ::testing::Test {
 protected:
  void SetUp() override;

  /// Writes a file by its absolute path on the machine.
  static void has_file(const std::string& path, std::string_view content);
  /// Puts the real file or folder of this machine in the place.
  static void shows_real(const std::string& path);

  /// Adds an interface to the kernel's lists, Ethernet and physical unless the attributes say
  /// otherwise.
  void has_interface(const std::string& name, Attributes attributes = {});
  /// Adds a default route, its gateway as the kernel's table writes it.
  void has_default_route(const std::string& interface, const std::string& gateway = "00000000");
  /// Adds any row to the IPv4 routing table.
  void has_route(const std::string& row);

 private:
  std::string interfaces_;
  std::string routes_;
};

/// The machine's address in the way of its routing table.
[[nodiscard]] std::string as_routed(const char* address);

}  // namespace gwconf::test
