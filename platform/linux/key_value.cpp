#include "platform/linux/key_value.h"

#include "core/number.h"
#include "platform/line_reader.h"

namespace gwconf {
namespace {

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && is_blank(text.front()))
    text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back()))
    text.remove_suffix(1);
  return text;
}

/// A quoted value ends at its second quote; without one, the quote is part of the value.
std::string_view unquoted(std::string_view text) {
  if (text.empty() || text.front() != '"') return text;
  const std::size_t end = text.find('"', 1);
  return end == std::string_view::npos ? text : std::string_view{text.data() + 1, end - 1};
}

}  // namespace

Status find_key_value(const char* path, std::string_view key, OwnedText& value) {
  value.reset();
  LineReader<1024> file{path};
  if (!file.is_open()) return CM_UNUSABLE;
  while (file.next()) {
    const std::string_view line = file.line();
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos || trimmed({line.data(), equals}) != key) continue;
    const std::string_view behind{line.data() + equals + 1, line.size() - equals - 1};
    return value.assign(unquoted(trimmed(behind))) ? CM_OK : CM_NO_MEMORY;
  }
  return CM_NOT_FOUND;
}

}  // namespace gwconf
