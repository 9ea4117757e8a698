#include "rpc/commands.h"

#include <algorithm>

#include "rpc/attribute_commands.h"
#include "rpc/configuration_commands.h"
#include "rpc/export.h"
#include "rpc/instance_commands.h"
#include "rpc/value_commands.h"

namespace gwconf {

std::array<Handler, kCommandCount> CM_RPC_PROCESS_FUNCTABLE;

namespace {

struct CommandRow {
  Command number;
  Handler handler;
};

constexpr std::array kCommands = {
    CommandRow{kSetValue, CM_RPC_RPOCESS_SetParameterValues},
    CommandRow{kSetAttribute, CM_RPC_RPOCESS_SetParameterAttributes},
    CommandRow{kGetValue, CM_RPC_RPOCESS_GetParameterValues},
    CommandRow{kGetName, CM_RPC_RPOCESS_GetParameterNames},
    CommandRow{kGetAttributes, CM_RPC_RPOCESS_GetParameterAttributes},
    CommandRow{kGetType, CM_RPC_RPOCESS_GetParameterDataType},
    CommandRow{kGetMax, CM_RPC_RPOCESS_GetParameterMaxLen},
    CommandRow{kGetMin, CM_RPC_RPOCESS_GetParameterMinLen},
    CommandRow{kGetPath, CM_RPC_RPOCESS_GetParameterURI},
    CommandRow{kGetEnumeration, CM_RPC_RPOCESS_GetParameterEnumeration},
    CommandRow{kAddInstance, CM_RPC_RPOCESS_AddInstance},
    CommandRow{kAddVirtualInstance, CM_RPC_RPOCESS_AddVirtualInstance},
    CommandRow{kDeleteInstance, CM_RPC_RPOCESS_DelInstance},
    CommandRow{kDeleteNode, CM_RPC_RPOCESS_DelNode},
    CommandRow{kInsertInstance, CM_RPC_RPOCESS_InsertInstance},
    CommandRow{kInsertVirtualInstance, CM_RPC_RPOCESS_InsertVirtualInstance},
    CommandRow{kCheckVirtual, CM_RPC_RPOCESS_VirtualInstanceCheck},
    CommandRow{kListInstances, CM_RPC_RPOCESS_GetInstanceList},
    CommandRow{kRearrange, CM_RPC_RPOCESS_InstanceReArrange},
    CommandRow{kCommit, CM_RPC_RPOCESS_Commit},
    CommandRow{kReset, CM_RPC_RPOCESS_Reset2Default},
    CommandRow{kMove, CM_RPC_RPOCESS_NodeMove},
    CommandRow{kDumpShortNames, CM_RPC_RPOCESS_SNameDump},
    CommandRow{kSetValueAgain, CM_RPC_RPOCESS_SetParameterValues},
    CommandRow{kSetAttributeAgain, CM_RPC_RPOCESS_SetParameterAttributes},
    CommandRow{kGetValueAgain, CM_RPC_RPOCESS_GetParameterValues},
    CommandRow{kGetNameAgain, CM_RPC_RPOCESS_GetParameterNames},
    CommandRow{kGetAttributesAgain, CM_RPC_RPOCESS_GetParameterAttributes},
    CommandRow{kSaveFile, CM_RPC_RPOCESS_SaveCfg},
    CommandRow{kRestoreFile, CM_RPC_RPOCESS_Restore},
    CommandRow{kExportNode, CM_RPC_RPOCESS_TR069_GetNodeXML},
    CommandRow{kExportParameter, CM_RPC_RPOCESS_TR069_GetParameterXML},
    CommandRow{kRegisterListener, CM_RPC_RPOCESS_TR069_Notification_Registration},
};

static_assert(kCommands.size() == kCommandShapes.size());
static_assert(std::equal(kCommands.begin(), kCommands.end(), kCommandShapes.begin(),
                         [](const CommandRow& row, const CommandShape& shape) {
                           return row.number == shape.number;
                         }));

}  // namespace

void fill_command_table() {
  CM_RPC_PROCESS_FUNCTABLE = {};
  for (const CommandRow& row : kCommands)
    CM_RPC_PROCESS_FUNCTABLE[static_cast<std::size_t>(row.number)] = row.handler;
}

}  // namespace gwconf
