#pragma once

#include <cstddef>
#include <cstdint>
#include <upnp/ixml.h>

#include "core/tree.h"

namespace gwconf {

/// The longest value that the writer hands over, in bytes.
inline constexpr std::size_t kDomValueMax = 32768;

/// Appends to `element` one element for each parameter of `node` and, behind them, one for each
/// child object with all below it, whether user-set or not. `node` itself is not written. The new
/// elements belong to `document`, whose `element` is. A value longer than kDomValueMax is cut
/// there, or before the character that the cut would split.
///
/// 0; CM_UNUSABLE without `node` or `element`; otherwise the XML library's error code, which can be
/// the same number: IXML_INVALID_PARAMETER without `document`, IXML_WRONG_DOCUMENT_ERR when
/// `element` is not of it, IXML_INSUFFICIENT_MEMORY. The write ends at the first failure, and the
/// elements appended by then stay, the last one perhaps without all its attributes.
///
/// Recurses into child objects, so the tree's depth bounds it.
[[nodiscard]] std::int32_t CM_RAM2XML_Do(const Node* node, IXML_Element* element,
                                         IXML_Document* document);

}  // namespace gwconf
