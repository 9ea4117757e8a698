#pragma once

// The device's own services, as its vendor's library defines them at link time. On a plain Linux
// machine the folder platform/linux/ defines them. Every text handed over to the daemon is released
// with free().

#include <cstdint>

extern "C" {

/// Writes `length` bytes from `buffer` at the start of the flash partition `path`, erasing as the
/// flash needs. Returns a negative value on failure; the partition then holds whatever was written
/// by then.
int flash_write(const char* path, const void* buffer, std::int32_t length);

/// Returns `text` between two `quote` characters, with a backslash before every `"` and `\` in it:
/// newly allocated, the caller's. None when there is no memory.
char* string_encode(char quote, const char* text);

/// Returns `raw` with one backslash removed before every character: newly allocated, the caller's.
/// None when `raw` holds no backslash, so that nothing needs decoding, or when there is no memory.
char* string_decode(const char* raw);

/// Writes the escaped form of `src` into `dst`, which holds 32,769 zeroed bytes. Returns 0, or a
/// negative value when the escaped form is longer than 32,768 characters; `dst` then holds the
/// empty text.
int util_xml_encoder(char* dst, const char* src);

/// Writes the unescaped form of `src`, which is never longer, into `dst`, which holds 32,769 zeroed
/// bytes. Returns 0, or a negative value when it does not fit; `dst` then holds the empty text.
int util_xml_decoder(char* dst, const char* src);

}  // extern "C"
