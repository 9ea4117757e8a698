#pragma once

// The commands of the request protocol: what each is called by, takes and answers.

#include <array>
#include <cstddef>
#include <cstdint>

namespace gwconf {

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

/// The messages that a command answers before its result.
enum class Answer {
  kNothing,
  kOne,
  kUntilEmpty,  ///< up to an empty one
};

/// What a command takes, by the words of the protocol's page; null behind the last argument.
struct CommandShape {
  Command number;
  std::array<const char*, 3> arguments;
  Answer answer;
};

inline constexpr std::array kCommandShapes = {
    CommandShape{kSetValue, {"parameter path", "value"}, Answer::kNothing},
    CommandShape{kSetAttribute, {"path", "`bit,value`"}, Answer::kNothing},
    CommandShape{kGetValue, {"parameter path"}, Answer::kOne},
    CommandShape{kGetName, {"parameter path"}, Answer::kOne},
    CommandShape{kGetAttributes, {"path"}, Answer::kOne},
    CommandShape{kGetType, {"parameter path"}, Answer::kOne},
    CommandShape{kGetMax, {"parameter path"}, Answer::kOne},
    CommandShape{kGetMin, {"parameter path"}, Answer::kOne},
    CommandShape{kGetPath, {"parameter path"}, Answer::kOne},
    CommandShape{kGetEnumeration, {"parameter path"}, Answer::kOne},
    CommandShape{kAddInstance, {"table path", "number"}, Answer::kNothing},
    CommandShape{kAddVirtualInstance, {"table path", "number"}, Answer::kNothing},
    CommandShape{kDeleteInstance, {"table path", "number"}, Answer::kNothing},
    CommandShape{kDeleteNode, {"object path"}, Answer::kNothing},
    CommandShape{kInsertInstance, {"table path", "number"}, Answer::kNothing},
    CommandShape{kInsertVirtualInstance, {"table path", "number"}, Answer::kNothing},
    CommandShape{kCheckVirtual, {"path"}, Answer::kOne},
    CommandShape{kListInstances, {"table path"}, Answer::kOne},
    CommandShape{kRearrange, {"first number", "count", "table path"}, Answer::kNothing},
    CommandShape{kCommit, {}, Answer::kNothing},
    CommandShape{kReset, {}, Answer::kNothing},
    CommandShape{kMove, {"new parent's object path", "path of what moves"}, Answer::kNothing},
    CommandShape{kDumpShortNames, {}, Answer::kUntilEmpty},
    CommandShape{kSetValueAgain, {"parameter path", "value"}, Answer::kNothing},
    CommandShape{kSetAttributeAgain, {"path", "`bit,value`"}, Answer::kNothing},
    CommandShape{kGetValueAgain, {"parameter path"}, Answer::kOne},
    CommandShape{kGetNameAgain, {"parameter path"}, Answer::kOne},
    CommandShape{kGetAttributesAgain, {"path"}, Answer::kOne},
    CommandShape{kSaveFile, {"file path"}, Answer::kNothing},
    CommandShape{kRestoreFile, {"file path"}, Answer::kNothing},
    CommandShape{kExportNode, {"object path"}, Answer::kOne},
    CommandShape{kExportParameter, {"parameter path"}, Answer::kOne},
    CommandShape{kRegisterListener, {"process id", "signal number", "file path"}, Answer::kNothing},
};

/// The shape of a command; null for a number that is none.
[[nodiscard]] constexpr const CommandShape* shape_of(std::int32_t command) {
  for (const CommandShape& shape : kCommandShapes)
    if (shape.number == command) return &shape;
  return nullptr;
}

static_assert(kCommandShapes.size() == kCommandCount - 1, "every number but 28 is a command");
static_assert(
    [] {
      for (std::size_t i = 1; i < kCommandShapes.size(); ++i)
        if (kCommandShapes[i].number <= kCommandShapes[i - 1].number) return false;
      return kCommandShapes.back().number == kCommandCount - 1;
    }(),
    "one row a command, in their order");

}  // namespace gwconf
