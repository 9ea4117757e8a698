#include "tests/storage/scripted_flash.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <filesystem>

#include "platform/services.h"
#include "tests/support/sandbox.h"

namespace gwconf::test {

ScriptedFlash& flash() {
  static ScriptedFlash the_flash;
  return the_flash;
}

namespace {

/// One more step, unless the power is gone.
bool step() {
  if (flash().steps == 0) return false;
  if (flash().steps != ScriptedFlash::kForever) --flash().steps;
  return true;
}

bool write(const std::string& bytes, std::string* partition) {
  const bool erases = flash().kind == ScriptedFlash::Kind::kErased;
  if (partition->size() < bytes.size()) partition->resize(bytes.size());
  for (std::size_t at = 0; erases && at < bytes.size(); at += ScriptedFlash::kEraseSize) {
    if (!step()) return false;
    const std::size_t end = std::min(at + ScriptedFlash::kEraseSize, partition->size());
    std::fill(partition->begin() + static_cast<std::ptrdiff_t>(at),
              partition->begin() + static_cast<std::ptrdiff_t>(end), '\xFF');
  }
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    if (!step()) return false;
    char& cell = (*partition)[at];
    cell = erases ? static_cast<char>(cell & bytes[at]) : bytes[at];
  }
  return true;
}

}  // namespace
}  // namespace gwconf::test

extern "C" int flash_write(const char* path, const void* buffer, std::int32_t length) {
  using namespace gwconf::test;
  const std::string bytes{static_cast<const char*>(buffer), static_cast<std::size_t>(length)};
  flash().writes.push_back({path, bytes});
  if (flash().fails || (flash().refuses && flash().refuses(flash().writes.back()))) {
    errno = flash().reason;
    return -1;
  }
  if (flash().lies > 0) {
    --flash().lies;
    return 0;
  }
  std::string partition = file_exists(path) ? read_file(path) : "";
  const bool whole = write(bytes, &partition);
  std::filesystem::remove(path);  // a file cut to be rewritten waits for the disk
  write_file(path, partition);
  return whole ? 0 : -1;
}
