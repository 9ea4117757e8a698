#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace gwconf::tool {

/// A text between double quotes, harmless to a terminal, with a backslash before quotes and
/// backslashes; what has more bytes than `most` is cut, with "..." behind.
[[nodiscard]] std::string in_quotes(std::string_view text, std::size_t most = 200);

/// A stored value as a client reads it, and as it must be stored. Values past the bound that the
/// daemon has for them stay as they are.
[[nodiscard]] std::string unescaped(std::string_view stored);
[[nodiscard]] std::string escaped(std::string_view plain);

/// " (did you mean X?)" for the candidate that differs least from `name`; nothing when none is
/// near.
[[nodiscard]] std::string did_you_mean(std::string_view name,
                                       std::span<const std::string_view> candidates);

/// "1 row", "2 rows".
[[nodiscard]] std::string counted(std::size_t count, std::string_view noun);

/// Whether two texts are the same without regard to case.
[[nodiscard]] bool same_word(std::string_view one, std::string_view other);

/// The number when the text is one and nothing else.
[[nodiscard]] std::optional<int> whole_number(std::string_view text);

/// "0x0012abcd".
[[nodiscard]] std::string hexadecimal(std::uint32_t word);

/// A place in a text as people count, from 1, in characters.
struct Position {
  std::size_t line = 1;
  std::size_t column = 1;
};

/// The lines of a text, which must outlive it.
class Lines {
 public:
  explicit Lines(std::string_view text);

  [[nodiscard]] Position position(std::size_t offset) const;
  /// The line that holds the offset, without its line break.
  [[nodiscard]] std::string_view line_at(std::size_t offset) const;
  /// Where that line starts.
  [[nodiscard]] std::size_t start_of(std::size_t offset) const;

 private:
  [[nodiscard]] std::size_t index_of(std::size_t offset) const;

  std::string_view text_;
  std::vector<std::size_t> starts_;
};

}  // namespace gwconf::tool
