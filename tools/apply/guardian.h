#pragma once

#include "gwconf/client.hpp"
#include "tools/apply/message.h"
#include "tools/apply/pending_file.h"

namespace gwconf::tool {

/// A process of its own that takes a batch back when the one that sends it dies, or when nobody
/// confirms it. It outlives the terminal.
class Guardian {
 public:
  /// Starts it. `pending` is the file of a batch that has to be confirmed within `seconds`; null
  /// for one that needs no confirmation. Throws Failure (kRefused) with the system's reason.
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
  [[nodiscard]] bool tell(const Message& message) const;

  int descriptor_ = -1;
};

}  // namespace gwconf::tool
