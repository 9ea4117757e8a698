#pragma once

#include <string>

#include "tools/base/output.h"
#include "tools/offline/block_image.h"

namespace gwconf::tool {

/// "valid", or which check the block fails, and how.
[[nodiscard]] std::string validity_of(const BlockImage& image);

/// Header, lengths and checks of a block.
[[nodiscard]] Json json_of(const BlockImage& image);
void print_block(const Output& output, const BlockImage& image);

}  // namespace gwconf::tool
