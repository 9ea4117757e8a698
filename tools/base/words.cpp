#include "tools/base/words.h"

#include <algorithm>
#include <cctype>

namespace gwconf::tool {

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

std::string_view take_word(std::string_view* text) {
  const std::string_view whole = trimmed(*text);
  const std::size_t end = std::min(whole.find_first_of(" \t"), whole.size());
  *text = trimmed(whole.substr(end));
  return whole.substr(0, end);
}

std::string lower(std::string_view text) {
  std::string result{text};
  for (char& c : result)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return result;
}

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
