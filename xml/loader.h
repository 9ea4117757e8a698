#pragma once

#include <cstdint>
#include <string_view>

#include "core/tree.h"
#include "xml/reader.h"

namespace gwconf {

// The line-based loader. It reads both dialects, also mixed, item by item, and builds the tree as
// it goes. There is one load at a time, since the reader's callbacks are process-wide.

/// Where VT_CM_XML2RAM_Parse reads from.
enum LoadMode : std::int32_t { kLoadBuffer = 0, kLoadFile = 1 };

/// Loads a configuration below `root`, a record of the caller's that is initialised first (what it
/// held is not freed). `source` is a file path; none stands for the saved settings in flash,
/// primary block before backup; the path of the primary partition for that block alone. Returns
/// CM_OK, CM_UNUSABLE when no saved settings could be read, or CM_CUT_FAILURE without `root` or
/// when the text did not load; `root` then holds what was built so far, which the caller frees.
[[nodiscard]] std::uint8_t CM_XML2RAM(Node* root, const char* source);

/// Loads a file, or a text, below `root`, which is initialised. CM_OK or CM_INVALID, `root` as
/// above.
Status VT_CM_XMLFILE2RAM(Node* root, const char* path);
Status VT_CM_XML2RAM(Node* root, std::string_view text);

/// The load behind both: `text_or_path` by `mode`, a path with its NUL behind it. 0, or -1: another
/// mode, a text that is not well-formed, is misnested or does not hold exactly one closed root
/// object, a path past its bound, no memory. `root` as above.
[[nodiscard]] std::int32_t VT_CM_XML2RAM_Parse(Node* root, std::int32_t mode,
                                               std::string_view text_or_path);

/// The reader's callbacks during a load. LineProcess takes one item into the tree: 0, or -1 when it
/// stands where it must not or memory runs out; records linked by then stay.
[[nodiscard]] std::int32_t VT_CM_XML2RAM_LineProcess(xml_node* item);
void VT_CM_XML2RAM_LineError();

}  // namespace gwconf
