#pragma once

#include <stdexcept>
#include <string>

#include "tools/base/exit.h"

namespace gwconf::tool {

/// Ends a verb with one complaint, which may have been told already.
class Failure : public std::runtime_error {
 public:
  Failure(Exit exit, const std::string& complaint, bool told = false)
      : std::runtime_error{complaint}, exit_{exit}, told_{told} {}

  [[nodiscard]] Exit exit() const { return exit_; }
  [[nodiscard]] bool told() const { return told_; }

 private:
  Exit exit_;
  bool told_;
};

/// A file of the command line that cannot be opened, read or written.
[[nodiscard]] inline Failure wrong_file(const std::string& path, const std::string& reason) {
  return {Exit::kWrongUse, path + ": " + reason};
}

/// Content that the daemon's own code does not take.
[[nodiscard]] inline Failure refused(const std::string& path, const std::string& reason) {
  return {Exit::kRefused, path + ": " + reason};
}

}  // namespace gwconf::tool
