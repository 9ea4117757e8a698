#include <array>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

#include "core/paths.h"

namespace gwconf {
namespace {

/// The fixed paths below a folder of one's own: GWCONF_SANDBOX, or a fresh temporary one, whose
/// name is then told on standard error. A kernel file is the folder's own where it has one, and the
/// real one otherwise.
class Sandbox {
 public:
  Sandbox() {
    const char* given = std::getenv("GWCONF_SANDBOX");
    if (given && *given) {
      std::snprintf(root_, sizeof root_, "%s", given);
      make_folder("");
    } else {
      std::snprintf(root_, sizeof root_, "/tmp/gwconf.XXXXXX");
      if (!mkdtemp(root_)) {
        std::perror("no folder for the sandbox");
        std::exit(1);
      }
      std::fprintf(stderr, "sandbox folder %s\n", root_);
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
    paths_.proc_net_dev = kernel_file("/proc/net/dev");
    paths_.proc_meminfo = kernel_file("/proc/meminfo");
    paths_.proc_uptime = kernel_file("/proc/uptime");
    paths_.proc_mtd = below("/proc/mtd");
  }

  [[nodiscard]] const Paths& paths() const { return paths_; }

 private:
  using Text = std::array<char, 256>;

  void make_folder(const char* name) {
    Text path;
    std::snprintf(path.data(), path.size(), "%s%s", root_, name);
    mkdir(path.data(), 0755);
  }

  const char* below(const char* path) {
    Text& text = texts_[used_++];
    std::snprintf(text.data(), text.size(), "%s%s", root_, path);
    return text.data();
  }

  /// `path` is a file below /proc.
  const char* kernel_file(const char* path) {
    const char* own_proc = below("/proc");
    return access(own_proc, F_OK) == 0 ? below(path) : path;
  }

  char root_[200] = {};
  std::array<Text, 24> texts_ = {};
  std::size_t used_ = 0;
  Paths paths_ = {};
};

}  // namespace

const Paths& paths() {
  static const Sandbox kSandbox;
  return kSandbox.paths();
}

}  // namespace gwconf
