#pragma once

#include <string>

#include "tools/base/output.h"
#include "tools/offline/checked_file.h"
#include "tools/offline/text.h"

namespace gwconf::tool {

/// Prints findings one a line; on a terminal with the line of the file and a mark below the place.
class FindingPrinter {
 public:
  /// All of them must outlive the printer.
  FindingPrinter(const Output& output, const CheckedFile& checked, const std::string& file)
      : output_{output}, checked_{checked}, file_{harmless(file)}, lines_{checked.text()} {}

  void print(const Finding& finding) const;

 private:
  void excerpt(const Finding& finding, Screen::Colour colour) const;

  const Output& output_;
  const CheckedFile& checked_;
  std::string file_;
  Lines lines_;
};

}  // namespace gwconf::tool
