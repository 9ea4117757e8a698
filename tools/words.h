#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gwconf::tool {

/// The words of a line of the shell: single quotes keep everything, double quotes all but \" and
/// \\, a backslash keeps the next character, # at the start of a word begins a comment. Nothing
/// when a quote is left open.
[[nodiscard]] std::optional<std::vector<std::string>> split_words(std::string_view line);

}  // namespace gwconf::tool
