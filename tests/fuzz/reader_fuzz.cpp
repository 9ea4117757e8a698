#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "tests/support/failing_heap.h"
#include "xml/reader.h"
#include "xml/value_type.h"

using namespace gwconf;

namespace {

int errors;

void require(bool holds) {
  if (!holds) std::abort();
}

/// A value type, when the text is one, comes back from its written form.
void check_value_type(std::string_view text, TypeMatch match) {
  Parameter read;
  parse_value_type(text, match, &read);
  char type[64];
  const std::int32_t length = CM_GetFullDataTypeString(read.type, read.min, read.max, type);
  require(length > 0 && length < 64);
  if (read.type == kUnknownType) return;
  Parameter again;
  parse_value_type(type, match, &again);
  require(again.type == read.type && again.min == read.min && again.max == read.max);
}

/// Takes over a value here and there, as a loader does.
std::int32_t check_item(xml_node* item) {
  require(item->type == kXmlComment || *xml_item_label(item->type) != '\0');
  require(static_cast<bool>(item->name) == (item->type != kXmlComment));
  require(item->attr_count >= 0 && item->attr_count <= kAttributeMax);
  for (std::int32_t i = 0; i < kAttributeMax; ++i) {
    xml_attribute& attribute = item->attrs[i];
    const bool filled = i < item->attr_count;
    require(static_cast<bool>(attribute.name) == filled);
    require(static_cast<bool>(attribute.value) == filled);
    if (!filled) continue;
    check_value_type(attribute.value.view(), TypeMatch::kLine);
    check_value_type(attribute.value.view(), TypeMatch::kDom);
    if (i % 2 == 1) const OwnedText taken = std::move(attribute.value);
  }
  dump_xml_node(item);
  return item->name.view() == "refused" ? -1 : 0;
}

}  // namespace

/// Parses the input as a document. The fuzzer wants -close_fd_mask=1: the reader talks.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
  const std::size_t blocks = test::live_blocks();
  errors = 0;
  xml_line_process = check_item;
  xml_line_error = [] { ++errors; };
  const std::int32_t result = call_xml_parser({reinterpret_cast<const char*>(input), size});
  require(result == (errors == 0 ? 0 : -1) && errors <= 1);
  require(test::live_blocks() == blocks);
  return 0;
}
