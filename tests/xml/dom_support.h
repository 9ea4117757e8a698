#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <upnp/ixml.h>

#include "core/tree.h"

namespace gwconf::test {

struct FreeDocument {
  void operator()(IXML_Document* document) const { ixmlDocument_free(document); }
};
using DocumentPtr = std::unique_ptr<IXML_Document, FreeDocument>;

/// A parsed document. Throws when the text is none.
[[nodiscard]] DocumentPtr parse_document(const std::string& text);
/// A document with one empty element, VANTREL_CML.
[[nodiscard]] DocumentPtr empty_document();

/// The root element of a document, in both of its types.
[[nodiscard]] IXML_Node* root_of(const DocumentPtr& document);
[[nodiscard]] IXML_Element* root_element_of(const DocumentPtr& document);

/// The document as the library prints it, without the header line.
[[nodiscard]] std::string printed(const DocumentPtr& document);

/// Everything that a tree holds but links, one record a line, objects and parameters in list order:
///
///     X. word 1 sname [x]
///       Mode = [a] type 8 [0:64] word 1 enumeration [a,b]
///
/// The root's own line is left out. No value, no short name, no enumeration: no mention; the same
/// holds for a word of 0.
[[nodiscard]] std::string describe(const Node* root);

/// Makes the library's creation of elements, setting of attributes, and lists of attributes and of
/// children fail for want of memory: the `nth` call from now on (1 is the next), and no other.
class FailingDom {
 public:
  explicit FailingDom(std::size_t nth);
  ~FailingDom();
  FailingDom(const FailingDom&) = delete;
  FailingDom& operator=(const FailingDom&) = delete;

  [[nodiscard]] bool fired() const;
};

/// The stack that a process usually starts with. Sanitizers make every frame several times larger.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr std::size_t kProcessStack = std::size_t{64} << 20;
#elif defined(__has_feature)
inline constexpr std::size_t kProcessStack = std::size_t{__has_feature(address_sanitizer) ? 64 : 8}
                                             << 20;
#else
inline constexpr std::size_t kProcessStack = std::size_t{8} << 20;
#endif

/// Runs `action` on a thread whose stack holds `bytes`.
void on_stack(std::size_t bytes, std::function<void()> action);

}  // namespace gwconf::test
