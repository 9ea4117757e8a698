#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "core/heap.h"
#include "platform/services.h"

namespace gwconf {
namespace {

/// Most characters that the callers' buffers hold in front of their NUL.
constexpr std::size_t kEscapedMax = 32768;

struct NamedCharacter {
  char character;
  std::string_view reference;
};

constexpr std::array<NamedCharacter, 5> kNamedCharacters = {{
    {'&', "&amp;"},
    {'<', "&lt;"},
    {'>', "&gt;"},
    {'"', "&quot;"},
    {'\'', "&apos;"},
}};

constexpr bool takes_backslash(char c) {
  return c == '"' || c == '\\';
}

/// A text that grows in a caller's buffer. What does not fit whole spoils it.
class BoundedText {
 public:
  explicit BoundedText(char* buffer) : buffer_{buffer} {}
  BoundedText(const BoundedText&) = delete;
  BoundedText& operator=(const BoundedText&) = delete;

  [[nodiscard]] bool append(std::string_view piece) {
    if (piece.size() > kEscapedMax - used_) return false;
    std::memcpy(buffer_ + used_, piece.data(), piece.size());
    used_ += piece.size();
    return true;
  }

  int finish(bool fits) {
    buffer_[fits ? used_ : 0] = '\0';
    return fits ? 0 : -1;
  }

 private:
  char* buffer_;
  std::size_t used_ = 0;
};

/// A character as UTF-8.
struct Utf8 {
  char bytes[4];
  std::size_t length;
};

constexpr Utf8 to_utf8(std::uint32_t code) {
  const auto tail = [code](unsigned shift) {
    return static_cast<char>(0x80 | (code >> shift & 0x3F));
  };
  if (code < 0x80) return {{static_cast<char>(code)}, 1};
  if (code < 0x800) return {{static_cast<char>(0xC0 | code >> 6), tail(0)}, 2};
  if (code < 0x10000) return {{static_cast<char>(0xE0 | code >> 12), tail(6), tail(0)}, 3};
  return {{static_cast<char>(0xF0 | code >> 18), tail(12), tail(6), tail(0)}, 4};
}

/// The value of a digit; 16 for what is none.
constexpr std::uint32_t digit_value(char c) {
  if (c >= '0' && c <= '9') return static_cast<std::uint32_t>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<std::uint32_t>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<std::uint32_t>(c - 'A' + 10);
  return 16;
}

/// A reference at the start of a text: the character it stands for, and its own length. The length
/// is 0 where no reference stands, or one to no character.
struct Reference {
  Utf8 character = {};
  std::size_t length = 0;
};

Reference read_numeric_reference(const char* text) {
  constexpr std::uint32_t kLastCode = 0x10FFFF;
  const bool hexadecimal = text[2] == 'x';
  const std::uint32_t base = hexadecimal ? 16 : 10;
  const char* const digits = text + (hexadecimal ? 3 : 2);
  const char* end = digits;
  std::uint32_t code = 0;
  for (; digit_value(*end) < base; ++end)
    if (code <= kLastCode) code = code * base + digit_value(*end);
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  // A NUL would end the text, so the reference to it stays what it is.
  if (end == digits || *end != ';' || code == 0 || code > kLastCode || surrogate) return {};
  return {to_utf8(code), static_cast<std::size_t>(end + 1 - text)};
}

Reference read_reference(const char* text) {
  if (text[0] != '&') return {};
  if (text[1] == '#') return read_numeric_reference(text);
  for (const NamedCharacter& named : kNamedCharacters)
    if (std::strncmp(text, named.reference.data(), named.reference.size()) == 0)
      return {{{named.character}, 1}, named.reference.size()};
  return {};
}

std::string_view escaped(const char* character) {
  for (const NamedCharacter& named : kNamedCharacters)
    if (named.character == *character) return named.reference;
  return {character, 1};
}

}  // namespace
}  // namespace gwconf

extern "C" {

char* string_encode(char quote, const char* text) {
  std::size_t size = sizeof "\"\"";
  for (const char* c = text; *c; ++c)
    size += gwconf::takes_backslash(*c) ? 2 : 1;
  auto* const encoded = static_cast<char*>(gwconf::heap_allocate(size));
  if (!encoded) return nullptr;
  char* end = encoded;
  *end++ = quote;
  for (const char* c = text; *c; ++c) {
    if (gwconf::takes_backslash(*c)) *end++ = '\\';
    *end++ = *c;
  }
  *end++ = quote;
  *end = '\0';
  return encoded;
}

char* string_decode(const char* raw) {
  if (!std::strchr(raw, '\\')) return nullptr;
  auto* const decoded = static_cast<char*>(gwconf::heap_allocate(std::strlen(raw) + 1));
  if (!decoded) return nullptr;
  char* end = decoded;
  for (const char* c = raw; *c; ++c) {
    if (*c == '\\' && c[1] != '\0') ++c;
    *end++ = *c;
  }
  *end = '\0';
  return decoded;
}

int util_xml_encoder(char* dst, const char* src) {
  gwconf::BoundedText text{dst};
  bool fits = true;
  for (; fits && *src; ++src)
    fits = text.append(gwconf::escaped(src));
  return text.finish(fits);
}

int util_xml_decoder(char* dst, const char* src) {
  gwconf::BoundedText text{dst};
  bool fits = true;
  while (fits && *src) {
    const gwconf::Reference reference = gwconf::read_reference(src);
    const bool known = reference.length > 0;
    fits =
        text.append(known ? std::string_view{reference.character.bytes, reference.character.length}
                          : std::string_view{src, 1});
    src += known ? reference.length : 1;
  }
  return text.finish(fits);
}

}  // extern "C"
