#pragma once

#include <cstdint>

namespace gwconf {

/// The result of an operation: one signed 32-bit code, shared by the whole daemon. A client
/// receives it unchanged as decimal text. Unscoped, so that a code which crosses the socket or a
/// library is the same number.
enum [[nodiscard]] Status : std::int32_t{
    CM_OK = 0,
    CM_UNCHANGED = 1,      ///< the new value equals the stored one
    CM_NOT_WRITTEN = 1,    ///< the flash or the file did not take a settings block; never sent
    CM_NOT_FOUND = 2,      ///< no such object or parameter
    CM_UNUSABLE = 3,       ///< unusable file or missing input
    CM_NO_MEMORY = 4,      ///< out of memory, or no temporary file
    CM_EXISTS = 5,         ///< the instance exists already
    CM_REFUSED = 7,        ///< refused numbering, or the object to move is disabled
    CM_STOP = 8,           ///< stop the service; never sent
    CM_NOT_READY = 9,      ///< the readiness check of a read failed; never sent
    CM_UNREADABLE = 10,    ///< a message of the request could not be read; never sent
    CM_NO_SERVER = 11,     ///< the socket could not be bound or listened on
    CM_TIMED_OUT = 12,     ///< a read waited in vain; never sent
    CM_CUT_FAILURE = 156,  ///< CM_INVALID seen as 8 bits, from the XML reader and writer
    CM_INVALID = -100,     ///< invalid argument, or the failure of a lower operation
};

struct StatusText {
  Status code;
  const char* text;
};

inline constexpr StatusText kStatusTexts[] = {
    {CM_OK, "done"},
    {CM_UNCHANGED, "value unchanged"},
    {CM_NOT_FOUND, "no such object or parameter"},
    {CM_UNUSABLE, "unusable file or missing input"},
    {CM_NO_MEMORY, "out of memory"},
    {CM_EXISTS, "instance exists already"},
    {CM_REFUSED, "numbering refused or object disabled"},
    {CM_STOP, "service stops"},
    {CM_NOT_READY, "read failed"},
    {CM_UNREADABLE, "request unreadable"},
    {CM_NO_SERVER, "server could not start"},
    {CM_TIMED_OUT, "read timed out"},
    {CM_CUT_FAILURE, "configuration could not be read or written"},
    {CM_INVALID, "invalid request"},
};

/// The text of a code; "unknown result code" for a number that is none of ours.
[[nodiscard]] constexpr const char* status_text(std::int32_t code) {
  for (const StatusText& row : kStatusTexts)
    if (row.code == code) return row.text;
  return "unknown result code";
}

/// Says that a result is dropped on purpose; the comment at the call tells why.
constexpr void ignore(Status) {}

/// The code as the 8-bit entry points report it (-100 becomes 156).
[[nodiscard]] constexpr std::uint8_t cut_to_byte(Status code) {
  return static_cast<std::uint8_t>(code);
}

}  // namespace gwconf
