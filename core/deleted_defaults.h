#pragma once

#include <cstdint>
#include <string_view>

#include "core/tree.h"

namespace gwconf {

/// Where the tree itself keeps which default instances the user deleted, so that the record is
/// saved with it.
inline constexpr std::string_view kDeletedDefaults =
    "InternetGatewayDevice.X_VT_MiscCfg.DeletedDefaultInstances.";

/// The live tree's table of records; null when it has none.
[[nodiscard]] Node* record_table();

/// The path that a record holds: its first parameter, whatever the name. Empty for anything but a
/// filled record.
[[nodiscard]] std::string_view recorded_path(const Node& record);

/// The number of the first record that matches `path`, or 0. A record matches what it names,
/// everything below that and everything around it.
[[nodiscard]] std::int32_t find_deleted_default(std::string_view path);

/// Records that the default instance at `path` was deleted, unless a record matches it already.
/// Without room for the record the deletion is not remembered, and the instance comes back with the
/// next start.
void record_deleted_default(const char* path);

/// Removes the first record that matches `path`, which exists again. False when there is none.
bool forget_deleted_default(std::string_view path);

/// Deletes every recorded instance from the live tree unless it is user-set, or marked as of the
/// last save to hold something user-set. CM_INVALID when the tree has no record table.
Status CM_CORE_MergeDeletedInstances();

}  // namespace gwconf
