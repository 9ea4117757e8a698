#include "rpc/export.h"

#include "core/path.h"
#include "core/walk.h"
#include "platform/getters.h"
#include "rpc/request.h"
#include "storage/file.h"
#include "xml/attribute_word.h"
#include "xml/value_type.h"
#include "xml/vocabulary.h"

namespace gwconf {
namespace {

void write(std::FILE* file, std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), file);
}

void open_element(std::FILE* file, const char* name, std::uint16_t word, std::int32_t depth) {
  CM_RPC_CML2XML_TAB(file, depth + 1);
  write(file, "<");
  write(file, kTagElement);
  CM_RPC_CML2XML_ATTR(file, kAttrName, name);
  if (CM_UTL_GetAttrBoolean(word, kWritable)) CM_RPC_CML2XML_ATTR(file, kAttrWritable, "1");
  if (const char* notification = notification_text(word))
    CM_RPC_CML2XML_ATTR(file, kAttrNotification, notification);
}

/// The document of a record of either kind.
void write_subtree(std::FILE* file, const Node* node) {
  ignore(CM_RPC_CML2XML(node, file, 0));
}

void write_subtree(std::FILE* file, const Parameter* param) {
  CM_RPC_CML2XML_PARAMETER(file, param, 0);
}

/// The one procedure behind both exports: lookup, text by way of a temporary file, answer.
template <typename Record>
Status answer_export(int fd, char* buf, Status (*find)(int fd, char* buf, Record** out)) {
  const FilePtr file{std::tmpfile()};
  if (!file) return answer_nothing(fd, CM_NO_MEMORY);
  Record* record = nullptr;
  if (const Status status = find(fd, buf, &record)) return answer_nothing(fd, status);
  if (has(*record, kDisabled)) return answer_nothing(fd, CM_INVALID);
  write_subtree(file.get(), record);
  const bool written = std::fflush(file.get()) == 0 && !std::ferror(file.get());
  const OwnedText text = written ? CM_UTL_ReadFile(file.get()) : OwnedText{};
  if (!text) return answer_nothing(fd, CM_INVALID);
  answer(fd, text.get());
  return CM_OK;
}

}  // namespace

void CM_RPC_CML2XML_TAB(std::FILE* file, std::int32_t n) {
  for (; n > 0; --n)
    std::fputc('\t', file);
}

void CM_RPC_CML2XML_ATTR(std::FILE* file, const char* name, const char* value) {
  if (!name) return;
  for (const char* part : {" ", name, "=\"", value ? value : "", "\""})
    std::fputs(part, file);
}

void CM_RPC_CML2XML_NODE(std::FILE* file, const Node* node, std::int32_t depth) {
  open_element(file, node->name.c_str(), node->attributes, depth);
  CM_RPC_CML2XML_ATTR(file, kAttrType, kTypeObject);
  write(file, ">\n");
}

void CM_RPC_CML2XML_NODE_END(std::FILE* file, const char* tag, std::int32_t depth) {
  CM_RPC_CML2XML_TAB(file, depth + 1);
  for (const char* part : {"</", tag, ">\n"})
    std::fputs(part, file);
}

void CM_RPC_CML2XML_PARAMETER(std::FILE* file, const Parameter* param, std::int32_t depth) {
  if (depth == 0) write(file, kElementDialect.document_start);
  char type[kTypeTextSize];
  CM_GetFullDataTypeString(param->type, param->min, param->max, type);
  open_element(file, param->name.c_str(), param->attributes, depth);
  if (param->getter) CM_RPC_CML2XML_ATTR(file, kAttrFunction, param->getter->name);
  CM_RPC_CML2XML_ATTR(file, kAttrValue, param->value.get());
  if (param->enumeration) CM_RPC_CML2XML_ATTR(file, kAttrEnumeration, param->enumeration.get());
  CM_RPC_CML2XML_ATTR(file, kAttrType, type);
  write(file, "/>\n");
  if (depth == 0) write(file, kElementDialect.document_end);
}

Status CM_RPC_CML2XML(const Node* node, std::FILE* file, std::int32_t depth) {
  if (!node) return CM_UNUSABLE;
  const bool is_document = depth == 0;
  if (is_document) {
    write(file, kElementDialect.document_start);
    CM_RPC_CML2XML_NODE(file, node, depth);
    depth = 1;
  }
  // `depth` is that of the members of the object worked on.
  const auto enter = [node, file, &depth](const Node& object) {
    if (&object != node) {
      const std::int32_t number = number_of(object);
      if (has(object, kDisabled) || number == 0) return Visit::kSkip;
      if (number > 0) ++depth;
      CM_RPC_CML2XML_NODE(file, &object, depth);
      ++depth;
    }
    for (const Parameter* param = object.params; param; param = param->next)
      if (!has(*param, kDisabled)) CM_RPC_CML2XML_PARAMETER(file, param, depth);
    return Visit::kEnter;
  };
  const auto leave = [node, file, &depth](const Node& object) {
    if (&object == node) return true;
    --depth;
    CM_RPC_CML2XML_NODE_END(file, kTagElement, depth);
    if (number_of(object) > 0) --depth;
    return true;
  };
  static_cast<void>(walk_subtree(node, enter, leave));  // nothing stops it
  if (is_document) {
    CM_RPC_CML2XML_NODE_END(file, kTagElement, 0);
    write(file, kElementDialect.document_end);
  }
  return CM_OK;
}

Status CM_RPC_RPOCESS_TR069_GetNodeXML(int fd, char* buf) {
  return answer_export<Node>(fd, buf, CM_RPC_RPOCESS_GetObjNode);
}

Status CM_RPC_RPOCESS_TR069_GetParameterXML(int fd, char* buf) {
  return answer_export<Parameter>(fd, buf, CM_RPC_RPOCESS_GetParameter);
}

}  // namespace gwconf
