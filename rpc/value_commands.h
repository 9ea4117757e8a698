#pragma once

#include "protocol/status.h"

namespace gwconf {

// Commands on single parameters. Values are kept XML-escaped: what a client sends is escaped before
// it is stored, and what it reads is unescaped. A lookup that fails answers the empty text (except
// to a write) before its code.

/// Path, value. CM_UNCHANGED when the value is stored already; CM_INVALID when its escaped form
/// passes the bound of a value; CM_NO_MEMORY; nothing is changed then. Access, type and limits are
/// the clients' business.
Status CM_RPC_RPOCESS_SetParameterValues(int fd, char* buf);
/// Path. Answers the value: the getter's for a live parameter, the empty text below a disabled
/// object or when there is none.
Status CM_RPC_RPOCESS_GetParameterValues(int fd, char* buf);
/// Path. Answers the last component of the path, as the tree has it.
Status CM_RPC_RPOCESS_GetParameterNames(int fd, char* buf);
/// Path. Answers the full path, built from the tree.
Status CM_RPC_RPOCESS_GetParameterURI(int fd, char* buf);
/// Path. Answers the code of the value type.
Status CM_RPC_RPOCESS_GetParameterDataType(int fd, char* buf);
/// Path. Answers the upper, and the lower, limit.
Status CM_RPC_RPOCESS_GetParameterMaxLen(int fd, char* buf);
Status CM_RPC_RPOCESS_GetParameterMinLen(int fd, char* buf);
/// Path. Answers the list of allowed values, or the empty text.
Status CM_RPC_RPOCESS_GetParameterEnumeration(int fd, char* buf);
/// No argument. Answers the short-name index, a message a line, and the empty text as its end.
Status CM_RPC_RPOCESS_SNameDump(int fd, char* buf);

}  // namespace gwconf
