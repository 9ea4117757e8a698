#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/owned_text.h"
#include "core/segment.h"
#include "protocol/attributes.h"
#include "protocol/status.h"
#include "protocol/value_types.h"

namespace gwconf {

struct GetterRow;
struct Parameter;

/// An object or a table instance. It owns its texts, its parameters, its children and, through
/// `next`, its later siblings.
struct Node {
  OwnedText name;   ///< own path segment with its dot
  OwnedText sname;  ///< short name, or none
  std::uint16_t attributes = 0;
  Node* parent = nullptr;
  Node* next = nullptr;
  Node* children = nullptr;
  Parameter* params = nullptr;
};

/// A leaf value. It owns its texts and, through `next`, the later parameters of its object.
struct Parameter {
  OwnedText name;
  OwnedText value;
  ValueType type = kUnknownType;
  std::uint16_t attributes = 0;
  std::int32_t min = 0;
  std::int32_t max = 0;
  OwnedText enumeration;
  OwnedText sname;
  const GetterRow* getter = nullptr;  ///< the row that computes the value live, or none
  Node* parent = nullptr;
  Parameter* next = nullptr;
};

/// The live tree, or none.
extern Node* cml_root;

/// Bit `bit` of `word`, 0 or 1; bits that the word does not have read 0.
[[nodiscard]] unsigned CM_UTL_GetAttrBoolean(std::uint16_t word, unsigned bit);

/// `word` with bit `bit` set when `value` is exactly 1 and cleared otherwise; a bit above 15
/// changes nothing.
[[nodiscard]] std::uint16_t CM_UTL_SetAttrBoolean(std::uint16_t word, unsigned bit, unsigned value);

template <typename Record>
[[nodiscard]] bool has(const Record& record, AttributeBit bit) {
  return CM_UTL_GetAttrBoolean(record.attributes, bit) != 0;
}

template <typename Record>
void set(Record& record, AttributeBit bit, bool value = true) {
  record.attributes = CM_UTL_SetAttrBoolean(record.attributes, bit, value ? 1 : 0);
}

/// The instance number of an object's name.
[[nodiscard]] inline std::int32_t number_of(const Node& node) {
  return CM_UTL_GetInstanceNumber(node.name.view());
}

/// Clears all fields of a record, which may be uninitialised memory: what they held is not freed.
/// Always CM_OK.
Status CM_UTL_InitNode(Node* node);
/// Clears name and value, type unknown, no attributes, no limits, no enumeration; what the texts
/// held is not freed, the rest stays. Always CM_OK.
Status CM_UTL_InitTR98(Parameter* param);
/// Clears all fields of a record, which may be uninitialised memory. Always CM_OK.
Status CM_UTL_InitPara(Parameter* param);

/// `existing` as it is when it is not none, whatever its size; otherwise an uninitialised block of
/// `size` bytes of the caller's, or none when there is no memory.
[[nodiscard]] void* CM_UTL_malloc(void* existing, std::size_t size);
/// Frees what CM_UTL_malloc or CM_UTL_strcpy returned. None is allowed.
void CM_UTL_mfree(void* ptr);
/// Frees `old`, which may be none, and returns a new copy of `src`, the caller's; none when `src`
/// is none or there is no memory. `src` may lie in `old`.
[[nodiscard]] char* CM_UTL_strcpy(char* old, const char* src);

/// Frees a parameter and all parameters behind it. None is allowed. Always CM_OK.
Status CM_UTL_FreePara(Parameter* param);
/// Frees a node with its parameters, its children and its later siblings. The parent's link to it
/// is not touched. None is allowed. Always CM_OK.
Status CM_UTL_FreeNode(Node* node);

/// Unlinks `node`, which has a parent, from the parent's children and clears its `next`.
/// CM_INVALID, and nothing changed, when the parent does not list it.
Status CM_UTL_RebuildStructureBeforeNodeRemove(Node* node);

/// Unlinks and frees one instance subtree. None, a node without name, a template and an object that
/// is no instance are left alone with CM_OK; so is, with CM_INVALID, an instance that its parent
/// does not list. `keep` has no effect.
Status CM_UTL_FreeNode_KeepInstance(Node* node, int keep);

struct FreeNode {
  void operator()(Node* node) const { ignore(CM_UTL_FreeNode(node)); }
};
struct FreePara {
  void operator()(Parameter* param) const { ignore(CM_UTL_FreePara(param)); }
};
using NodePtr = std::unique_ptr<Node, FreeNode>;
using ParameterPtr = std::unique_ptr<Parameter, FreePara>;

/// Whether the trees in memory may grow by a record, or by `text` bytes. They are bounded together,
/// so that no series of requests exhausts the device: by kRecordsMax objects and parameters, and
/// kTextBytesMax of text. Loading a file is not asked; files have a bound of their own.
[[nodiscard]] bool tree_has_room(std::size_t text = 0);
inline constexpr std::size_t kRecordsMax = 524'288;
inline constexpr std::size_t kTextBytesMax = std::size_t{16} << 20;

/// A cleared record of the caller's, or none when there is no memory.
[[nodiscard]] NodePtr new_node();
[[nodiscard]] ParameterPtr new_parameter();

}  // namespace gwconf
