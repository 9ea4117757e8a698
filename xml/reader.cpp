#include "xml/reader.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include "platform/services.h"
#include "storage/file.h"
#include "xml/vocabulary.h"

namespace gwconf {

std::int32_t (*xml_line_process)(xml_node* item) = nullptr;
void (*xml_line_error)() = nullptr;

namespace {

constexpr std::int32_t kFormatError = -1;
constexpr std::int32_t kOutOfMemory = -2;

/// The numbers by which the messages tell the failures apart. They stand for the failure, not for a
/// place in this file, and stay what they are.
enum Line : int {
  kLineTagCut = 0,
  kLineBadItem = 35,
  kLineRefusedItem = 44,
  kLineFileRefused = 94,
  kLineFileMissing = 104,
  kLineFileFailed = 109,
  kLineAttrEquals = 186,
  kLineAttrValue = 195,
  kLineTagName = 363,
  kLineTagEnd = 395,
};

std::int32_t fail(const char* function, std::int32_t result, Line line) {
  std::printf("[FUNC]%s [RET]%d [LINE]%d\n", function, result, line);
  return result;
}

std::int32_t fail(const char* function, std::int32_t result) {
  std::printf("[FUNC]%s [RET]%d\n", function, result);
  return result;
}

void tell(const char* function, Line line) {
  std::printf("[FUNC]%s [LINE]%d\n", function, line);
}

[[nodiscard]] constexpr bool is_name_character(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' ||
         c == '_' || c == '-';
}

// The parsers consume a view from its front: `rest` is what they have not read yet.

[[nodiscard]] std::int32_t used(std::string_view text, std::string_view rest) {
  return static_cast<std::int32_t>(text.size() - rest.size());
}

void skip(std::string_view* rest, std::int32_t count) {
  rest->remove_prefix(static_cast<std::size_t>(count));
}

void skip_blanks(std::string_view* rest) {
  rest->remove_prefix(skip_white_space(*rest));
}

[[nodiscard]] bool take(std::string_view* rest, std::string_view mark) {
  if (rest->size() < mark.size() || std::memcmp(rest->data(), mark.data(), mark.size()) != 0)
    return false;
  rest->remove_prefix(mark.size());
  return true;
}

/// Takes the text up to the first quote that no backslash makes literal, and that quote. False when
/// there is none.
[[nodiscard]] bool take_quoted(std::string_view* rest, std::string_view* raw) {
  for (std::size_t at = 0; at < rest->size(); ++at) {
    const char c = (*rest)[at];
    if (c == '\\') {
      ++at;
    } else if (c == '"') {
      *raw = {rest->data(), at};
      rest->remove_prefix(at + 1);
      return true;
    }
  }
  return false;
}

/// Makes `value` the decoded form of `raw`. False when there is no memory.
[[nodiscard]] bool decode(std::string_view raw, OwnedText* value) {
  if (!value->assign(raw)) return false;
  OwnedText decoded = OwnedText::adopt(string_decode(value->get()));
  // The decoder returns nothing both for a text that needs no decoding and without memory; only a
  // text that holds a backslash needs it.
  if (!decoded) return std::strchr(value->get(), '\\') == nullptr;
  *value = std::move(decoded);
  return true;
}

[[nodiscard]] std::int32_t take_name(std::string_view* rest, OwnedText* name) {
  const std::int32_t length = nameParse(*rest, name);
  if (length < 0) return length;
  skip(rest, length);
  return 0;
}

/// Takes attributes for as long as there are some. A malformed one, or one too many, is left in
/// `rest`, where no end of a tag begins with it; running out of memory must not pass for the end of
/// the list.
[[nodiscard]] std::int32_t take_attributes(std::string_view* rest, xml_node* item) {
  while (item->attr_count < kAttributeMax) {
    xml_attribute& slot = item->attrs[item->attr_count];
    const std::int32_t length = attrParse(*rest, &slot.name, &slot.value);
    if (length == kOutOfMemory) return length;
    if (length < 0) break;
    skip(rest, length);
    ++item->attr_count;
  }
  return 0;
}

// What follows the opening characters of an item, by kind. 0, or a negative result.

[[nodiscard]] std::int32_t parse_head(std::string_view* rest, xml_node* item) {
  item->type = kXmlHead;
  std::int32_t result = take_name(rest, &item->name);
  if (result == 0) result = take_attributes(rest, item);
  if (result == 0) {
    skip_blanks(rest);
    if (!take(rest, "?>")) result = kFormatError;
  }
  return result == 0 ? 0 : fail("nodeTypeAParse", result);
}

[[nodiscard]] std::int32_t parse_begin(std::string_view* rest, xml_node* item) {
  constexpr const char* kFunction = "nodeTypeBParse";
  item->type = kXmlBegin;
  if (const std::int32_t result = take_name(rest, &item->name))
    return fail(kFunction, result, kLineTagName);
  if (const std::int32_t result = take_attributes(rest, item))
    return fail(kFunction, result, kLineTagEnd);
  if (rest->empty()) return fail(kFunction, kFormatError, kLineTagCut);
  skip_blanks(rest);
  if (take(rest, ">")) return 0;
  if (!take(rest, "/>")) return fail(kFunction, kFormatError, kLineTagEnd);
  item->type = kXmlEmpty;
  return 0;
}

[[nodiscard]] std::int32_t parse_end(std::string_view* rest, xml_node* item) {
  item->type = kXmlEnd;
  std::int32_t result = take_name(rest, &item->name);
  if (result == 0) {
    skip_blanks(rest);
    if (!take(rest, ">")) result = kFormatError;
  }
  return result == 0 ? 0 : fail("nodeTypeCParse", result);
}

[[nodiscard]] std::int32_t parse_comment(std::string_view* rest, xml_node* item) {
  constexpr std::string_view kEnd = "-->";
  item->type = kXmlComment;
  const std::size_t end = rest->find(kEnd);
  if (end == std::string_view::npos) return fail("nodeTypeDParse", kFormatError);
  rest->remove_prefix(end + kEnd.size());
  return 0;
}

std::int32_t fail_parse(xml_node* item, Line line) {
  tell("call_xml_parser", line);
  free_xml_node(item);
  if (xml_line_error) xml_line_error();
  return kFormatError;
}

/// A file as one text, or none when it is too large or cannot be read. It is closed either way.
[[nodiscard]] OwnedText read_whole(FilePtr file) {
  if (CM_UTL_GetFileSize(file.get()) > kDocumentMax) return {};
  return CM_UTL_ReadFile(file.get());
}

}  // namespace

void init_xml_node(xml_node* item) {
  *item = xml_node{};
}

void free_xml_node(xml_node* item) {
  item->name.reset();
  for (std::int32_t i = 0; i < item->attr_count; ++i)
    item->attrs[i] = xml_attribute{};
  item->attr_count = 0;
  item->type = kXmlNone;
}

void dump_xml_node(const xml_node* item) {
  const char* open = "<";
  const char* close = ">";
  switch (item->type) {
    case kXmlHead:
      open = "<?";
      close = "?>";
      break;
    case kXmlBegin:
      break;
    case kXmlEnd:
      open = "</";
      break;
    case kXmlEmpty:
      close = "/>";
      break;
    default:
      return;
  }
  std::printf("\n%s%s", open, item->name.c_str());
  for (std::int32_t i = 0; i < item->attr_count; ++i)
    std::printf(" %s=\"%s\"", item->attrs[i].name.c_str(), item->attrs[i].value.c_str());
  std::printf("%s", close);
}

const char* xml_item_label(std::int32_t type) {
  switch (type) {
    case kXmlHead:
      return " HEAD";
    case kXmlBegin:
      return " BEGIN";
    case kXmlEnd:
      return " END";
    case kXmlEmpty:
      return " BEGIN|END";
    default:
      return "";
  }
}

std::size_t skip_white_space(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size() &&
         (text[at] == ' ' || text[at] == '\t' || text[at] == '\r' || text[at] == '\n'))
    ++at;
  return at;
}

