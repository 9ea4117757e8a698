#include "xml/dom.h"

#include <cstring>

#include "core/tree.h"

namespace gwconf {
namespace {

/// The library takes names as plain `char*`, and copies them.
char* dom_text(const char* text) {
  return const_cast<char*>(text);
}

const char* value_of(const IXML_Node* attribute) {
  if (!attribute) return nullptr;
  return attribute->nodeValue ? attribute->nodeValue : "";
}

}  // namespace

DomListPtr child_nodes_of(IXML_Node* node) {
  DomListPtr list{ixmlNode_getChildNodes(node)};
  // A childless node has a list too: one entry without a node.
  if (list && !list->nodeItem) list.reset();
  return list;
}

DomAttributesPtr attributes_of(IXML_Node* node) {
  DomAttributesPtr attributes{ixmlNode_getAttributes(node)};
  if (attributes && ixmlNamedNodeMap_getLength(attributes.get()) == 0) attributes.reset();
  return attributes;
}

const char* attribute_value(IXML_NamedNodeMap* attributes, const char* name) {
  return attributes ? value_of(ixmlNamedNodeMap_getNamedItem(attributes, dom_text(name))) : nullptr;
}

char* CM_XML2RAM_GetAttr(char* old, IXML_NamedNodeMap* attributes, const char* name) {
  return CM_UTL_strcpy(old, attribute_value(attributes, name));
}

const char* CM_UTL_IXML_GetAttr(IXML_Node* node, const char* name) {
  // Not through the library's map of attributes, which takes memory at every look.
  const IXML_Node* attribute = node ? node->firstAttr : nullptr;
  while (attribute && std::strcmp(attribute->nodeName, name) != 0)
    attribute = attribute->nextSibling;
  return value_of(attribute);
}

IXML_Node* CM_XML_GetNodeByAttribute(IXML_NodeList* list, const char* name, const char* value) {
  if (!value) return nullptr;
  for (; list && list->nodeItem; list = list->next) {
    const char* found = CM_UTL_IXML_GetAttr(list->nodeItem, name);
    if (found && std::strcmp(found, value) == 0) return list->nodeItem;
  }
  return nullptr;
}

IXML_Node* ixml_createNodeEx(IXML_NODE_TYPE kind, const char* name, IXML_Document* document) {
  if (kind == eDOCUMENT_NODE) {
    IXML_Document* made = nullptr;
    return ixmlDocument_createDocumentEx(&made) == IXML_SUCCESS ? &made->n : nullptr;
  }
  if (!name || !document) return nullptr;
  if (kind == eELEMENT_NODE) {
    IXML_Element* made = nullptr;
    return ixmlDocument_createElementEx(document, dom_text(name), &made) == IXML_SUCCESS ? &made->n
                                                                                         : nullptr;
  }
  if (kind == eATTRIBUTE_NODE) {
    IXML_Attr* made = nullptr;
    return ixmlDocument_createAttributeEx(document, dom_text(name), &made) == IXML_SUCCESS
               ? &made->n
               : nullptr;
  }
  if (kind == eTEXT_NODE) {
    IXML_Node* made = nullptr;
    return ixmlDocument_createTextNodeEx(document, dom_text(name), &made) == IXML_SUCCESS ? made
                                                                                          : nullptr;
  }
  return nullptr;
}

}  // namespace gwconf
