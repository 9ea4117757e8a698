#include "tests/support/sandbox.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace gwconf::test {
namespace {

/// Made before anything asks for a path, since it decides where the paths lie.
struct Root {
  Root() {
    char folder[] = "/tmp/gwconf-test.XXXXXX";
    if (!mkdtemp(folder)) throw std::runtime_error("no folder for the test");
    name = folder;
    std::filesystem::create_directories(name +
                                        "/proc");  // the kernel's files are the test's own too
    setenv("GWCONF_SANDBOX", folder, 1);
  }
  ~Root() {
    std::error_code ignored;
    std::filesystem::remove_all(name, ignored);
  }
  std::string name;
};

const Root kRoot;

}  // namespace

const std::string& sandbox_root() {
  return kRoot.name;
}

void clear_sandbox() {
  for (const auto* folder : {"/etc", "/dev", "/tmp", "/proc"}) {
    std::filesystem::remove_all(kRoot.name + folder);
    std::filesystem::create_directories(kRoot.name + folder);
  }
}

void write_file(const std::string& path, std::string_view content) {
  std::filesystem::create_directories(std::filesystem::path{path}.parent_path());
  std::ofstream file{path, std::ios::binary | std::ios::trunc};
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

std::string read_file(const std::string& path) {
  std::ifstream file{path, std::ios::binary};
  if (!file) return "<none>";
  return {std::istreambuf_iterator<char>{file}, {}};
}

bool file_exists(const std::string& path) {
  return std::filesystem::exists(path);
}

}  // namespace gwconf::test
