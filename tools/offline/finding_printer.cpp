#include "tools/offline/finding_printer.h"

#include <algorithm>
#include <vector>

namespace gwconf::tool {
namespace {

[[nodiscard]] Screen::Colour colour_of(Severity severity) {
  switch (severity) {
    case Severity::kError:
      return Screen::Colour::kError;
    case Severity::kWarning:
      return Screen::Colour::kWarning;
    default:
      return Screen::Colour::kNote;
  }
}

/// A line as it is printed, one column a character.
[[nodiscard]] std::vector<std::string> columns_of(std::string_view line) {
  std::vector<std::string> columns;
  while (!line.empty()) {
    const std::string_view character = line.substr(0, std::max<std::size_t>(utf8_length(line), 1));
    const bool is_harmless = harmless(character) == character;
    columns.emplace_back(is_harmless ? character : character == "\t" ? " " : "?");
    line.remove_prefix(character.size());
  }
  return columns;
}

}  // namespace

void FindingPrinter::print(const Finding& finding) const {
  const RuleRow& rule = row_of(finding.rule);
  const Screen& screen = output_.screen();
  const Screen::Colour colour = colour_of(rule.severity);
  const Position position = lines_.position(finding.at);
  const std::string place =
      file_ + ':' + std::to_string(position.line) + ':' + std::to_string(position.column) + ':';
  output_.line(screen.coloured(Screen::Colour::kStrong, place) + ' ' +
               screen.coloured(colour, std::string{severity_text(rule.severity)} + ':') + ' ' +
               harmless(finding.message) + " [" + std::string{rule.id} + ']');
  if (screen.is_terminal && !checked_.text().empty()) excerpt(finding, colour);
}

void FindingPrinter::excerpt(const Finding& finding, Screen::Colour colour) const {
  const std::string_view line = lines_.line_at(finding.at);
  const std::size_t begin = std::min(finding.at - lines_.start_of(finding.at), line.size());
  const std::vector<std::string> columns = columns_of(line);
  const std::size_t at = columns_of(line.substr(0, begin)).size();
  const std::size_t length =
      std::max<std::size_t>(columns_of(line.substr(begin, finding.length)).size(), 1);

  // A long line is shown around its place.
  const std::string number = std::to_string(lines_.position(finding.at).line);
  constexpr std::size_t kLeastRoom = 12;
  const std::size_t margin = number.size() + 4;
  const std::size_t room = std::max(output_.screen().width, margin + kLeastRoom) - margin;
  const std::size_t first = at + std::min(length, room / 2) <= room ? 0 : at - room / 3;
  std::string shown;
  for (std::size_t column = first; column < std::min(columns.size(), first + room); ++column)
    shown += columns[column];
  const std::size_t offset = at - first;
  const std::string mark = '^' + std::string(std::min(length, room - offset) - 1, '~');
  output_.line(' ' + number + " | " + shown);
  output_.line(std::string(number.size() + 1, ' ') + " | " + std::string(offset, ' ') +
               output_.screen().coloured(colour, mark));
}

}  // namespace gwconf::tool
