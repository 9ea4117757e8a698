#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "core/owned_text.h"

namespace gwconf {

// A streaming reader for both dialects. It cuts a text into markup items and hands each to a
// callback; nesting is the callback's business. No document tree, no entities, no character data.
// The callbacks are process-wide, so there is one parse at a time.
//
// Texts are shorter than 2 GiB (a file and an inflated settings block hold at most 2 MiB), so that
// every offset fits a result. Results below 0 are -1, format, and -2, out of memory. What went
// wrong is told on standard output.

struct xml_attribute {
  OwnedText name;
  OwnedText value;  ///< decoded
};

inline constexpr int kAttributeMax = 20;

/// The kind of an item. BEGIN and END are bits: an empty-element tag is both.
enum XmlItem : std::int32_t {
  kXmlNone = 0,
  kXmlHead = 1,
  kXmlBegin = 2,
  kXmlEnd = 4,
  kXmlEmpty = kXmlBegin | kXmlEnd,
  kXmlComment = 8,
};

/// One markup item. It owns its texts; slots from attr_count on hold none.
struct xml_node {
  std::int32_t type = kXmlNone;
  OwnedText name;  ///< none for a comment
  std::int32_t attr_count = 0;
  xml_attribute attrs[kAttributeMax];  ///< in document order
};

/// Receives each item, which is the reader's and cleared afterwards; an attribute value may be
/// taken over by moving it out. A negative result stops the parse. None: items are only checked.
extern std::int32_t (*xml_line_process)(xml_node* item);
/// Called once when a parse fails. May be none.
extern void (*xml_line_error)();

/// Clears a record and all of its slots.
void init_xml_node(xml_node* item);
/// Frees the name and the attributes of a record and makes it an item of no kind.
void free_xml_node(xml_node* item);
/// Prints a tag or header as markup to standard output, after a line feed; a value that was taken
/// over as the empty text. Comments keep no text, nothing is printed for them.
void dump_xml_node(const xml_node* item);
/// " HEAD", " BEGIN", " END" or " BEGIN|END"; the empty text for any other kind.
[[nodiscard]] const char* xml_item_label(std::int32_t type);

/// The number of blanks, tabs, carriage returns and line feeds at the start of `text`.
[[nodiscard]] std::size_t skip_white_space(std::string_view text);

/// Reads a tag or attribute name, which may have white space before it, into `name`, the caller's.
/// Returns the offset behind it, or a negative result with `name` cleared. Prints nothing.
[[nodiscard]] std::int32_t nameParse(std::string_view text, OwnedText* name);

/// Reads one attribute, name="value", into the caller's texts. Returns the characters used, or a
/// negative result with both texts cleared. Prints nothing when no name stands there, which is how
/// an attribute list ends.
[[nodiscard]] std::int32_t attrParse(std::string_view text, OwnedText* name, OwnedText* value);

/// Reads one item into `item`, whose former content is freed. Returns the characters used, white
/// space before the item included, or a negative result with `item` cleared.
[[nodiscard]] std::int32_t nodeParse(std::string_view text, xml_node* item);

/// Parses a text item by item. 0 (a blank text included), or -1 at the first item that is malformed
/// or that the callback refuses; what the callback did by then stays done.
[[nodiscard]] std::int32_t call_xml_parser(std::string_view text);

/// Parses a file, up to its first NUL. 0, or -1: a failed parse, a file above 2,097,152 bytes, one
/// that cannot be read, no memory. What cannot be opened as a file (a pipe and a folder are none)
/// is told and counts as an empty text.
[[nodiscard]] std::int32_t call_xml_file_parser(const char* path);

}  // namespace gwconf
