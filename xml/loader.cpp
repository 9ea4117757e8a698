#include "xml/loader.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <strings.h>

#include "core/path.h"
#include "core/paths.h"
#include "platform/getters.h"
#include "storage/settings_block.h"
#include "xml/attribute_word.h"
#include "xml/value_type.h"
#include "xml/vocabulary.h"

namespace gwconf {
namespace {

constexpr std::int32_t kTaken = 0;
constexpr std::int32_t kRefused = -1;

enum class Kind { kObject, kParameter, kClose, kIgnored };

/// OBJECT and PARAMETER name their kind. Any other tag tells it by its first attribute, as Element
/// does; without one, Element can only close.
Kind kind_of(const xml_node& item) {
  const char* tag = item.name.c_str();
  if (strcasecmp(tag, kTagObject) == 0) return Kind::kObject;
  if (strcasecmp(tag, kTagParameter) == 0) return Kind::kParameter;
  if (item.attr_count > 0 && item.attrs[0].name.view() == kAttrName)
    return item.attrs[0].value.view().ends_with('.') ? Kind::kObject : Kind::kParameter;
  return item.name.view() == kTagElement ? Kind::kClose : Kind::kIgnored;
}

/// Takes the attributes of an object element. False when it carries what only a parameter may.
bool take_attributes(xml_node& item, Node* node) {
  for (std::int32_t i = 0; i < item.attr_count; ++i) {
    xml_attribute& attribute = item.attrs[i];
    const std::string_view name = attribute.name.view();
    if (name == kAttrName)
      node->name = std::move(attribute.value);
    else if (name == kAttrValue || name == kAttrEnumeration)
      return false;
    else
      apply_access_attribute(name, attribute.value.view(), &node->attributes);
  }
  return true;
}

void take_attributes(xml_node& item, Parameter* param) {
  for (std::int32_t i = 0; i < item.attr_count; ++i) {
    xml_attribute& attribute = item.attrs[i];
    const std::string_view name = attribute.name.view();
    if (name == kAttrName) {
      param->name = std::move(attribute.value);
    } else if (name == kAttrValue) {
      param->value = std::move(attribute.value);
    } else if (name == kAttrFunction) {
      param->getter = CM_platform_fn_init(attribute.value.c_str());
    } else if (name == kAttrType) {
      parse_value_type(attribute.value.view(), TypeMatch::kLine, param);
    } else if (name == kAttrEnumeration) {
      param->enumeration = std::move(attribute.value);
      if (!param->enumeration.view().empty()) param->type = kEnumeration;
    } else {
      apply_access_attribute(name, attribute.value.view(), &param->attributes);
    }
  }
}

/// One load. The cursor is the object worked on: open, or closed and waiting for a sibling or its
/// parent's end.
class Loader {
 public:
  Loader() = default;

  void start(Node* root) { *this = Loader{root}; }

  [[nodiscard]] std::int32_t take(xml_node& item);

  /// Whether the document ended with its one root object closed.
  [[nodiscard]] bool complete() const { return cursor_ && cursor_ == root_ && sibling_mode_; }

 private:
  explicit Loader(Node* root) : root_{root} {}

  [[nodiscard]] std::int32_t open_object(xml_node& item);
  [[nodiscard]] std::int32_t open_parameter(xml_node& item);
  [[nodiscard]] std::int32_t close_object();
  [[nodiscard]] std::int32_t close_parameter();

