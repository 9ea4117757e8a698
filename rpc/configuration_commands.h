#pragma once

#include "core/tree.h"

namespace gwconf {

/// The root that a restore builds from the defaults, and the tree of the client's file: none
/// between restores.
extern Node* cml_root_new;
extern Node* cml_root_restore;

// Commands that move whole configurations.

/// No argument. Writes the user-set part of the live tree to both flash partitions. CM_CUT_FAILURE
/// when the text cannot be built; a partition that cannot be written is not reported.
Status CM_RPC_RPOCESS_Commit(int fd, char* buf);
/// No argument. Replaces the live tree by the factory defaults and commits that. CM_INVALID, and no
/// live tree, when there is no memory for a root.
Status CM_RPC_RPOCESS_Reset2Default(int fd, char* buf);
/// File path. Writes the user-set part of the live tree, with a NUL at its end, to a file, which is
/// opened with the client's rights. CM_INVALID when the text cannot be built, or the file not
/// opened or written; a text of 2 MiB or more with its NUL leaves it empty.
Status CM_RPC_RPOCESS_SaveCfg(int fd, char* buf);
/// File path. Replaces the live tree by the factory defaults with a saved file, which is opened
/// with the client's rights, laid over them; flash is left alone. CM_INVALID when the file is
/// missing, too long or does not load, CM_NO_MEMORY: the live tree is unchanged. When the defaults
/// fail after that, their code, and no live tree.
Status CM_RPC_RPOCESS_Restore(int fd, char* buf);

}  // namespace gwconf
