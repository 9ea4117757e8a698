#pragma once

#include <upnp/ixml.h>

#include "core/tree.h"

namespace gwconf {

// Builds a tree from a document of the element dialect that the XML library has parsed, for
// programs that hold one. In contrast to the line-based loader it reads "Disabled" and an object's
// "sname", and it does not make every instance a real one. Names of elements do not matter.

/// Loads what is inside `element` (the document's root element, say) below `node`, behind what
/// `node` holds already. A child element is an object when CM_XML2RAM_IsNode says so, else a
/// parameter, in any order; what a parameter's element contains is not looked at. Blanks between
/// elements are passed over, so that the layout of a document does not matter; any other text
/// counts as an element without attributes.
///
/// CM_OK; CM_UNUSABLE without `node` or `element`, or at an element without attributes;
/// CM_NO_MEMORY; CM_INVALID when an object's name passes kSegmentMax or no path could name a
/// record. The load ends at the first failure, and `node` then holds what was built so far: all
/// objects begun, and the parameters before the one that failed.
///
/// Recurses into objects. Every level adds at least one character to the path, so the depth stays
/// below kPathBufferSize.
Status CM_XML2RAM_Default(Node* node, IXML_Node* element);

/// CM_OK when "type" begins with "object", without regard to case: an object. CM_UNUSABLE without
/// attributes, CM_INVALID with no "type" or another one: no object.
Status CM_XML2RAM_IsNode(IXML_Node* element);

/// Sets name, attribute word and short name of a fresh record from an object's element.
/// CM_UNUSABLE, and nothing set, without attributes (or an argument); CM_NO_MEMORY, with a part of
/// them set.
Status CM_XML2RAM_SetNode(Node* node, IXML_Node* element);

/// Sets name, attribute word, type with limits, enumeration and value of a fresh record from a
/// parameter's element. "sname" and "function" are not read, so the parameter has no short name and
/// no getter. An enumeration that is not empty turns a string, and nothing else, into kEnumeration.
/// Codes as above.
Status CM_XML2RAM_SetPara(Parameter* param, IXML_Node* element);

}  // namespace gwconf
