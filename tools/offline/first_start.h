#pragma once

#include <string>
#include <string_view>

#include "tools/offline/loaded_tree.h"

namespace gwconf::tool {

/// The first start of a firmware: defaults, saved settings over them, deleted rows out, by the
/// daemon's own start-up.
class FirstStart {
 public:
  /// Loads `defaults`, which is called `name`. Throws Failure (kRefused) when the daemon does not
  /// load them.
  FirstStart(const std::string& name, std::string_view defaults, const LoadedTree& saved);

  /// The defaults as they are, and what runs in the end.
  [[nodiscard]] const Node* pristine() const { return pristine_.root(); }
  [[nodiscard]] const Node* running() const { return running_.root(); }

  /// What a path leads to there; null when it leads nowhere.
  [[nodiscard]] Node* pristine_object(std::string_view path);
  [[nodiscard]] Node* running_object(std::string_view path);
  [[nodiscard]] Parameter* running_parameter(std::string_view path);

 private:
  LoadedTree pristine_;
  LoadedTree running_;
};

}  // namespace gwconf::tool
