#pragma once

#include <string>
#include <vector>

#include "tools/apply/step.h"
#include "tools/base/output.h"

namespace gwconf::tool {

/// A change that a batch file asks for.
struct BatchLine {
  std::string place;  ///< "FILE:LINE"
  Step step;
  bool chooses_number = false;  ///< `step.path` is the table, until a number is chosen
};

/// The changes of a file, "-" for standard input. Reports every line that is none. Throws Failure
/// (kWrongUse) when there is such a line, or when the file cannot be read.
[[nodiscard]] std::vector<BatchLine> read_batch(const Output& output, const std::string& file);

}  // namespace gwconf::tool
