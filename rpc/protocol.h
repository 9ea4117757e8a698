#pragma once

// The numbers of the request protocol: all that a client shares with the daemon.

#include <cstdint>

namespace gwconf {

/// Longest body of a request message, its NUL included.
inline constexpr std::int32_t kMessageMax = 32769;

/// Seconds that the daemon waits for a peer that neither sends nor takes anything.
inline constexpr int kReadSeconds = 5;

/// Seconds that a request may take with all its waits; the daemon then closes the connection.
inline constexpr int kRequestSeconds = 30;

inline constexpr int kCommandCount = 34;

/// Command numbers. 23 to 27 reach the handlers of 0 to 4 a second time; 28 has none.
enum Command : std::int32_t {
  kSetValue = 0,
  kSetAttribute = 1,
  kGetValue = 2,
  kGetName = 3,
  kGetAttributes = 4,
  kGetType = 5,
  kGetMax = 6,
  kGetMin = 7,
  kGetPath = 8,
  kGetEnumeration = 9,
  kAddInstance = 10,
  kAddVirtualInstance = 11,
  kDeleteInstance = 12,
  kDeleteNode = 13,
  kInsertInstance = 14,
  kInsertVirtualInstance = 15,
  kCheckVirtual = 16,
  kListInstances = 17,
  kRearrange = 18,
  kCommit = 19,
  kReset = 20,
  kMove = 21,
  kDumpShortNames = 22,
  kSetValueAgain = 23,
  kSetAttributeAgain = 24,
  kGetValueAgain = 25,
  kGetNameAgain = 26,
  kGetAttributesAgain = 27,
  kSaveFile = 29,
  kRestoreFile = 30,
  kExportNode = 31,
  kExportParameter = 32,
  kRegisterListener = 33,
};

}  // namespace gwconf
