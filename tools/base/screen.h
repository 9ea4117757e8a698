#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace gwconf::tool {

/// What a descriptor of this process can show.
struct Screen {
  enum class Colour { kObject, kValue, kFaint, kGood, kStrong, kError, kWarning, kNote };

  bool is_terminal = false;
  bool has_colour = false;  ///< a terminal that is not dumb, and nobody set NO_COLOR
  std::size_t width = 80;

  [[nodiscard]] static Screen of(int descriptor);

  /// The text in a colour, where there are any.
  [[nodiscard]] std::string coloured(Colour colour, std::string_view text) const;
};

/// Length in bytes of the UTF-8 character at the start of a text that is not empty; 0 when there is
/// none.
[[nodiscard]] std::size_t utf8_length(std::string_view text);

/// The text with \xNN for every byte that would steer a terminal or is no UTF-8, but those in
/// `kept`.
[[nodiscard]] std::string harmless(std::string_view text, std::string_view kept = {});

}  // namespace gwconf::tool
