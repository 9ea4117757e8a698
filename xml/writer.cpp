#include "xml/writer.h"

#include <cstring>
#include <fcntl.h>
#include <syslog.h>

#include "core/counter.h"
#include "core/heap.h"
#include "core/instance.h"
#include "core/log.h"
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

/// The record whose attribute list was too long in the text begun last, for the log: one of the
/// two, or none. The tree may be gone later.
struct TooLong {
  const Node* object = nullptr;
  const Parameter* param = nullptr;
};
TooLong too_long;

/// Appends name, value and a space as VT_CM_RAM2XML_Attr does, the value as it is.
std::int32_t append(char* buffer, std::size_t room, std::string_view name, std::string_view value) {
  if (room < name.size() + value.size() + 3) return -1;
  char* at = buffer;
  std::memcpy(at, name.data(), name.size());
  at += name.size();
  *at++ = '=';
  std::memcpy(at, value.data(), value.size());
  at += value.size();
  *at++ = ' ';
  *at = '\0';
  return static_cast<std::int32_t>(at - buffer);
}

/// The attribute list of one element, built in its buffer before it is written.
class AttributeList {
 public:
  void add(std::string_view name, const char* value) {
    if (failed_) return;
    const OwnedText encoded = OwnedText::adopt(string_encode('"', value));
    const std::int32_t added =
        encoded ? append(text_ + length_, kAttributeListSize - length_, name, encoded.view()) : -1;
    failed_ = added < 0;
    too_long_ = failed_ && encoded;
    if (!failed_) length_ += static_cast<std::size_t>(added);
  }

  [[nodiscard]] bool is_too_long() const { return too_long_; }

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
  bool too_long_ = false;
};

std::int32_t write_object(const Node& node, std::FILE* file) {
  AttributeList list;
  list.add(kAttrName, node.name.c_str());
  list.add(kAttrType, kTypeObject);
  list.add_access(node.attributes);
  if (list.is_too_long()) too_long = {.object = &node};
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
  if (list.is_too_long()) too_long = {.param = &param};
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

/// How a rendering ended.
enum class Rendering {
  kDone,
  kFileFailed,  ///< the file did not take it, or did not give it back
  kImpossible,  ///< nor would any other: an element or the text is too long, or memory ran out
};

/// Renders into a stream that is empty, and reads it back into `out`.
Rendering render_through(std::FILE* file, Node* root, const Dialect& dialect, OwnedText* out) {
  if (write_document(root, file, dialect) != 0)
    return std::ferror(file) ? Rendering::kFileFailed : Rendering::kImpossible;
  const long size = std::fflush(file) == 0 ? CM_UTL_GetFileSize(file) : -1;
  if (size < 0) return Rendering::kFileFailed;
  if (size > kDocumentMax) return Rendering::kImpossible;
  const auto length = static_cast<std::size_t>(size);
  HeapBytes text{static_cast<char*>(heap_allocate(length + 1))};
  if (!text) return Rendering::kImpossible;
  if (std::fread(text.get(), 1, length, file) != length) return Rendering::kFileFailed;
  text[length] = '\0';
  *out = OwnedText::adopt(text.release());
  return Rendering::kDone;
}

/// Renders through a fresh file of the daemon's own: it holds passwords, and it lies where anybody
/// may have laid something else. It is read back by its descriptor, since its name may have become
/// another file's meanwhile.
Rendering render_through_file(Node* root, const Dialect& dialect, OwnedText* out) {
  const char* path = paths().temporary_output;
  std::remove(path);
  FilePtr file = open_regular(path, O_RDWR | O_CREAT | O_EXCL, 0600);
  if (!file) return Rendering::kFileFailed;
  const Rendering result = render_through(file.get(), root, dialect, out);
  file.reset();
  std::remove(path);
  return result;
}

/// Renders through memory. Of the room for the longest text only what is written to is taken.
Rendering render_through_memory(Node* root, const Dialect& dialect, OwnedText* out) {
  constexpr std::size_t kRoom = kDocumentMax + 1;
  const HeapBytes room{static_cast<char*>(heap_allocate(kRoom))};
  const FilePtr file{room ? fmemopen(room.get(), kRoom, "w+") : nullptr};
  return file ? render_through(file.get(), root, dialect, out) : Rendering::kImpossible;
}

}  // namespace

std::int32_t VT_CM_RAM2XML_Write(std::string_view text, std::FILE* file) {
  return std::fwrite(text.data(), 1, text.size(), file) == text.size() ? 0 : -1;
}

std::int32_t VT_CM_RAM2XML_Attr(char* buffer, std::size_t room, std::string_view name,
                                const char* value) {
  const OwnedText encoded = OwnedText::adopt(string_encode('"', value));
  if (!encoded) return -1;
  return append(buffer, room, name, encoded.view());
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
  too_long = {};
  if (!root) return CM_INVALID;
  Rendering result = render_through_file(root, dialect, out);
  // Nobody who lays something in the file's way, or fills its file system, is to stop a commit.
  if (result == Rendering::kFileFailed) result = render_through_memory(root, dialect, out);
  return result == Rendering::kDone ? CM_OK : CM_INVALID;
}

void log_failed_rendering(const char* target) {
  if (!log_keeps_up()) return;
  char record[kPathBufferSize] = {};
  // A path that cannot be had leaves the empty text.
  if (too_long.param) ignore(CM_CORE_GetURIByParaNode(too_long.param, record));
  if (too_long.object) ignore(CM_CORE_GetURIByObjNode(too_long.object, record));
  if (too_long.param || too_long.object)
    syslog(LOG_ERR, "settings not saved to %s: the attributes of %s take more than %zu characters",
           target, record, kAttributeListSize - 1);
  else
    syslog(LOG_ERR, "settings not saved to %s: no tree, no memory, or more than %ld bytes", target,
           long{kDocumentMax});
}

std::uint8_t CM_RAM2XML(const char* block_path, Node* root, Status* stored) {
  OwnedText text;
  const Status rendered = VT_CM_RAM2XML(&text, root);
  const Status result =
      rendered == CM_OK ? CM_UTL_SetMTDBlockSettings(block_path, text.get()) : rendered;
  if (stored) *stored = result;
  return cut_to_byte(rendered);
}

}  // namespace gwconf