std::int32_t nameParse(std::string_view text, OwnedText* name) {
  name->reset();
  std::string_view rest = text;
  skip_blanks(&rest);
  std::size_t length = 0;
  while (length < rest.size() && is_name_character(rest[length]))
    ++length;
  if (length == 0) return kFormatError;
  if (!name->assign({rest.data(), length})) return kOutOfMemory;
  rest.remove_prefix(length);
  return used(text, rest);
}

std::int32_t attrParse(std::string_view text, OwnedText* name, OwnedText* value) {
  constexpr const char* kFunction = "attrParse";
  name->reset();
  value->reset();
  std::string_view rest = text;
  OwnedText parsed_name;
  if (const std::int32_t result = take_name(&rest, &parsed_name)) return result;
  skip_blanks(&rest);
  if (!take(&rest, "=") || rest.empty()) return fail(kFunction, kFormatError, kLineAttrEquals);
  skip_blanks(&rest);
  std::string_view raw;
  if (!take(&rest, "\"") || !take_quoted(&rest, &raw))
    return fail(kFunction, kFormatError, kLineAttrValue);
  OwnedText parsed_value;
  if (!decode(raw, &parsed_value)) return fail(kFunction, kOutOfMemory, kLineAttrValue);
  *name = std::move(parsed_name);
  *value = std::move(parsed_value);
  return used(text, rest);
}

std::int32_t nodeParse(std::string_view text, xml_node* item) {
  free_xml_node(item);
  std::string_view rest = text;
  skip_blanks(&rest);
  std::int32_t result = kFormatError;
  if (!take(&rest, "<"))
    std::printf("[FUNC]%s [RET]NODE_FORMART_ERR\n", "typeParse");
  else if (take(&rest, "?"))
    result = parse_head(&rest, item);
  else if (take(&rest, "!--"))
    result = parse_comment(&rest, item);
  else if (take(&rest, "/"))
    result = parse_end(&rest, item);
  else
    result = parse_begin(&rest, item);
  if (result == 0) return used(text, rest);
  free_xml_node(item);
  fail("nodeParse", kFormatError);  // whatever the kind of failure
  return result;
}

std::int32_t call_xml_parser(std::string_view text) {
  xml_node item;
  skip_blanks(&text);
  while (!text.empty()) {
    const std::int32_t length = nodeParse(text, &item);
    if (length < 0) return fail_parse(&item, kLineBadItem);
    if (xml_line_process && xml_line_process(&item) < 0) {
      dump_xml_node(&item);
      return fail_parse(&item, kLineRefusedItem);
    }
    skip(&text, length);
    skip_blanks(&text);
  }
  return 0;
}

std::int32_t call_xml_file_parser(const char* path) {
  constexpr const char* kFunction = "call_xml_file_parser";
  FilePtr file = open_regular(path, "r");
  if (!file) {
    tell(kFunction, kLineFileMissing);
    return call_xml_parser({});
  }
  const OwnedText text = read_whole(std::move(file));
  if (!text) {
    tell(kFunction, kLineFileRefused);
    return kFormatError;
  }
  if (call_xml_parser(text.view()) == 0) return 0;
  tell(kFunction, kLineFileFailed);
  return kFormatError;
}

}  // namespace gwconf
