#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gwconf::tool {

/// The text without the blanks around it.
[[nodiscard]] std::string_view trimmed(std::string_view text);

/// The first word of a text, which loses it and the blanks around it.
[[nodiscard]] std::string_view take_word(std::string_view* text);

/// The text in small letters, as far as they are ASCII.
[[nodiscard]] std::string lower(std::string_view text);

/// The words of a line of the shell: single quotes keep everything, double quotes all but \" and
/// \\, a backslash keeps the next character, # at the start of a word begins a comment. Nothing
/// when a quote is left open.
[[nodiscard]] std::optional<std::vector<std::string>> split_words(std::string_view line);

/// The last word of a line as far as it came and as it is written, blanks behind a backslash
/// included.
[[nodiscard]] std::string_view last_word(std::string_view line);

/// The text as a line of the shell has to have it to be one word.
[[nodiscard]] std::string as_word(std::string_view text);

}  // namespace gwconf::tool
