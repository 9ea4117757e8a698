#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/offline/device_model.h"
#include "tools/offline/profile_statements.h"

namespace gwconf::tool {

/// What one device makes of the standard, read from its profile; models/README.md explains the
/// words. Every operation throws Failure (kRefused) with file and line for a line that cannot be
/// followed.
class Profile {
 public:
  using Verb = ProfileStatements::Verb;

  /// Reads `file`, and does not keep `facts`.
  Profile(const Facts& facts, const std::string& file);

  [[nodiscard]] const std::string& file() const { return file_; }
  [[nodiscard]] const ModelObject& root() const { return *objects_.at(""); }

  /// The numbers of the default rows of a table at a path of the tree, none in a template.
  [[nodiscard]] std::vector<int> rows(const ModelObject& table, std::string_view path);

  /// What the last line of a kind says about the parameter at a path of the tree; null when no line
  /// does.
  [[nodiscard]] const std::string* text(Verb verb, std::string_view path);

  /// Fails for the first line that neither rows() nor text() ever found.
  void require_all_used() const;

 private:
  std::string file_;
  ProfileStatements statements_;
  ModelObjects objects_;
};

}  // namespace gwconf::tool
