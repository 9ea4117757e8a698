#include "tests/platform_linux/linux_machine.h"

#include <arpa/inet.h>
#include <cstdio>
#include <filesystem>

#include "tests/support/sandbox.h"

namespace gwconf::test {

void LinuxMachine::SetUp() {
  clear_sandbox();
  for (const char* folder : {"/sys", "/var", "/run"})
    std::filesystem::remove_all(sandbox_root() + folder);
}

void LinuxMachine::has_file(const std::string& path, std::string_view content) {
  write_file(sandbox_root() + path, content);
}

void LinuxMachine::shows_real(const std::string& path) {
  const std::filesystem::path place{sandbox_root() + path};
  std::filesystem::create_directories(place.parent_path());
  std::filesystem::create_symlink(path, place);
}

void LinuxMachine::has_interface(const std::string& name, Attributes attributes) {
  if (interfaces_.empty())
    interfaces_ = "Inter-|   Receive  |  Transmit\n face |bytes packets |bytes packets\n";
  interfaces_ += "  " + name + ": 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0\n";
  has_file("/proc/net/dev", interfaces_);
  attributes.try_emplace("type", "1");
  if (attributes["type"] == "1" && !attributes.contains("virtual")) attributes["device"] = "";
  for (const auto& [attribute, text] : attributes) {
    const std::string path = "/sys/class/net/" + name + "/" + attribute;
    if (text.empty())
      std::filesystem::create_directories(sandbox_root() + path);
    else
      has_file(path, text + "\n");
  }
}

void LinuxMachine::has_default_route(const std::string& interface, const std::string& gateway) {
  has_route(interface + "\t00000000\t" + gateway + "\t0003\t0\t0\t100\t00000000\t0\t0\t0");
}

void LinuxMachine::has_route(const std::string& row) {
  if (routes_.empty())
    routes_ = "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\tMTU\tWindow\tIRTT\n";
  routes_ += row + "   \n";
  has_file("/proc/net/route", routes_);
}

std::string as_routed(const char* address) {
  char text[16];
  std::snprintf(text, sizeof text, "%08X", static_cast<unsigned>(inet_addr(address)));
  return text;
}

}  // namespace gwconf::test
