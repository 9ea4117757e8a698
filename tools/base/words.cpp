#include "tools/base/words.h"

namespace gwconf::tool {

std::optional<std::vector<std::string>> split_words(std::string_view line) {
  std::vector<std::string> words;
  bool is_in_word = false;
  char quote = 0;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    const bool is_blank = c == ' ' || c == '\t' || c == '\r';
    if (quote == 0 && is_blank) {
      is_in_word = false;
      continue;
    }
    if (!is_in_word && c == '#') break;
    if (!is_in_word) words.emplace_back();
    is_in_word = true;
    const bool has_next = i + 1 < line.size();
    if (quote == 0 && (c == '\'' || c == '"')) {
      quote = c;
    } else if (quote != 0 && c == quote) {
      quote = 0;
    } else if (c == '\\' && has_next &&
               (quote == 0 || (quote == '"' && (line[i + 1] == '"' || line[i + 1] == '\\')))) {
      words.back() += line[++i];
    } else {
      words.back() += c;
    }
  }
  if (quote != 0) return {};
  return words;
}

std::string_view last_word(std::string_view line) {
  std::size_t begin = 0;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '\\')
      ++i;
    else if (line[i] == ' ' || line[i] == '\t')
      begin = i + 1;
  }
  return line.substr(begin);
}

std::string as_word(std::string_view text) {
  std::string word;
  for (const char c : text) {
    if (std::string_view{" \t'\"\\#"}.find(c) != std::string_view::npos) word += '\\';
    word += c;
  }
  return word;
}

}  // namespace gwconf::tool
