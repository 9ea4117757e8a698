#pragma once

#include <cstdint>
#include <cstdio>

#include "core/tree.h"

namespace gwconf {

// The export of a part of the live tree in the element dialect, written to a stream. Values are
// written as they are stored, which is escaped. Instances stand one tab further in than anything
// else in their table, so that its rows stand out. A write that fails shows in the stream's error
// flag.

/// `n` tabs; none when that is 0 or less.
void CM_RPC_CML2XML_TAB(std::FILE* file, std::int32_t n);
/// One attribute with a blank before it; nothing without a name, an empty value without one.
void CM_RPC_CML2XML_ATTR(std::FILE* file, const char* name, const char* value);
/// The opening line of an object, and the closing line of any element, at `depth`.
void CM_RPC_CML2XML_NODE(std::FILE* file, const Node* node, std::int32_t depth);
void CM_RPC_CML2XML_NODE_END(std::FILE* file, const char* tag, std::int32_t depth);
/// The line of a parameter; at depth 0 a document of its own.
void CM_RPC_CML2XML_PARAMETER(std::FILE* file, const Parameter* param, std::int32_t depth);
/// The subtree of `node`, at depth 0 as a document. CM_UNUSABLE without a node.
Status CM_RPC_CML2XML(const Node* node, std::FILE* file, std::int32_t depth);

/// Object path. Answers the XML text of the object with all below it. CM_NO_MEMORY, and no path
/// read, without a temporary file; the lookup's code; CM_INVALID for a disabled object and for a
/// text that cannot be written or read back. Every failure, an unreadable path too, answers the
/// empty text first.
Status CM_RPC_RPOCESS_TR069_GetNodeXML(int fd, char* buf);
/// Parameter path. The same for one parameter, whose own disabled bit counts.
Status CM_RPC_RPOCESS_TR069_GetParameterXML(int fd, char* buf);

}  // namespace gwconf
