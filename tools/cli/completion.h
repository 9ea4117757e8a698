#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gwconf/client.hpp"
#include "tools/base/exported_tree.h"
#include "tools/cli/command_line.h"

namespace gwconf::tool {

/// Completes lines of the shell: verbs, options, paths of the live tree, and behind PATH= the
/// values of an enumeration or a boolean.
class Completion {
 public:
  explicit Completion(const Client& client) : client_{client}, verbs_{verb_names()} {}

  /// All that the last word of a line (which ends at the cursor) may become, as it is written.
  [[nodiscard]] std::vector<std::string> candidates(std::string_view line);

  /// The tree may have changed.
  void forget() { tree_.reset(); }

 private:
  [[nodiscard]] std::vector<std::string> paths(std::string_view word, bool with_value);
  [[nodiscard]] std::vector<std::string> values(const std::string& path) const;

  const Client& client_;
  std::vector<VerbNames> verbs_;
  std::optional<ExportedTree> tree_;
};

}  // namespace gwconf::tool
