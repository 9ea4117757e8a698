#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include "tools/base/exit.h"
#include "tools/base/json.h"

namespace gwconf::tool {

/// Ends a verb with one complaint, which may have been reported already. With --json it may bring a
/// document, which is printed behind the complaint; null for none.
class Failure : public std::runtime_error {
 public:
  Failure(Exit exit, const std::string& complaint, bool told = false)
      : std::runtime_error{complaint}, exit_{exit}, told_{told} {}
  Failure(Exit exit, const std::string& complaint, Json document)
      // Braces would put the document into an array.
      : std::runtime_error{complaint}, exit_{exit}, document_(std::move(document)) {}

  [[nodiscard]] Exit exit() const { return exit_; }
  [[nodiscard]] bool told() const { return told_; }
  [[nodiscard]] const Json& document() const { return document_; }

 private:
  Exit exit_;
  bool told_ = false;
  Json document_;
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
