#include "xml/dom_writer.h"

#include <string_view>

#include "core/walk.h"
#include "platform/getters.h"
#include "xml/attribute_word.h"
#include "xml/dom.h"
#include "xml/value_type.h"
#include "xml/vocabulary.h"

namespace gwconf {
namespace {

/// Sets the attributes of one element up to the first failure.
class ElementAttributes {
 public:
  explicit ElementAttributes(IXML_Element* element) : element_{element} {}

  void add(const char* name, const char* value) {
    if (error_ != IXML_SUCCESS) return;
    // The library takes its texts as plain `char*`, and copies them.
    error_ = ixmlElement_setAttribute(element_, const_cast<char*>(name), const_cast<char*>(value));
  }

  /// What objects and parameters have in common.
  template <typename Record>
  void add_head(const Record& record) {
    add(kAttrName, record.name.c_str());
    if (has(record, kWritable)) add(kAttrWritable, "1");
    if (const char* notification = notification_text(record.attributes))
      add(kAttrNotification, notification);
    if (has(record, kDisabled)) add(kAttrDisabled, "1");
    add(kAttrShortName, record.sname.c_str());
  }

  void add_value(const OwnedText& value) {
    const std::string_view text = value.view();
    if (text.size() <= kDomValueMax) {
      add(kAttrValue, value.c_str());
      return;
    }
    // Half a UTF-8 character would make the document unreadable.
    std::size_t length = kDomValueMax;
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0U) == 0x80U)
      --length;
    OwnedText head;
    if (head.assign({text.data(), length}))
      add(kAttrValue, head.c_str());
    else if (error_ == IXML_SUCCESS)
      error_ = IXML_INSUFFICIENT_MEMORY;
  }

  [[nodiscard]] std::int32_t error() const { return error_; }

 private:
  IXML_Element* element_;
  std::int32_t error_ = IXML_SUCCESS;
};

/// Appends a new element, the document's own, in `out`.
std::int32_t append_element(IXML_Element* parent, IXML_Document* document, IXML_Element** out) {
  *out = nullptr;
  // An element that the parent does not take would be nobody's, so what it can be refused for is
  // asked first. That leaves the append no reason to fail.
  if (!document) return IXML_INVALID_PARAMETER;
  if (parent->n.ownerDocument != document) return IXML_WRONG_DOCUMENT_ERR;
  IXML_Node* made = ixml_createNodeEx(eELEMENT_NODE, kTagElement, document);
  if (!made) return IXML_INSUFFICIENT_MEMORY;
  *out = reinterpret_cast<IXML_Element*>(made);  // a node is the first thing in its element
  return ixmlNode_appendChild(&parent->n, made);
}

std::int32_t write_parameter(const Parameter& param, IXML_Element* parent,
                             IXML_Document* document) {
  IXML_Element* element = nullptr;
  if (const std::int32_t error = append_element(parent, document, &element)) return error;
  char type[kTypeTextSize];
  CM_GetFullDataTypeString(param.type, param.min, param.max, type);
  ElementAttributes attributes{element};
  attributes.add_head(param);
  if (param.getter) attributes.add(kAttrFunction, param.getter->name);
  if (param.enumeration) attributes.add(kAttrEnumeration, param.enumeration.get());
  attributes.add_value(param.value);
  attributes.add(kAttrType, type);
  return attributes.error();
}

/// Writes the element of an object, still empty, in `out`.
std::int32_t begin_object(const Node& node, IXML_Element* parent, IXML_Document* document,
                          IXML_Element** out) {
  if (const std::int32_t error = append_element(parent, document, out)) return error;
  ElementAttributes attributes{*out};
  attributes.add_head(node);
  attributes.add(kAttrType, kTypeObject);
  return attributes.error();
}

}  // namespace

std::int32_t CM_RAM2XML_Do(const Node* node, IXML_Element* element, IXML_Document* document) {
  if (!node || !element) return CM_UNUSABLE;
  std::int32_t error = IXML_SUCCESS;
  const auto enter = [&](const Node& object) {
    if (&object != node) {
      IXML_Element* own = nullptr;
      error = begin_object(object, element, document, &own);
      element = own;
    }
    for (const Parameter* param = object.params; param && error == IXML_SUCCESS;
         param = param->next)
      error = write_parameter(*param, element, document);
    return error == IXML_SUCCESS ? Visit::kEnter : Visit::kStop;
  };
  const auto leave = [&](const Node& object) {
    if (&object != node) element = reinterpret_cast<IXML_Element*>(element->n.parentNode);
    return true;
  };
  return walk_subtree(node, enter, leave) ? IXML_SUCCESS : error;
}

}  // namespace gwconf
