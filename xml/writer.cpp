#include "xml/writer.h"

#include <cstring>
#include <fcntl.h>

#include "core/counter.h"
#include "core/instance.h"
#include "core/number.h"
#include "core/path.h"
#include "core/paths.h"
#include "core/user_set.h"
#include "core/walk.h"
#include "platform/getters.h"
#include "platform/services.h"
#include "storage/file.h"
#include "storage/settings_block.h"
#include "xml/attribute_word.h"
#include "xml/value_type.h"

namespace gwconf {
namespace {

constexpr std::size_t kAttributeListSize = 2048;

/// The attribute list of one element, built in its buffer before it is written.
class AttributeList {
 public:
  void add(std::string_view name, const char* value) {
    if (failed_) return;
    const std::int32_t added =
        VT_CM_RAM2XML_Attr(text_ + length_, kAttributeListSize - length_, name, value);
    failed_ = added < 0;
    if (!failed_) length_ += static_cast<std::size_t>(added);
  }

  void add_access(std::uint16_t word) {
    add(kAttrWritable, CM_UTL_GetAttrBoolean(word, kWritable) ? "1" : "0");
    if (const char* notification = notification_text(word)) add(kAttrNotification, notification);
  }

  [[nodiscard]] std::int32_t write(std::FILE* file) const {
    return failed_ ? -1 : VT_CM_RAM2XML_Write({text_, length_}, file);
  }

 private:
  char text_[kAttributeListSize];
  std::size_t length_ = 0;
  bool failed_ = false;
};

std::int32_t write_object(const Node& node, std::FILE* file) {
  AttributeList list;
  list.add(kAttrName, node.name.c_str());
  list.add(kAttrType, kTypeObject);
  list.add_access(node.attributes);
  return list.write(file);
}

std::int32_t write_parameter(const Parameter& param, std::FILE* file) {
  char type[kTypeTextSize];
  CM_GetFullDataTypeString(param.type, param.min, param.max, type);
  AttributeList list;
  list.add(kAttrName, param.name.c_str());
  list.add(kAttrType, type);
  // A counter is written as what there is to count, whatever it says itself: virtual instances are
  // not saved.
  std::int32_t count = 0;
  if (CM_CORE_GetNonVirtualNumberOfEntries(&param, &count) == CM_OK)
    list.add(kAttrValue, DecimalText{count}.c_str());
  else
    list.add(kAttrValue, param.value.c_str());
  list.add_access(param.attributes);
  if (param.enumeration) list.add(kAttrEnumeration, param.enumeration.get());
  if (param.getter) list.add(kAttrFunction, param.getter->name);
  return list.write(file);
}

/// The opening line of an object, and its parameters.
std::int32_t begin_object(const Node& node, std::FILE* file, const Dialect& dialect) {
  if (VT_CM_RAM2XML_Write(dialect.object_start, file) != 0 ||
      VT_CM_RAM2XML_Element(ElementKind::kObject, &node, file) != 0 ||
      VT_CM_RAM2XML_Write(dialect.object_start_close, file) != 0)
    return -1;
  for (const Parameter* param = node.params; param; param = param->next) {
    if (filter_parameter(param)) continue;
    if (VT_CM_RAM2XML_Write(dialect.parameter_start, file) != 0 ||
        VT_CM_RAM2XML_Element(ElementKind::kParameter, param, file) != 0 ||
        VT_CM_RAM2XML_Write(dialect.parameter_close, file) != 0)
      return -1;
  }
  return 0;
}

std::int32_t write_document(Node* root, std::FILE* file, const Dialect& dialect) {
  if (VT_CM_RAM2XML_Write(dialect.document_start, file) != 0) return -1;
  int user_set = 0;
  ignore(CM_CORE_UpdateUserSetFlag(root, &user_set));
  if (VT_CM_RAM2XML_Node(root, file, dialect) != 0) return -1;
  return VT_CM_RAM2XML_Write(dialect.document_end, file);
}

/// Reads the finished temporary file; none when it is too long, gone, or memory runs out.
OwnedText read_back(const char* path) {
  const FilePtr file{std::fopen(path, "r")};
  if (!file || CM_UTL_GetFileSize(file.get()) > kDocumentMax) return {};
  return CM_UTL_ReadFile(file.get());
}

}  // namespace

std::int32_t VT_CM_RAM2XML_Write(std::string_view text, std::FILE* file) {
  return std::fwrite(text.data(), 1, text.size(), file) == text.size() ? 0 : -1;
}

std::int32_t VT_CM_RAM2XML_Attr(char* buffer, std::size_t room, std::string_view name,
                                const char* value) {
  const OwnedText encoded = OwnedText::adopt(string_encode('"', value));
  if (!encoded) return -1;
  const std::string_view text = encoded.view();
  if (room < name.size() + text.size() + 3) return -1;
  char* at = buffer;
  std::memcpy(at, name.data(), name.size());
  at += name.size();
  *at++ = '=';
  std::memcpy(at, text.data(), text.size());
  at += text.size();
  *at++ = ' ';
  *at = '\0';
  return static_cast<std::int32_t>(at - buffer);
}

std::int32_t VT_CM_RAM2XML_Element(ElementKind kind, const void* record, std::FILE* file) {
  return kind == ElementKind::kObject
             ? write_object(*static_cast<const Node*>(record), file)
             : write_parameter(*static_cast<const Parameter*>(record), file);
}

std::int32_t VT_CM_RAM2XML_Node(const Node* node, std::FILE* file, const Dialect& dialect) {
  const auto enter = [file, &dialect](const Node& object) {
    if (is_virtual_instance(object) || filter_node(&object)) return Visit::kSkip;
    return begin_object(object, file, dialect) == 0 ? Visit::kEnter : Visit::kStop;
  };
  const auto leave = [file, &dialect](const Node&) {
    return VT_CM_RAM2XML_Write(dialect.object_end, file) == 0;
  };
  for (; node; node = node->next)
    if (!walk_subtree(node, enter, leave)) return -1;
  return 0;
}

Status VT_CM_RAM2XML(OwnedText* out, Node* root, const Dialect& dialect) {
  out->reset();
  if (!root) return CM_INVALID;
  const char* path = paths().temporary_output;
  // A fresh file of the daemon's own: it holds passwords, and it lies where anybody may have laid a
  // link.
  std::remove(path);
  std::FILE* file = open_regular(path, O_WRONLY | O_CREAT | O_EXCL, 0600).release();
  if (!file) return CM_INVALID;
  const bool written = write_document(root, file, dialect) == 0;
  const bool closed = std::fclose(file) == 0;
  if (written && closed) *out = read_back(path);
  std::remove(path);
  return *out ? CM_OK : CM_INVALID;
}

std::uint8_t CM_RAM2XML(const char* block_path, Node* root) {
  OwnedText text;
  const Status status = VT_CM_RAM2XML(&text, root);
  // The result is the rendering's: a partition that fails is found out at the next start, by its
  // checksum.
  if (status == CM_OK) ignore(CM_UTL_SetMTDBlockSettings(block_path, text.get()));
  return cut_to_byte(status);
}

}  // namespace gwconf
