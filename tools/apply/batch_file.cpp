#include "tools/apply/batch_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string_view>

#include "tools/base/path.h"
#include "tools/base/words.h"

namespace gwconf::tool {
namespace {

constexpr std::size_t kLargestFile = 16U << 20;

/// As much of a stream as a batch file may have, and a little more when there is more.
[[nodiscard]] std::string content_of(std::istream& source) {
  std::string text;
  std::string block(65536, '\0');
  while (source && text.size() <= kLargestFile) {
    source.read(block.data(), static_cast<std::streamsize>(block.size()));
    text.append(block, 0, static_cast<std::size_t>(source.gcount()));
  }
  return text;
}

[[nodiscard]] std::string text_of(const std::string& file) {
  errno = 0;
  std::ifstream stream;
  if (file != "-") stream.open(file, std::ios::binary);
  std::istream& source = file == "-" ? std::cin : stream;
  std::string text = content_of(source);
  std::string objection;
  if (source.bad() || !source.eof())
    objection = errno != 0 ? std::strerror(errno) : "cannot be read";
  if (file == "-" && std::ferror(stdin) != 0) objection = std::strerror(errno);
  if (text.size() > kLargestFile) objection = "longer than 16 MiB";
  if (text.find('\0') != std::string::npos) objection = "binary, no batch file";
  if (!objection.empty()) throw Failure{Exit::kWrongUse, "apply " + file + ": " + objection};
  return text;
}

/// What stands behind the word "set". A value keeps its blanks.
[[nodiscard]] Step set_step(std::string_view text) {
  const std::size_t start = std::min(text.find_first_not_of(" \t"), text.size());
  const std::string_view assignment = text.substr(start);
  const std::size_t equals = assignment.find('=');
  if (equals == std::string_view::npos || equals == 0)
    throw Failure{Exit::kWrongUse, "not of the form set PATH=VALUE"};
  return {.kind = Step::Kind::kSet,
          .path = std::string{trimmed(assignment.substr(0, equals))},
          .value = std::string{assignment.substr(equals + 1)}};
}

[[nodiscard]] BatchLine add_line(std::string_view text) {
  const std::string table{take_word(&text)};
  const std::string number{take_word(&text)};
  const bool is_number = number.size() <= 5 && instance_number(number + ".") > 0;
  if (table.empty() || !text.empty() || (!number.empty() && !is_number))
    throw Failure{Exit::kWrongUse, "not of the form add TABLE [NUMBER]"};
  BatchLine line;
  line.chooses_number = number.empty();
  line.step = {.kind = Step::Kind::kAdd, .path = as_object(table)};
  if (is_number) line.step.path += number + ".";
  return line;
}

[[nodiscard]] Step delete_step(std::string_view text) {
  const std::string path{take_word(&text)};
  if (path.empty() || !text.empty()) throw Failure{Exit::kWrongUse, "not of the form del INSTANCE"};
  return {.kind = Step::Kind::kDelete, .path = as_object(path)};
}

/// What a line asks for that is neither empty nor a comment. Throws Failure.
[[nodiscard]] BatchLine parse_line(std::string_view text) {
  // The end of a line of another system is no part of a value.
  if (text.ends_with('\r')) text.remove_suffix(1);
  text.remove_prefix(text.find_first_not_of(" \t"));
  std::string_view rest = text;
  const std::string verb{take_word(&rest)};
  if (verb == "add") return add_line(rest);
  BatchLine line;
  if (verb == "set")
    line.step = set_step(text.substr(verb.size()));
  else if (verb == "del")
    line.step = delete_step(rest);
  else
    throw Failure{Exit::kWrongUse, "neither set, add nor del"};
  return line;
}

}  // namespace

std::vector<BatchLine> read_batch(const Output& output, const std::string& file) {
  std::vector<BatchLine> lines;
  bool is_good = true;
  std::istringstream stream{text_of(file)};
  std::string row;
  for (std::size_t number = 1; std::getline(stream, row); ++number) {
    const std::string_view content = trimmed(row);
    if (content.empty() || content.starts_with('#')) continue;
    const std::string place = file + ":" + std::to_string(number);
    try {
      lines.push_back(parse_line(row));
      lines.back().place = place;
    } catch (const Failure& failure) {
      output.complaint(place, failure.what());
      is_good = false;
    }
  }
  if (!is_good) throw Failure{Exit::kWrongUse, file + " is no batch file", true};
  return lines;
}

}  // namespace gwconf::tool
