// Runs a fuzz harness once over every file of a corpus folder.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/support/sandbox.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size);

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s <corpus folder>\n", argv[0]);
    return 2;
  }
  int replayed = 0;
  for (const auto& entry : std::filesystem::directory_iterator{argv[1]}) {
    const std::string name = entry.path().string();
    // Without buffering, the last line names the input that ended the process.
    std::fprintf(stderr, "%s\n", name.c_str());
    const std::string input = gwconf::test::read_file(name);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
    ++replayed;
  }
  std::fprintf(stderr, "%d inputs\n", replayed);
  return replayed > 0 ? 0 : 1;
}
