#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace gwconf {

[[nodiscard]] constexpr bool is_blank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

[[nodiscard]] constexpr bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

/// A decimal integer at the start of a text, after blanks and a sign, as "%d" reads it. A number
/// that 32 bits do not hold saturates, so that no text can overflow.
struct ScannedNumber {
  bool found = false;
  std::int32_t value = 0;
  std::size_t used = 0;  ///< characters read, blanks and sign included
};

[[nodiscard]] constexpr ScannedNumber scan_number(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size() && is_blank(text[at]))
    ++at;
  bool negative = false;
  if (at < text.size() && (text[at] == '+' || text[at] == '-')) negative = text[at++] == '-';
  ScannedNumber scanned;
  constexpr std::int64_t kLimit = std::int64_t{std::numeric_limits<std::int32_t>::max()} + 1;
  std::int64_t magnitude = 0;
  for (; at < text.size() && is_digit(text[at]); ++at) {
    scanned.found = true;
    if (magnitude <= kLimit) magnitude = magnitude * 10 + (text[at] - '0');
  }
  if (!scanned.found) return {};
  if (negative)
    magnitude = magnitude > kLimit ? -kLimit : -magnitude;
  else if (magnitude >= kLimit)
    magnitude = kLimit - 1;
  scanned.value = static_cast<std::int32_t>(magnitude);
  scanned.used = at;
  return scanned;
}

/// The integer at the start of a text; 0 when there is none.
[[nodiscard]] constexpr std::int32_t to_number(std::string_view text) {
  return scan_number(text).value;
}

/// The decimal text of a number.
class DecimalText {
 public:
  explicit DecimalText(std::int32_t number)
      : end_{std::to_chars(text_, text_ + sizeof text_ - 1, number).ptr} {
    *end_ = '\0';
  }
  DecimalText(const DecimalText&) = delete;
  DecimalText& operator=(const DecimalText&) = delete;

  [[nodiscard]] std::string_view view() const {
    return {text_, static_cast<std::size_t>(end_ - text_)};
  }
  [[nodiscard]] const char* c_str() const { return text_; }

 private:
  char text_[12];
  char* end_;
};

}  // namespace gwconf
