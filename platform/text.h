#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "core/number.h"

namespace gwconf {

/// A text that grows in a buffer of `size` bytes, is always terminated there, and is cut at its
/// end. It starts empty. In a buffer without room even for the NUL nothing is written.
class Answer {
 public:
  Answer(char* buffer, std::int32_t size)
      : at_{buffer}, left_{size > 0 ? static_cast<std::size_t>(size) - 1 : 0} {
    if (size > 0) *at_ = '\0';
  }

  Answer& append(std::string_view text) {
    const std::size_t length = text.size() < left_ ? text.size() : left_;
    if (length == 0) return *this;
    std::memcpy(at_, text.data(), length);
    at_ += length;
    left_ -= length;
    *at_ = '\0';
    return *this;
  }

  /// None counts as the empty text.
  Answer& append(const char* text) { return text ? append(std::string_view{text}) : *this; }

  template <std::integral Number>
  Answer& append_number(Number number) {
    char digits[24];
    const char* end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    return append({digits, static_cast<std::size_t>(end - digits)});
  }

 private:
  char* at_;
  std::size_t left_;
};

/// Takes the next word, which ends at a blank, off the front of `text`; empty when there is none.
[[nodiscard]] constexpr std::string_view next_word(std::string_view& text) {
  while (!text.empty() && is_blank(text.front()))
    text.remove_prefix(1);
  std::size_t length = 0;
  while (length < text.size() && !is_blank(text[length]))
    ++length;
  const std::string_view word{text.data(), length};
  text.remove_prefix(length);
  return word;
}

/// The number right behind the first `mark` in `path`; -1 when the mark does not occur.
[[nodiscard]] inline std::int32_t number_behind(const char* path, const char* mark) {
  const char* found = std::strstr(path, mark);
  return found ? to_number(found + std::strlen(mark)) : -1;
}

}  // namespace gwconf
