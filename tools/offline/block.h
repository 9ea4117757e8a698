#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/base/session.h"

namespace gwconf::tool {

// Settings blocks in files and partition dumps; what follows a block does not matter. Files that
// cannot be read or written throw Failure (kWrongUse).

/// Prints header, lengths and checks. kFindings when the block is not valid.
[[nodiscard]] Exit block_info(const Session& session, const std::string& file);

/// Tells which of the blocks are valid, and which check the others fail (kFindings).
[[nodiscard]] Exit block_verify(const Session& session, const std::vector<std::string>& files);

/// Writes the text of a block into `output`, or to standard output when that is empty. Throws
/// Failure (kRefused) when the block is not intact.
[[nodiscard]] Exit block_unpack(const Session& session, const std::string& file,
                                const std::string& output);

/// Packs a configuration text into a new block. Throws Failure (kRefused), and writes nothing, for
/// a text that the daemon would not load and for one that is too large.
[[nodiscard]] Exit block_pack(const Session& session, const std::string& file,
                              const std::string& output, std::uint32_t carried);

/// Compares the carried words and the settings of two blocks; kFindings when they differ. Throws
/// Failure (kRefused) for a block that is not valid.
[[nodiscard]] Exit block_diff(const Session& session, const std::string& one,
                              const std::string& other);

}  // namespace gwconf::tool
