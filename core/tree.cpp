#include "core/tree.h"

#include <new>

#include "core/row_index.h"
#include "core/strays.h"

namespace gwconf {

Node* cml_root = nullptr;

namespace {

constexpr unsigned kWordBits = 16;

std::size_t records = 0;

/// A record that is not cleared yet, or null.
template <typename Record>
Record* allocate_record() {
  auto* record = static_cast<Record*>(CM_UTL_malloc(nullptr, sizeof(Record)));
  if (record) ++records;
  return record;
}

/// Splits the first record off a list and frees it. Lists are freed in a loop: a table of a hundred
/// thousand rows must not need as many stack frames.
template <typename Record>
Record* free_first(Record* record) {
  Record* next = record->next;
  record->~Record();
  heap_release(record);
  if (records > 0) --records;  // the memory of a record may be another program's
  return next;
}

}  // namespace

unsigned CM_UTL_GetAttrBoolean(std::uint16_t word, unsigned bit) {
  return bit < kWordBits ? (word >> bit) & 1U : 0;
}

std::uint16_t CM_UTL_SetAttrBoolean(std::uint16_t word, unsigned bit, unsigned value) {
  if (bit >= kWordBits) return word;
  const unsigned mask = 1U << bit;
  return static_cast<std::uint16_t>(value == 1 ? word | mask : word & ~mask);
}

Status CM_UTL_InitNode(Node* node) {
  new (node) Node{};
  return CM_OK;
}

Status CM_UTL_InitTR98(Parameter* param) {
  new (&param->name) OwnedText{};
  new (&param->value) OwnedText{};
  param->type = kUnknownType;
  param->attributes = 0;
  param->min = 0;
  param->max = 0;
  new (&param->enumeration) OwnedText{};
  return CM_OK;
}

Status CM_UTL_InitPara(Parameter* param) {
  new (param) Parameter{};
  return CM_UTL_InitTR98(param);
}

void* CM_UTL_malloc(void* existing, std::size_t size) {
  return existing ? existing : heap_allocate(size);
}

void CM_UTL_mfree(void* ptr) {
  heap_release(ptr);
}

char* CM_UTL_strcpy(char* old, const char* src) {
  OwnedText copy;
  const bool copied = src && copy.assign(std::string_view{src});
  heap_release(old);  // only now: `src` may lie in it
  return copied ? copy.release() : nullptr;
}

Status CM_UTL_FreePara(Parameter* param) {
  while (param)
    param = free_first(param);
  return CM_OK;
}

Status CM_UTL_FreeNode(Node* node) {
  while (node) {
    ignore(CM_UTL_FreePara(node->params));
    if (Node* last = node->children) {
      while (last->next)
        last = last->next;
      last->next = node->next;
      node->next = node->children;
    }
    drop_row_index(node);
    forget_stray(node);
    node = free_first(node);
  }
  return CM_OK;
}

Status CM_UTL_RebuildStructureBeforeNodeRemove(Node* node) {
  return unlink_child(node->parent, node) ? CM_OK : CM_INVALID;
}

Status CM_UTL_FreeNode_KeepInstance(Node* node, int /*keep*/) {
  if (!node || !node->name || CM_UTL_GetInstanceNumber(node->name.view()) < 1) return CM_OK;
  if (node->parent) {
    if (const Status status = CM_UTL_RebuildStructureBeforeNodeRemove(node)) return status;
  }
  node->next = nullptr;
  return CM_UTL_FreeNode(node);
}

bool tree_has_room(std::size_t text) {
  return records < kRecordsMax && OwnedText::bytes_in_use() + text < kTextBytesMax;
}

NodePtr new_node() {
  auto* node = allocate_record<Node>();
  if (node) ignore(CM_UTL_InitNode(node));
  return NodePtr{node};
}

ParameterPtr new_parameter() {
  auto* param = allocate_record<Parameter>();
  if (param) ignore(CM_UTL_InitPara(param));
  return ParameterPtr{param};
}

}  // namespace gwconf
