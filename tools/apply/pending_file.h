#pragma once

#include <optional>
#include <string>
#include <utility>

#include "tools/base/json.h"

namespace gwconf::tool {

/// The file that says that a batch waits for its confirmation: one for each user and socket, in
/// TMPDIR or /tmp, which outlast a login, readable by its user only. A guardian that lives holds a
/// lock on it.
class PendingFile {
 public:
  ~PendingFile();
  PendingFile(PendingFile&& other) noexcept;
  PendingFile& operator=(PendingFile&& other) noexcept;

  /// Nothing when there is one already, or it cannot be made; errno is EEXIST or the reason.
  [[nodiscard]] static std::optional<PendingFile> create(const std::string& socket_path);

  void write(const Json& content) const;

  /// Decides over the batch and removes the file, once: false when somebody else has decided. A
  /// file that merely vanishes is no decision.
  [[nodiscard]] bool take() const;
  [[nodiscard]] bool is_taken() const;

  /// The file that a live guardian has made, for `confirm` to take. Nothing when no batch waits.
  [[nodiscard]] static std::optional<PendingFile> open_waiting(const std::string& socket_path);

 private:
  PendingFile(int descriptor, std::string path) : descriptor_{descriptor}, path_{std::move(path)} {}

  int descriptor_ = -1;
  std::string path_;
};

}  // namespace gwconf::tool
