#pragma once

#include <cstdint>

#include "protocol/status.h"

namespace gwconf {

/// Priority of the log lines that tell of added and deleted instances.
extern std::int32_t cm_log_priority;

// Commands on the instances of tables. The codes of the tree's operations (core/instance.h) pass
// through, and so does the state they leave; a change that succeeds is told to the system log where
// the command says so. An instance number is decimal text of at most 5 characters: a longer message
// is read off and refused with CM_INVALID.

/// Table path, number. Adds a real, or a virtual, instance. Logged, where the log takes it at once.
Status CM_RPC_RPOCESS_AddInstance(int fd, char* buf);
Status CM_RPC_RPOCESS_AddVirtualInstance(int fd, char* buf);
/// Table path, number. Inserts a real, or a virtual, instance. Not logged.
Status CM_RPC_RPOCESS_InsertInstance(int fd, char* buf);
Status CM_RPC_RPOCESS_InsertVirtualInstance(int fd, char* buf);
/// Table path, number. Deletes an instance. Logged likewise.
Status CM_RPC_RPOCESS_DelInstance(int fd, char* buf);
/// Object path. Deletes the object with all below it. Logged likewise.
Status CM_RPC_RPOCESS_DelNode(int fd, char* buf);
/// Path. Answers "1" when it lies in a virtual instance, else "0"; never fails.
Status CM_RPC_RPOCESS_VirtualInstanceCheck(int fd, char* buf);
/// Table path. Answers the instance numbers, each with a comma; the empty text on failure.
Status CM_RPC_RPOCESS_GetInstanceList(int fd, char* buf);
/// First number, count, table path. Renumbers instances consecutively. Not logged.
Status CM_RPC_RPOCESS_InstanceReArrange(int fd, char* buf);
/// Object path of the new parent, path of what moves (of a parameter: the object around it). The
/// second is read also when the first names nothing. CM_REFUSED, and nothing moved, when what moves
/// is disabled. Not logged.
Status CM_RPC_RPOCESS_NodeMove(int fd, char* buf);

}  // namespace gwconf
