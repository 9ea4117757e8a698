#pragma once

#include <string>
#include <string_view>

namespace gwconf {

// The members of string_view that do this take a checked part of the text, and the check can throw:
// without optimisation that pulls in code of the C++ library, which the daemon does without.

[[nodiscard]] constexpr bool begins_with(std::string_view text, std::string_view head) {
  return text.size() >= head.size() &&
         std::char_traits<char>::compare(text.data(), head.data(), head.size()) == 0;
}

[[nodiscard]] constexpr bool ends_in(std::string_view text, std::string_view tail) {
  return text.size() >= tail.size() &&
         std::char_traits<char>::compare(text.data() + text.size() - tail.size(), tail.data(),
                                         tail.size()) == 0;
}

}  // namespace gwconf
