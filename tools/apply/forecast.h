#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tools/apply/batch_file.h"
#include "tools/base/session.h"

namespace gwconf::tool {

/// The tree as it will be while a batch runs: what it has now, and what the lines before made of
/// it.
class Forecast {
 public:
  explicit Forecast(const Session& session) : session_{session} {}

  /// Checks a line, chooses the number that it leaves open, and takes it as done. Throws Failure
  /// when the line cannot be done (kFindings), or when a request fails.
  void check(BatchLine* line);

 private:
  [[nodiscard]] std::string model_of(const std::string& path) const;
  [[nodiscard]] std::vector<unsigned>& numbers_of(const BatchLine& line, const std::string& table);
  void check_not_removed(const BatchLine& line, const std::string& path) const;
  void check_template(const BatchLine& line, const std::string& table);
  void check_set(const BatchLine& line) const;
  void check_add(BatchLine* line);
  void check_delete(const BatchLine& line);

  const Session& session_;
  std::set<std::string> added_;
  std::set<std::string> removed_;
  std::map<std::string, std::vector<unsigned>> numbers_;
};

}  // namespace gwconf::tool
