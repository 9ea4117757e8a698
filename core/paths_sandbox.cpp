#include <array>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

#include "core/paths.h"

namespace gwconf {
namespace {

/// The fixed paths below a folder of one's own: GWCONF_SANDBOX, or a fresh temporary one, whose
/// name is then told on standard error. The kernel's files and the machine's are the folder's own
/// where it has a proc/, and the real ones otherwise.
class Sandbox {
 public:
  Sandbox() {
    const char* given = std::getenv("GWCONF_SANDBOX");
    if (given && *given) {
      std::snprintf(root_.data(), root_.size(), "%s", given);
      make_folder("");
    } else {
      std::snprintf(root_.data(), root_.size(), "/tmp/gwconf.XXXXXX");
      if (!mkdtemp(root_.data())) {
        std::perror("no folder for the sandbox");
        std::exit(1);
      }
      std::fprintf(stderr, "sandbox folder %s\n", root_.data());
    }
    for (const char* folder : {"/etc", "/dev", "/tmp"})
      make_folder(folder);
    paths_.defaults = below("/etc/default.xml");
    paths_.socket = below("/tmp/Vantrel_cm_socket");
    paths_.primary_partition = below("/dev/mtd9");
    paths_.backup_partition = below("/dev/mtd10");
    paths_.temporary_output = below("/tmp/ConfigOut.TMP");
    paths_.last_block_text = below("/tmp/backup.xml");
    paths_.device_info = below("/etc/device_info_cfg");
    owns_machine_ = access(below("/proc"), F_OK) == 0;
    paths_.proc = machine_file("/proc");
    paths_.proc_net_dev = machine_file("/proc/net/dev");
    paths_.proc_meminfo = machine_file("/proc/meminfo");
    paths_.proc_uptime = machine_file("/proc/uptime");
    paths_.proc_mtd = below("/proc/mtd");
    paths_.sys = machine_file("/sys");
    paths_.os_release = machine_file("/etc/os-release");
    paths_.resolv_conf = machine_file("/etc/resolv.conf");
    paths_.logs = machine_file("/var/log");
    paths_.dhclient_leases = machine_file("/var/lib/dhcp");
    paths_.dhcpcd_leases = machine_file("/var/lib/dhcpcd");
    paths_.networkd_leases = machine_file("/run/systemd/netif/leases");
  }

  [[nodiscard]] const Paths& paths() const { return paths_; }

 private:
  using Text = std::array<char, 256>;

  void make_folder(const char* name) {
    Text path;
    std::snprintf(path.data(), path.size(), "%.*s%s", kRootMax, root_.data(), name);
    mkdir(path.data(), 0755);
  }

  const char* below(const char* path) {
    const Text root = root_;
    Text& text = texts_[used_++];
    std::snprintf(text.data(), text.size(), "%.*s%s", kRootMax, root.data(), path);
    return text.data();
  }

  const char* machine_file(const char* path) { return owns_machine_ ? below(path) : path; }

  static constexpr int kRootMax = 200;

  Text root_ = {};
  std::array<Text, 24> texts_ = {};
  std::size_t used_ = 0;
  bool owns_machine_ = false;
  Paths paths_ = {};
};

}  // namespace

const Paths& paths() {
  static const Sandbox kSandbox;
  return kSandbox.paths();
}

}  // namespace gwconf
