#pragma once

#include <optional>
#include <string>
#include <utility>

#include "tools/apply/step.h"
#include "tools/base/session.h"

namespace gwconf::tool {

/// The file that tells that a batch waits for its confirmation: one for each user and socket, in
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

  /// A place that a live guardian left behind for `take`: what `confirm` works with. Nothing when
  /// no batch waits.
  [[nodiscard]] static std::optional<PendingFile> open_waiting(const std::string& socket_path);

 private:
  PendingFile(int descriptor, std::string path) : descriptor_{descriptor}, path_{std::move(path)} {}

  int descriptor_ = -1;
  std::string path_;
};

/// A process of its own that takes a batch back when the one that sends it dies, or when nobody
/// confirms it. It outlives the terminal.
class Guardian {
 public:
  /// Starts it. `pending` is the file of a batch that has to be confirmed within `seconds`.
  /// Throws std::system_error.
  Guardian(const Client& client, const PendingFile* pending, int seconds);
  ~Guardian();
  Guardian(const Guardian&) = delete;
  Guardian& operator=(const Guardian&) = delete;

  /// Hands over what takes the next change back. False when the guardian is gone.
  [[nodiscard]] bool expect(const Steps& undo_steps) const;

  /// The batch is done, or was taken back: the guardian ends.
  void dismiss() const;

  /// The batch is done: the guardian waits for its confirmation.
  void wait_for_confirmation() const;

 private:
  [[nodiscard]] bool tell(const Json& message) const;

  int descriptor_ = -1;
};

/// Keeps the batch that waits for its confirmation. Findings when there is none.
[[nodiscard]] Exit confirm(const Session& session);

}  // namespace gwconf::tool
