#pragma once

#include <string>

#include "tools/offline/facts.h"
#include "tools/offline/outline.h"

namespace gwconf::tool {

/// A file of factory defaults with all that was found in it, in the order of the text.
class CheckedFile {
 public:
  /// Reads and checks the file. With `standard` it also looks for departures from the facts, which
  /// may be null otherwise. Throws Failure (kWrongUse) when it cannot be read.
  CheckedFile(const std::string& file, const Facts* facts, bool standard);
  CheckedFile(const CheckedFile&) = delete;
  CheckedFile& operator=(const CheckedFile&) = delete;

  /// The whole text; empty when the file is too large.
  [[nodiscard]] const std::string& text() const { return text_; }
  /// Whether the daemon's own loader takes it.
  [[nodiscard]] bool loads() const { return loads_; }
  [[nodiscard]] const Findings& findings() const { return findings_; }
  /// The path of what a finding is about; empty when it is about no object or parameter.
  [[nodiscard]] std::string path_of(const Finding& finding) const;

 private:
  void check(std::string_view text, const Facts* facts, bool standard);

  std::string text_;
  bool loads_ = false;
  Scan scan_;
  Outline outline_;
  Findings findings_;
};

}  // namespace gwconf::tool
