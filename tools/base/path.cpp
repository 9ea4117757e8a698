#include "tools/base/path.h"

#include <charconv>

namespace gwconf::tool {

std::string as_object(const std::string& path) {
  return path.ends_with('.') ? path : path + '.';
}

SplitPath split(const std::string& path) {
  if (path.empty()) return {};
  const std::size_t dot = path.rfind('.', path.size() - (path.ends_with('.') ? 2 : 1));
  if (path == "." || dot == std::string::npos) return {"", path};
  return {path.substr(0, dot + 1), path.substr(dot + 1)};
}

unsigned instance_number(std::string_view segment) {
  if (!segment.ends_with('.') || segment.starts_with('0')) return 0;
  unsigned number = 0;
  const char* end = segment.data() + segment.size() - 1;
  const auto [stop, error] = std::from_chars(segment.data(), end, number);
  return error == std::errc{} && stop == end ? number : 0;
}

}  // namespace gwconf::tool
