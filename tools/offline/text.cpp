#include "tools/offline/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <strings.h>

#include "core/number.h"
#include "core/path.h"
#include "platform/services.h"
#include "tools/base/hint.h"
#include "tools/base/screen.h"

namespace gwconf::tool {
namespace {

/// Calls a text service of the platform's, whose buffers have the bound of a path.
[[nodiscard]] std::string through(int (*service)(char*, const char*), std::string_view text) {
  std::string buffer(kPathBufferSize, '\0');
  if (service(buffer.data(), std::string{text}.c_str()) != 0) return std::string{text};
  buffer.resize(buffer.find('\0'));
  return buffer;
}

}  // namespace

std::string in_quotes(std::string_view text, std::size_t most) {
  const bool cut = text.size() > most;
  if (cut) {
    while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0U) == 0x80U)
      --most;
    text = text.substr(0, most);
  }
  std::string escaped_text;
  for (const char c : text) {
    if (c == '"' || c == '\\') escaped_text += '\\';
    escaped_text += c;
  }
  return '"' + harmless(escaped_text) + (cut ? "\"..." : "\"");
}

std::string unescaped(std::string_view stored) {
  if (stored.find('&') == std::string_view::npos) return std::string{stored};
  return through(util_xml_decoder, stored);
}

std::string escaped(std::string_view plain) {
  if (plain.find_first_of("&<>\"'") == std::string_view::npos) return std::string{plain};
  return through(util_xml_encoder, plain);
}

std::string did_you_mean(std::string_view name, std::span<const std::string_view> candidates) {
  // One change more than among live names: these lists are short, and abbreviations are common.
  const std::size_t most = std::min<std::size_t>(3, name.size() / 3 + 1);
  const std::vector<std::string> names{candidates.begin(), candidates.end()};
  const std::vector<std::string> near = near_names(std::string{name}, names, most);
  return near.empty() ? std::string{} : " (did you mean " + near.front() + "?)";
}

std::string counted(std::size_t count, std::string_view noun) {
  return std::to_string(count) + ' ' + std::string{noun} + (count == 1 ? "" : "s");
}

bool same_word(std::string_view one, std::string_view other) {
  return one.size() == other.size() && strncasecmp(one.data(), other.data(), one.size()) == 0;
}

std::optional<int> whole_number(std::string_view text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) return {};
  return number;
}

std::string hexadecimal(std::uint32_t word) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "0x%08x", word);
  return text.data();
}

Lines::Lines(std::string_view text) : text_{text}, starts_{0} {
  for (std::size_t at = text.find('\n'); at != std::string_view::npos; at = text.find('\n', at + 1))
    starts_.push_back(at + 1);
}

std::size_t Lines::index_of(std::size_t offset) const {
  const auto behind = std::upper_bound(starts_.begin(), starts_.end(), offset);
  return static_cast<std::size_t>(behind - starts_.begin()) - 1;
}

std::size_t Lines::start_of(std::size_t offset) const {
  return starts_[index_of(offset)];
}

Position Lines::position(std::size_t offset) const {
  const std::size_t line = index_of(offset);
  Position position{line + 1, 1};
  for (std::size_t at = starts_[line]; at < std::min(offset, text_.size()); ++position.column)
    at += std::max<std::size_t>(utf8_length(text_.substr(at)), 1);
  return position;
}

std::string_view Lines::line_at(std::size_t offset) const {
  std::string_view line = text_.substr(start_of(offset));
  line = line.substr(0, line.find('\n'));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

}  // namespace gwconf::tool
