#include "xml/dom_loader.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <strings.h>

#include "core/path.h"
#include "core/row_index.h"
#include "xml/attribute_word.h"
#include "xml/dom.h"
#include "xml/reader.h"
#include "xml/value_type.h"
#include "xml/vocabulary.h"

namespace gwconf {
namespace {

/// Copies an attribute, or none when it is missing.
Status take_text(IXML_NamedNodeMap* attributes, const char* name, OwnedText* text) {
  *text = OwnedText::adopt(CM_XML2RAM_GetAttr(text->release(), attributes, name));
  return *text || !attribute_value(attributes, name) ? CM_OK : CM_NO_MEMORY;
}

/// What objects and parameters have in common.
template <typename Record>
Status take_head(IXML_NamedNodeMap* attributes, Record* record) {
  if (const Status status = take_text(attributes, kAttrName, &record->name)) return status;
  for (const char* name : {kAttrWritable, kAttrNotification})
    if (const char* value = attribute_value(attributes, name))
      apply_access_attribute(name, value, &record->attributes);
  const char* disabled = attribute_value(attributes, kAttrDisabled);
  if (disabled && is_true(disabled)) set(*record, kDisabled);
  return CM_OK;
}

template <typename Record>
Record** end_of(Record** link) {
  while (*link)
    link = &(*link)->next;
  return link;
}

/// Characters in the path of `node`, as far as it has one.
std::size_t path_length_of(const Node* node) {
  std::size_t length = 0;
  for (; node; node = node->parent)
    length += node->name.view().size();
  return length;
}

/// Links a new parameter of `node`, whose path has `path_length` characters, at the end of its
/// list.
Status load_parameter(Node* node, IXML_Node* element, std::size_t path_length, Parameter** link) {
  ParameterPtr param = new_parameter();
  if (!param) return CM_NO_MEMORY;
  param->parent = node;
  if (const Status status = CM_XML2RAM_SetPara(param.get(), element)) return status;
  if (path_length + param->name.view().size() >= kPathBufferSize) return CM_INVALID;
  *link = param.release();
  return CM_OK;
}

/// Links a new child object at the end of the list and leaves the length of its path in
/// `path_length`, which held its parent's.
Status begin_object(Node* parent, IXML_Node* element, std::size_t* path_length, Node** link) {
  Node* node = new_node().release();
  if (!node) return CM_NO_MEMORY;
  node->parent = parent;
  *link = node;
  if (const Status status = CM_XML2RAM_SetNode(node, element)) return status;
  // An object without a name counts too, so that no document nests deeper than a path can be long.
  const std::size_t segment = node->name.view().size();
  *path_length += std::max<std::size_t>(segment, 1);
  return segment <= kSegmentMax && *path_length < kPathBufferSize ? CM_OK : CM_INVALID;
}

/// Blanks between elements, as a program may leave them in its document.
bool is_layout(const IXML_Node& item) {
  if (item.nodeType != eTEXT_NODE) return false;
  const std::string_view text = item.nodeValue ? item.nodeValue : "";
  return skip_white_space(text) == text.size();
}

/// The object that the children of an element are loaded into. The loader goes down and up in a
/// loop: a document may nest as deep as a path can be long.
struct Cursor {
  Node* node;
  IXML_Node* element;
  std::size_t path_length;
  Node** next_child;
  Parameter** next_param;

  Cursor(Node* object, IXML_Node* of, std::size_t length)
      : node{object},
        element{of},
        path_length{length},
        next_child{end_of(&object->children)},
        next_param{end_of(&object->params)} {}

  /// The cursor of the object around this one, behind it.
  [[nodiscard]] Cursor around() const {
    const std::size_t segment = std::max<std::size_t>(node->name.view().size(), 1);
    Cursor outer{node->parent, element->parentNode, path_length - segment};
    outer.next_child = &node->next;
    return outer;
  }
};

/// Loads one child of the cursor's element. For an object the cursor then stands on it.
Status load_item(Cursor* cursor, IXML_Node* item) {
  if (is_layout(*item)) return CM_OK;
  if (CM_XML2RAM_IsNode(item) != CM_OK) {
    const Status status =
        load_parameter(cursor->node, item, cursor->path_length, cursor->next_param);
    if (status == CM_OK) cursor->next_param = &(*cursor->next_param)->next;
    return status;
  }
  std::size_t path_length = cursor->path_length;
  const Status status = begin_object(cursor->node, item, &path_length, cursor->next_child);
  if (status == CM_OK) *cursor = Cursor{*cursor->next_child, item, path_length};
  return status;
}

Status load_children(Node* node, IXML_Node* element) {
  drop_row_index(node);
  Cursor cursor{node, element, path_length_of(node)};
  IXML_Node* item = ixmlNode_getFirstChild(element);
  for (;;) {
    while (!item) {
      if (cursor.element == element) return CM_OK;
      item = ixmlNode_getNextSibling(cursor.element);
      cursor = cursor.around();
    }
    if (const Status status = load_item(&cursor, item)) return status;
    item = cursor.element == item ? ixmlNode_getFirstChild(item) : ixmlNode_getNextSibling(item);
  }
}

}  // namespace

Status CM_XML2RAM_IsNode(IXML_Node* element) {
  if (!ixmlNode_hasAttributes(element)) return CM_UNUSABLE;
  const char* type = CM_UTL_IXML_GetAttr(element, kAttrType);
  return type && strncasecmp(type, kTypeObject, sizeof kTypeObject - 1) == 0 ? CM_OK : CM_INVALID;
}

Status CM_XML2RAM_SetNode(Node* node, IXML_Node* element) {
  if (!node || !ixmlNode_hasAttributes(element)) return CM_UNUSABLE;
  const DomAttributesPtr attributes = attributes_of(element);
  if (!attributes) return CM_NO_MEMORY;
  if (const Status status = take_head(attributes.get(), node)) return status;
  return take_text(attributes.get(), kAttrShortName, &node->sname);
}

Status CM_XML2RAM_SetPara(Parameter* param, IXML_Node* element) {
  if (!param || !ixmlNode_hasAttributes(element)) return CM_UNUSABLE;
  const DomAttributesPtr attributes = attributes_of(element);
  if (!attributes) return CM_NO_MEMORY;
  if (const Status status = take_head(attributes.get(), param)) return status;
  if (const char* type = attribute_value(attributes.get(), kAttrType))
    parse_value_type(type, TypeMatch::kDom, param);
  if (const Status status = take_text(attributes.get(), kAttrEnumeration, &param->enumeration))
    return status;
  if (param->type == kString && *param->enumeration.c_str()) param->type = kEnumeration;
  return take_text(attributes.get(), kAttrValue, &param->value);
}

Status CM_XML2RAM_Default(Node* node, IXML_Node* element) {
  if (!node || !element) return CM_UNUSABLE;
  return load_children(node, element);
}

}  // namespace gwconf
