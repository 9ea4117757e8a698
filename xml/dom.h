#pragma once

#include <memory>
#include <upnp/ixml.h>

namespace gwconf {

// What the loader, the overlay and the writer of the element dialect share on top of the XML
// library's documents. Elements stay with their document throughout; only lists and maps of them
// are ours to give back.

struct FreeDomList {
  void operator()(IXML_NodeList* list) const { ixmlNodeList_free(list); }
};
struct FreeDomAttributes {
  void operator()(IXML_NamedNodeMap* attributes) const { ixmlNamedNodeMap_free(attributes); }
};
using DomListPtr = std::unique_ptr<IXML_NodeList, FreeDomList>;
using DomAttributesPtr = std::unique_ptr<IXML_NamedNodeMap, FreeDomAttributes>;

/// The children of `node`, of any kind; none when there are none, or no memory for the list.
[[nodiscard]] DomListPtr child_nodes_of(IXML_Node* node);
/// The attributes of `node`; none when there are none, or no memory for the map.
[[nodiscard]] DomAttributesPtr attributes_of(IXML_Node* node);

/// The value of the attribute `name`, still the document's; none when it is missing (or
/// `attributes` is none). An attribute without a value has the empty one.
[[nodiscard]] const char* attribute_value(IXML_NamedNodeMap* attributes, const char* name);

/// Takes over `old`, a text from heap_allocate or none, frees it, and returns a copy of the
/// attribute `name` that the caller owns (heap_release). None when the attribute is missing, or
/// when there is no memory.
[[nodiscard]] char* CM_XML2RAM_GetAttr(char* old, IXML_NamedNodeMap* attributes, const char* name);

/// The value of `node`'s attribute `name`, not copied: the document's, until the attribute changes
/// or goes. None when `node` is none or has no such attribute. Needs no memory.
[[nodiscard]] const char* CM_UTL_IXML_GetAttr(IXML_Node* node, const char* name);

/// The first node of `list` whose attribute `name` has exactly this value, still the document's;
/// none when there is none, or when `list` or `value` is none.
[[nodiscard]] IXML_Node* CM_XML_GetNodeByAttribute(IXML_NodeList* list, const char* name,
                                                   const char* value);

/// Makes an element or an attribute called `name`, a text node that holds `name`, or a document
/// (which needs neither name nor `document`). It belongs to the caller until it is hung into a
/// document. None for any other kind, without a name or a document, or when there is no memory.
[[nodiscard]] IXML_Node* ixml_createNodeEx(IXML_NODE_TYPE kind, const char* name,
                                           IXML_Document* document);

}  // namespace gwconf