  Node* root_ = nullptr;
  Node* cursor_ = nullptr;
  /// Of the cursor, so that a long list is not walked for each addition.
  Parameter* last_param_ = nullptr;
  std::size_t path_length_ = 0;  ///< of the cursor
  bool sibling_mode_ = true;     ///< the cursor is closed: a new object becomes its sibling
  bool parameter_open_ = false;
};

/// Characters that an object adds to a path. A nameless one counts too, so that nesting stays
/// bounded by the length of a path.
std::size_t length_in_path(const Node& node) {
  return std::max<std::size_t>(node.name.view().size(), 1);
}

std::int32_t Loader::open_object(xml_node& item) {
  std::size_t around = 0;  // of the path, what stands before the new object
  Node* node = root_;
  if (cursor_) {
    if (parameter_open_) return kRefused;
    node = new_node().release();
    if (!node) return kRefused;
    if (sibling_mode_) {
      around = path_length_ - length_in_path(*cursor_);
      node->parent = cursor_->parent;
      cursor_->next = node;
    } else {
      around = path_length_;
      node->parent = cursor_;
      cursor_->children = node;
    }
  }
  cursor_ = node;
  last_param_ = nullptr;
  sibling_mode_ = false;
  if (!take_attributes(item, node)) return kRefused;
  if (CM_CORE_CheckIfInstance(node->name.view()) == CM_OK) set(*node, kWritable);
  path_length_ = around + length_in_path(*node);
  const bool fits = node->name.view().size() <= kSegmentMax && path_length_ < kPathBufferSize;
  return fits ? kTaken : kRefused;
}

std::int32_t Loader::open_parameter(xml_node& item) {
  if (!cursor_ || parameter_open_ || cursor_->children) return kRefused;
  Parameter* param = new_parameter().release();
  if (!param) return kRefused;
  param->parent = cursor_;
  (last_param_ ? last_param_->next : cursor_->params) = param;
  last_param_ = param;
  take_attributes(item, param);
  parameter_open_ = true;
  return path_length_ + param->name.view().size() < kPathBufferSize ? kTaken : kRefused;
}

std::int32_t Loader::close_parameter() {
  if (!parameter_open_) return kRefused;
  parameter_open_ = false;
  return kTaken;
}

std::int32_t Loader::close_object() {
  if (parameter_open_ || !cursor_) return kRefused;
  if (sibling_mode_) {
    if (!cursor_->parent) return kRefused;
    path_length_ -= length_in_path(*cursor_);
    cursor_ = cursor_->parent;
  }
  sibling_mode_ = true;
  return kTaken;
}

std::int32_t Loader::take(xml_node& item) {
  if (item.type == kXmlHead || item.type == kXmlComment) return kTaken;
  const Kind kind = kind_of(item);
  const bool begins = (item.type & kXmlBegin) != 0;
  const bool ends = (item.type & kXmlEnd) != 0;
  if (kind == Kind::kClose) {
    if (begins || !ends) return kTaken;
    return parameter_open_ ? close_parameter() : close_object();
  }
  if (kind == Kind::kIgnored) return kTaken;
  const bool object = kind == Kind::kObject;
  if (begins && (object ? open_object(item) : open_parameter(item)) != kTaken) return kRefused;
  if (ends) return object ? close_object() : close_parameter();
  return kTaken;
}

Loader loader;

/// Loads the saved settings of one partition, or of the pair.
std::uint8_t load_saved(Node* root, bool with_backup) {
  OwnedText text = CM_UTL_GetMTDBlockSettings(paths().primary_partition);
  if (!text && with_backup) text = CM_UTL_GetMTDBlockSettings(paths().backup_partition);
  if (!text) {
    if (with_backup) std::puts("Fail to decompress default settings");
    return cut_to_byte(CM_UNUSABLE);
  }
  const Status status = VT_CM_XML2RAM(root, text.view());
  // The primary is named also when the backup served.
  if (with_backup)
    std::printf("[%s]xml file<%s> to RAM ret=%d\n", "CM_XML2RAM", paths().primary_partition,
                static_cast<int>(status));
  return cut_to_byte(status);
}

}  // namespace

std::int32_t VT_CM_XML2RAM_LineProcess(xml_node* item) {
  return loader.take(*item);
}

void VT_CM_XML2RAM_LineError() {}

std::int32_t VT_CM_XML2RAM_Parse(Node* root, std::int32_t mode, std::string_view text_or_path) {
  xml_line_process = VT_CM_XML2RAM_LineProcess;
  xml_line_error = VT_CM_XML2RAM_LineError;
  loader.start(root);
  std::int32_t result = -1;
  if (mode == kLoadFile)
    result = call_xml_file_parser(text_or_path.data());
  else if (mode == kLoadBuffer)
    result = call_xml_parser(text_or_path);
  const bool loaded = result == 0 && loader.complete();
  loader.start(nullptr);
  return loaded ? 0 : -1;
}

Status VT_CM_XMLFILE2RAM(Node* root, const char* path) {
  return VT_CM_XML2RAM_Parse(root, kLoadFile, path) == 0 ? CM_OK : CM_INVALID;
}

Status VT_CM_XML2RAM(Node* root, std::string_view text) {
  return VT_CM_XML2RAM_Parse(root, kLoadBuffer, text) == 0 ? CM_OK : CM_INVALID;
}

std::uint8_t CM_XML2RAM(Node* root, const char* source) {
  if (!root) return cut_to_byte(CM_INVALID);
  if (const Status status = CM_UTL_InitNode(root)) return cut_to_byte(status);
  if (!source) return load_saved(root, true);
  if (std::strcmp(source, paths().primary_partition) == 0) return load_saved(root, false);
  return cut_to_byte(VT_CM_XMLFILE2RAM(root, source));
}

}  // namespace gwconf
