#include "tests/rpc/system_log.h"

#include <cstdarg>
#include <cstdio>

namespace gwconf::test {

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
  return out << "[" << line.priority << "] " << line.text;
}

SystemLog& system_log() {
  static SystemLog the_log;
  return the_log;
}

namespace {

void take_line(int priority, const char* format, std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  std::string text(static_cast<std::size_t>(std::vsnprintf(nullptr, 0, format, again)), '\0');
  va_end(again);
  std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  system_log().lines.push_back({priority, text});
}

}  // namespace
}  // namespace gwconf::test

// They stand in for the C library's, by the linker. A build with fortified calls reaches the log by
// another name.
extern "C" {

void __wrap_openlog(const char* identity, int options, int facility) {
  gwconf::test::SystemLog& log = gwconf::test::system_log();
  ++log.times_opened;
  log.identity = identity;
  log.options = options;
  log.facility = facility;
  if (log.on_open) log.on_open();
}

void __wrap_syslog(int priority, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  gwconf::test::take_line(priority, format, arguments);
  va_end(arguments);
}

void __wrap___syslog_chk(int priority, int /*flag*/, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  gwconf::test::take_line(priority, format, arguments);
  va_end(arguments);
}

}  // extern "C"
