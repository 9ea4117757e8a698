#include "tools/screen.h"

#include <array>
#include <cstdlib>
#include <sys/ioctl.h>
#include <unistd.h>

namespace gwconf::tool {
namespace {

/// Bytes of the printable UTF-8 character at the start of `text`; 0 when there is none.
[[nodiscard]] std::size_t character_length(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned first = byte(0);
  if (first < 0x80) return first >= 0x20 && first != 0x7f ? 1 : 0;
  const std::size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
  if (first < 0xc2 || first > 0xf4 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i)
    if ((byte(i) & 0xc0) != 0x80) return 0;
  const unsigned second = byte(1);
  const bool is_control = first == 0xc2 && second < 0xa0;
  const bool is_overlong = (first == 0xe0 && second < 0xa0) || (first == 0xf0 && second < 0x90);
  const bool is_beyond = (first == 0xed && second >= 0xa0) || (first == 0xf4 && second >= 0x90);
  return is_control || is_overlong || is_beyond ? 0 : length;
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

std::string harmless(std::string_view text, std::string_view kept) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string result;
  while (!text.empty()) {
    const bool is_kept = kept.find(text[0]) != std::string_view::npos;
    const std::size_t length = is_kept ? 1 : character_length(text);
    if (length > 0) {
      result += text.substr(0, length);
    } else {
      const auto byte = static_cast<unsigned char>(text[0]);
      result += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    }
    text.remove_prefix(length > 0 ? length : 1);
  }
  return result;
}

}  // namespace gwconf::tool
