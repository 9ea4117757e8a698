#pragma once

#include <upnp/ixml.h>

#include "core/tree.h"

namespace gwconf {

/// Copies values from the children of `element`, of the element dialect, onto `node` and all below
/// it. What a record takes is the "value" of the first child element of its name, none when that
/// has no such attribute; nothing else of a record changes, its user-set bit included. A record
/// without an element of its name keeps its value, an element without a record is passed over, and
/// nothing is created. Child objects come before the node's own parameters.
///
/// CM_OK; CM_UNUSABLE without `node` or `element`, or when `element` has no children (neither may
/// the element of a child object be empty); CM_NO_MEMORY, and what is at hand keeps its values. The
/// overlay ends at the first failure; values taken by then stay.
///
/// Recurses into the objects that tree and document share, so the tree's depth bounds it.
Status CM_XML2RAM_CustomizedSettings(Node* node, IXML_Node* element);

}  // namespace gwconf
