#pragma once

#include <string_view>

#include "tools/offline/facts.h"
#include "tools/offline/outline.h"

namespace gwconf::tool {

/// The rules that look at one object or parameter: its name, its attributes, its type and value.
/// `text` is what was scanned; `facts`, which may be null, excuse what the standard wants.
/// Appends to `findings`.
void check_elements(const Outline& outline, std::string_view text, const Facts* facts,
                    Findings* findings);

}  // namespace gwconf::tool
