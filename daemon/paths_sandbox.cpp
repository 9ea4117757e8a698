#include <array>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

#include "core/fixed_paths.h"

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
    const bool owns_machine = access(below("/proc", texts_.data()), F_OK) == 0;
    Text* text = texts_.data();
    for (const FixedPath& path : kFixedPaths) {
      const bool is_shared = path.is_machines && !owns_machine;
      paths_.*path.member = is_shared ? path.text : below(path.text, text++);
    }
  }

  [[nodiscard]] const Paths& paths() const { return paths_; }

 private:
  using Text = std::array<char, 256>;

  void make_folder(const char* name) {
    Text path;
    std::snprintf(path.data(), path.size(), "%.*s%s", kRootMax, root_.data(), name);
    mkdir(path.data(), 0755);
  }

  const char* below(const char* path, Text* text) const {
    std::snprintf(text->data(), text->size(), "%.*s%s", kRootMax, root_.data(), path);
    return text->data();
  }

  static constexpr int kRootMax = 200;

  Text root_ = {};
  std::array<Text, std::size(kFixedPaths)> texts_ = {};
  Paths paths_ = {};
};

}  // namespace

const Paths& paths() {
  static const Sandbox kSandbox;
  return kSandbox.paths();
}

}  // namespace gwconf
