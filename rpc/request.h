#pragma once

#include <cstdint>
#include <string_view>

#include "core/tree.h"
#include "rpc/framing.h"

namespace gwconf {

// What the command handlers share. A handler gets the connection and the request buffer of
// kMessageMax bytes, reads its arguments into the buffer one by one, answers, and returns the
// result that ends the connection.

/// Reads the next argument into `buf`. False when it is unreadable; the handler then returns
/// CM_UNREADABLE.
[[nodiscard]] bool read_argument(int fd, char* buf);

/// Reads a path and finds the object, or the parameter, in the live tree: CM_OK with the record,
/// still the tree's, in `out`; CM_UNREADABLE; or the lookup's code. The path stays in `buf`.
Status CM_RPC_RPOCESS_GetObjNode(int fd, char* buf, Node** out);
Status CM_RPC_RPOCESS_GetParameter(int fd, char* buf, Parameter** out);

/// An object, or a parameter with the object around it.
struct Target {
  Node* node = nullptr;
  Parameter* param = nullptr;

  [[nodiscard]] std::uint16_t* attributes() const {
    return param ? &param->attributes : &node->attributes;
  }
};

/// Finds the object or the parameter that `path` names, by its kind. The lookup's code.
Status find_target(std::string_view path, Target* out);

/// Sends one answer. A client that has gone away is no failure of the request.
void answer(int fd, const char* text);
void answer_number(int fd, std::int32_t number);

/// Answers the empty text, which stands for a missing answer, and returns `result`.
Status answer_nothing(int fd, Status result);

}  // namespace gwconf
