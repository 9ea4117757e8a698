#pragma once

#include <cstdint>
#include <cstdio>
#include <string_view>

#include "core/tree.h"
#include "xml/vocabulary.h"

namespace gwconf {

// The line writer: the user-set part of a tree as text, one element a line. It writes through a
// temporary file at a fixed path, so only one text is built at a time; and through memory where
// that file cannot be had.

/// What an element stands for.
enum class ElementKind { kObject, kParameter };

/// Renders `root` and stores the text as the settings block of the partition `block_path`. CM_OK or
/// CM_CUT_FAILURE, by the rendering alone: a failed flash write is not reported, but to whom asks
/// for it. `stored`, which may be none, becomes the code of CM_UTL_SetMTDBlockSettings, or of the
/// rendering when there was nothing to store.
[[nodiscard]] std::uint8_t CM_RAM2XML(const char* block_path, Node* root, Status* stored = nullptr);

/// Renders the user-set part of `root` into `out`, the caller's, and recomputes the "user-set
/// below" bits on the way. CM_INVALID, and `out` cleared: no tree, an element past its buffer, a
/// text of 2,097,153 bytes or more, or no memory. The temporary file, whose failures are made up
/// for by memory, is gone afterwards; what somebody else laid in its way, and cannot be removed,
/// stays.
Status VT_CM_RAM2XML(OwnedText* out, Node* root, const Dialect& dialect = kDataModelDialect);

/// Tells the system log that the last text could not be built, so that nothing was saved to
/// `target`; and which record had too long an attribute list where that was the reason. To be asked
/// for before the tree changes.
void log_failed_rendering(const char* target);

/// Writes `node` and its later siblings with all below them that is to be saved, by the user-set
/// bits as they stand: 0, or -1 at the first failure.
[[nodiscard]] std::int32_t VT_CM_RAM2XML_Node(const Node* node, std::FILE* file,
                                              const Dialect& dialect = kDataModelDialect);

/// Writes the attribute list of one record, a Node or a Parameter by `kind`: 0, or -1.
[[nodiscard]] std::int32_t VT_CM_RAM2XML_Element(ElementKind kind, const void* record,
                                                 std::FILE* file);

/// Appends one attribute and a space to a buffer with `room` bytes left, NUL included. Returns the
/// characters added; or -1, and the buffer unchanged, when there is no room for name, encoded value
/// and three more, or no memory.
[[nodiscard]] std::int32_t VT_CM_RAM2XML_Attr(char* buffer, std::size_t room, std::string_view name,
                                              const char* value);

/// Writes a text: 0, or -1 when it is not taken whole.
[[nodiscard]] std::int32_t VT_CM_RAM2XML_Write(std::string_view text, std::FILE* file);

}  // namespace gwconf
