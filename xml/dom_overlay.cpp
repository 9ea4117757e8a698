#include "xml/dom_overlay.h"

#include "xml/dom.h"
#include "xml/vocabulary.h"

namespace gwconf {

Status CM_XML2RAM_CustomizedSettings(Node* node, IXML_Node* element) {
  if (!node || !element) return CM_UNUSABLE;
  const DomListPtr items = child_nodes_of(element);
  if (!items) return ixmlNode_hasChildNodes(element) ? CM_NO_MEMORY : CM_UNUSABLE;
  for (Node* child = node->children; child; child = child->next) {
    IXML_Node* item = CM_XML_GetNodeByAttribute(items.get(), kAttrName, child->name.get());
    if (!item) continue;
    if (const Status status = CM_XML2RAM_CustomizedSettings(child, item)) return status;
  }
  for (Parameter* param = node->params; param; param = param->next) {
    IXML_Node* item = CM_XML_GetNodeByAttribute(items.get(), kAttrName, param->name.get());
    if (!item) continue;
    const char* value = CM_UTL_IXML_GetAttr(item, kAttrValue);
    if (!value)
      param->value.reset();
    else if (!param->value.assign(value))
      return CM_NO_MEMORY;
  }
  return CM_OK;
}

}  // namespace gwconf
