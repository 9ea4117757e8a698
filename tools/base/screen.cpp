#include "tools/base/screen.h"

#include <array>
#include <cstdlib>
#include <sys/ioctl.h>
#include <unistd.h>

namespace gwconf::tool {
namespace {

[[nodiscard]] unsigned byte_at(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

/// Whether a text begins with one of the codes that steer a terminal.
[[nodiscard]] bool begins_with_control(std::string_view text) {
  const unsigned first = byte_at(text, 0);
  return first < 0x20 || first == 0x7f || (first == 0xc2 && byte_at(text, 1) < 0xa0);
}

}  // namespace

Screen Screen::of(int descriptor) {
  Screen screen;
  screen.is_terminal = isatty(descriptor) == 1;
  if (!screen.is_terminal) return screen;
  const char* kind = std::getenv("TERM");
  const char* no_colour = std::getenv("NO_COLOR");
  screen.has_colour =
      kind && *kind && std::string_view{kind} != "dumb" && !(no_colour && *no_colour);
  winsize size{};
  if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) screen.width = size.ws_col;
  return screen;
}

std::string Screen::coloured(Colour colour, std::string_view text) const {
  if (!has_colour) return std::string{text};
  constexpr std::array<const char*, 8> kCodes = {"1;34", "36",   "2",    "32",
                                                 "1",    "1;31", "1;35", "1;36"};
  return std::string{"\033["} + kCodes[static_cast<std::size_t>(colour)] + 'm' + std::string{text} +
         "\033[0m";
}

std::size_t utf8_length(std::string_view text) {
  const unsigned first = byte_at(text, 0);
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
  if (first < 0xc2 || first > 0xf4 || text.size() < length) return 0;
  for (std::size_t at = 1; at < length; ++at)
    if ((byte_at(text, at) & 0xc0) != 0x80) return 0;
  const unsigned second = byte_at(text, 1);
  const bool is_overlong = (first == 0xe0 && second < 0xa0) || (first == 0xf0 && second < 0x90);
  const bool is_beyond = (first == 0xed && second >= 0xa0) || (first == 0xf4 && second >= 0x90);
  return is_overlong || is_beyond ? 0 : length;
}

std::string harmless(std::string_view text, std::string_view kept) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string result;
  while (!text.empty()) {
    const std::size_t length = utf8_length(text);
    const bool is_shown =
        length > 0 && (!begins_with_control(text) || kept.find(text[0]) != std::string_view::npos);
    if (is_shown) {
      result += text.substr(0, length);
    } else {
      const unsigned byte = byte_at(text, 0);
      result += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    }
    text.remove_prefix(is_shown ? length : 1);
  }
  return result;
}

}  // namespace gwconf::tool
