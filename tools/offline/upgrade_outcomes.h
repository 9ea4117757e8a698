#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tools/offline/first_start.h"

namespace gwconf::tool {

enum class Fate {
  kKept,      ///< a saved value
  kCreated,   ///< a saved row that the defaults lack
  kOverlaid,  ///< a row that the user added, and whose number is that of a default row now
  kDeleted,   ///< a default row that the user deleted
  kDropped,   ///< a saved value or row without a place
  kInvalid,   ///< a saved value that its new type does not allow
  kHidden,    ///< a saved value in front of which a measurement stands now
  kDefault,   ///< a value that nobody set, and whose default changes
  kGone,      ///< what nobody set and the new defaults lack
  kNew,       ///< what the old defaults lack
};

struct FateRow {
  const char* name;
  bool is_loss;
};

inline constexpr std::array<FateRow, 10> kFates{{{"kept", false},
                                                 {"created", false},
                                                 {"overlaid", false},
                                                 {"deleted", false},
                                                 {"dropped", true},
                                                 {"invalid", true},
                                                 {"hidden", true},
                                                 {"default", false},
                                                 {"gone", false},
                                                 {"new", false}}};

[[nodiscard]] inline const FateRow& row_of(Fate fate) {
  return kFates[static_cast<std::size_t>(fate)];
}

/// What happens to one parameter or object.
struct Outcome {
  Fate fate;
  std::string path;
  std::optional<std::string> before;
  std::optional<std::string> after;
  std::string remark;
};

/// What becomes of everything at the first start over saved settings: of what was saved, of what
/// was deleted and, with `old`, the start of the present firmware, of what nobody set. `old` may be
/// null.
[[nodiscard]] std::vector<Outcome> judge_upgrade(const LoadedTree& saved, FirstStart& next,
                                                 FirstStart* old);

}  // namespace gwconf::tool
