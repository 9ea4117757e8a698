#include <algorithm>
#include <cstdio>
#include <cstring>
#include <sys/klog.h>

#include "core/paths.h"
#include "platform/regular_file.h"
#include "platform/services.h"

namespace gwconf {
namespace {

/// Reads the end of a log file, from the beginning of a line on. Returns how many bytes there are.
int read_newest(const char* name, char* text, int room) {
  char path[512];
  std::snprintf(path, sizeof path, "%s/%s", paths().logs, name);
  RegularFile file{path};
  const bool whole = file.size() <= room;
  if (!file.is_open() || !file.seek(whole ? 0 : file.size() - room)) return 0;
  std::size_t length = 0;
  while (const std::size_t count =
             file.read(text + length, static_cast<std::size_t>(room) - length))
    length += count;

  const char* const end = text + length;
  const char* start = text;
  if (!whole) {
    const char* line_end = std::find(start, end, '\n');
    if (line_end != end && line_end + 1 != end) start = line_end + 1;
  }
  length = static_cast<std::size_t>(end - start);
  std::memmove(text, start, length);
  // A loss of power can leave NULs in a log; they would hide all that follows.
  std::replace(text, text + length, '\0', ' ');
  return static_cast<int>(length);
}

/// Reads the end of the kernel's ring buffer, where the system keeps no log files.
int read_kernel_newest(char* text, int room) {
  constexpr int kReadAll = 3;
  return klogctl(kReadAll, text, room);
}

}  // namespace
}  // namespace gwconf

int log_get_content(char* text, int size, int limit, int, int) {
  using namespace gwconf;
  const int room = std::min(size, limit);
  if (room < 1) return 0;
  int length = 0;
  for (const char* name : {"messages", "syslog"}) {
    length = read_newest(name, text, room);
    if (length > 0) break;
  }
  if (length == 0) length = read_kernel_newest(text, room);
  if (length >= 0 && length < room) text[length] = '\0';
  return length;
}

int log_get_cwmp_debug_info(char* text, int size) {
  if (size > 0) *text = '\0';
  return 0;
}
