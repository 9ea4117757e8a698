#include "core/owned_text.h"

#include <cstring>

namespace gwconf {
namespace {

std::size_t bytes = 0;

}  // namespace

OwnedText OwnedText::adopt(char* text) noexcept {
  OwnedText owned;
  owned.text_ = text;
  if (text) bytes += std::strlen(text) + 1;
  return owned;
}

bool OwnedText::assign(std::string_view source) noexcept {
  char* copy = static_cast<char*>(heap_allocate(source.size() + 1));
  if (!copy) return false;
  if (!source.empty()) std::memcpy(copy, source.data(), source.size());
  copy[source.size()] = '\0';
  *this = adopt(copy);  // frees the old text only now: `source` may lie in it
  return true;
}

char* OwnedText::release() noexcept {
  if (text_) bytes -= std::strlen(text_) + 1;
  return std::exchange(text_, nullptr);
}

void OwnedText::give_back(char* text) noexcept {
  if (!text) return;
  bytes -= std::strlen(text) + 1;
  heap_release(text);
}

std::size_t OwnedText::bytes_in_use() noexcept {
  return bytes;
}

}  // namespace gwconf
