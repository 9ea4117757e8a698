#include "protocol/commands.h"

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace gwconf {
namespace {

std::string trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  return first == std::string::npos ? ""
                                    : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::vector<std::string> cells_of(const std::string& line, char separator) {
  std::vector<std::string> cells;
  std::istringstream stream{line};
  for (std::string cell; std::getline(stream, cell, separator);)
    cells.push_back(trimmed(cell));
  return cells;
}

struct Row {
  std::string arguments;
  std::string answer;
};

/// The rows of the page's table of commands, by number.
std::map<int, Row> rows_of_page() {
  std::map<int, Row> rows;
  std::ifstream page{GWCONF_PROTOCOL_PAGE};
  std::string line;
  while (std::getline(page, line) && !line.starts_with("| number | command |")) {
  }
  std::getline(page, line);  // the rule below the head
  while (std::getline(page, line) && line.starts_with("| ")) {
    const std::vector<std::string> cells = cells_of(line.substr(1), '|');
    for (const std::string& number : cells_of(cells[0], ','))
      rows[std::stoi(number)] = {.arguments = cells[2], .answer = cells[3]};
  }
  return rows;
}

TEST(Commands, AreThoseOfTheProtocolPage) {
  const std::map<int, Row> rows = rows_of_page();
  EXPECT_EQ(rows.size(), kCommandShapes.size());
  for (const CommandShape& shape : kCommandShapes) {
    const auto row = rows.find(shape.number);
    ASSERT_NE(row, rows.end()) << shape.number;
    std::string arguments;
    for (const char* argument : shape.arguments)
      if (argument) arguments += (arguments.empty() ? "" : "; ") + std::string{argument};
    EXPECT_EQ(row->second.arguments, arguments) << shape.number;
    EXPECT_EQ(row->second.answer.empty(), shape.answer == Answer::kNothing) << shape.number;
    EXPECT_EQ(row->second.answer.find("then an empty one") != std::string::npos,
              shape.answer == Answer::kUntilEmpty)
        << shape.number;
  }
}

TEST(Commands, HaveAShape) {
  EXPECT_EQ(shape_of(kGetValue)->number, kGetValue);
  EXPECT_EQ(shape_of(kRegisterListener)->answer, Answer::kNothing);
  for (const int number : {-1, 28, kCommandCount})
    EXPECT_EQ(shape_of(number), nullptr) << number;
}

}  // namespace
}  // namespace gwconf
