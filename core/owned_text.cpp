#include "core/owned_text.h"

#include <cstring>

namespace gwconf {

bool OwnedText::assign(std::string_view source) noexcept {
  char* copy = static_cast<char*>(heap_allocate(source.size() + 1));
  if (!copy) return false;
  if (!source.empty()) std::memcpy(copy, source.data(), source.size());
  copy[source.size()] = '\0';
  heap_release(std::exchange(text_, copy));
  return true;
}

}  // namespace gwconf
