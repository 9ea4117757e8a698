#pragma once

#include <string>
#include <string_view>

#include "tools/base/session.h"
#include "tools/offline/loaded_tree.h"

namespace gwconf::tool {

/// A configuration to compare: that of a live daemon, an XML file, or a settings block.
struct Source {
  LoadedTree tree;
  bool is_live = false;  ///< an export, which leaves out templates
};

/// Loads what `argument` names: "live", "live:SOCKET", or a file of either kind. Throws Failure:
/// kWrongUse when a file cannot be read, kRefused when the daemon's own code does not take it; for
/// a live one what the daemon's answer stands for.
[[nodiscard]] Source load_source(const Session& session, const std::string& argument);

/// The text of a settings block or of an XML file, by what the file begins with. Throws Failure as
/// above.
[[nodiscard]] std::string load_text(const std::string& file);

/// Loads a configuration text. Throws Failure (kRefused) when the daemon does not load it; settings
/// without an object are loaded as an empty tree.
[[nodiscard]] LoadedTree load_tree(const std::string& name, std::string_view text);

/// Why the daemon's loader does not take a text as settings, with its place; empty when it does.
[[nodiscard]] std::string loading_objection(std::string_view text);

}  // namespace gwconf::tool
