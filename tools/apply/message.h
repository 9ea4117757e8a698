#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tools/apply/step.h"

namespace gwconf::tool {

/// What gwctl tells the guardian of its batch.
struct Message {
  enum class Kind {
    kUndo,     ///< `steps` take the next change back
    kDismiss,  ///< nothing is to be taken back
    kWait,     ///< all changes are made: only their confirmation is missing
  };
  Kind kind = Kind::kUndo;
  Steps steps = {};
};

/// The bytes of a message: fields that end with a null byte, which no path and no value holds. They
/// are the kind, the number of steps, and of each step the kind, the word, whether it is virtual,
/// the path and the value.
[[nodiscard]] std::string encoded(const Message& message);

/// Reads messages from a descriptor that stays the caller's.
class MessageReader {
 public:
  explicit MessageReader(int descriptor) : descriptor_{descriptor} {}

  /// The next message. Nothing at the end, nor for a message that breaks off or is none.
  [[nodiscard]] std::optional<Message> next();

 private:
  [[nodiscard]] std::optional<std::string> field();
  [[nodiscard]] std::optional<unsigned> number();
  [[nodiscard]] std::optional<Step> step();

  int descriptor_;
  std::string read_;  ///< and not yet taken
};

}  // namespace gwconf::tool
