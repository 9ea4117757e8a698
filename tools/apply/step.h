#pragma once

#include <deque>
#include <string>
#include <vector>

#include "gwconf/client.hpp"

namespace gwconf::tool {

/// One change to the tree, forth or back.
struct Step {
  enum class Kind {
    kSet,         ///< `path` gets `value`
    kAttributes,  ///< `path` gets the attribute word
    kAdd,         ///< the instance `path` comes
    kDelete,      ///< the instance `path` goes
  };
  Kind kind = Kind::kSet;
  std::string path;
  std::string value = {};
  unsigned word = 0;
  bool is_virtual = false;
};
/// Undo lists grow at the front.
using Steps = std::deque<Step>;

/// "set PATH", "add PATH" and so on, for messages.
[[nodiscard]] std::string name_of(const Step& step);

/// Sends it. GWCONF_UNCHANGED counts as GWCONF_OK.
[[nodiscard]] int perform(const Client& client, const Step& step);

/// What takes the change back, to be asked for before it is made: the stored value and attribute
/// word of a parameter, or a deleted instance with all that an export shows of it.
Result<Steps> undo_of(const Client& client, const Step& step);

/// Takes changes back. What is as it was already is no failure; goes on behind one, so that as much
/// as possible is restored. Returns what could not be, with the reason.
[[nodiscard]] std::vector<std::string> undo(const Client& client, const Steps& steps);

}  // namespace gwconf::tool
