#include "tools/offline/text.h"

#include <algorithm>
#include <array>
#include <numeric>

#include "core/path.h"
#include "platform/services.h"
#include "tools/screen.h"

namespace gwconf::tool {
namespace {

[[nodiscard]] unsigned byte_at(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

[[nodiscard]] char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
}

/// Changes (one character inserted, removed or replaced) from one text to the other, whatever the
/// case of letters.
[[nodiscard]] std::size_t distance(std::string_view one, std::string_view other) {
  std::vector<std::size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < one.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 0; j < other.size(); ++j) {
      const std::size_t replaced = diagonal + (lower(one[i]) == lower(other[j]) ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, replaced});
    }
  }
  return row.back();
}

/// Calls a text service of the platform's, whose buffers have the bound of a path.
[[nodiscard]] std::string through(int (*service)(char*, const char*), std::string_view text) {
  std::string buffer(kPathBufferSize, '\0');
  if (service(buffer.data(), std::string{text}.c_str()) != 0) return std::string{text};
  buffer.resize(buffer.find('\0'));
  return buffer;
}

}  // namespace

std::size_t utf8_length(std::string_view text) {
  const unsigned first = byte_at(text, 0);
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
  for (std::size_t at = 1; at < length; ++at)
    if ((byte_at(text, at) & 0xC0U) != 0x80U) return 0;
  const unsigned second = byte_at(text, 1);
  const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
  const bool surrogate = first == 0xED && second >= 0xA0;
  const bool past_the_end = first == 0xF4 && second >= 0x90;
  return overlong || surrogate || past_the_end ? 0 : length;
}

std::string in_quotes(std::string_view text, std::size_t most) {
  const bool cut = text.size() > most;
  if (cut) {
    while (most > 0 && (byte_at(text, most) & 0xC0U) == 0x80U)
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
  constexpr std::size_t kLongest = 100;
  if (name.empty() || name.size() > kLongest) return {};
  std::size_t least = std::min<std::size_t>(4, name.size() / 3 + 2);
  std::string_view nearest;
  for (const std::string_view candidate : candidates) {
    if (candidate.size() > name.size() + least || name.size() > candidate.size() + least) continue;
    const std::size_t changes = distance(name, candidate);
    if (changes >= least) continue;
    least = changes;
    nearest = candidate;
  }
  return nearest.empty() ? std::string{} : " (did you mean " + std::string{nearest} + "?)";
}

std::string counted(std::size_t count, std::string_view noun) {
  return std::to_string(count) + ' ' + std::string{noun} + (count == 1 ? "" : "s");
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
