#pragma once

// The getters of the device itself and of its LAN side: one template for each shape of source,
// which the table fills with the source.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/services.h"
#include "platform/text.h"
#include "protocol/status.h"

namespace gwconf {

inline constexpr char kEmpty[] = "";
inline constexpr char kMaker[] = "Vantrel";

/// Always the same text.
template <const char* kText>
Status constant(const char*, char* out, std::int32_t size) {
  Answer{out, size}.append(kText);
  return CM_OK;
}

/// The room that a service which is told no size writes into: the caller's buffer, or, where that
/// is shorter than such services are promised, one of its own, whose text is then cut to fit. It
/// starts with what the buffer held.
class TextRoom {
 public:
  TextRoom(char* out, std::int32_t size) : out_{out}, size_{size} {
    if (!is_lent()) Answer{own_, sizeof own_}.append({out, held()});
  }
  ~TextRoom() {
    if (is_lent()) {
      out_[size_ - 1] = '\0';
    } else {
      own_[sizeof own_ - 1] = '\0';
      Answer{out_, size_}.append(own_);
    }
  }
  TextRoom(const TextRoom&) = delete;
  TextRoom& operator=(const TextRoom&) = delete;

  [[nodiscard]] char* text() { return is_lent() ? out_ : own_; }
  void clear() { *text() = '\0'; }

 private:
  [[nodiscard]] bool is_lent() const { return size_ >= kServiceTextRoom; }
  [[nodiscard]] std::size_t held() const {
    return size_ > 0 ? strnlen(out_, static_cast<std::size_t>(size_)) : 0;
  }

  char* out_;
  std::int32_t size_;
  char own_[kServiceTextRoom];
};

/// The text that a service writes.
template <auto kWrite>
Status written_text(const char*, char* out, std::int32_t size) {
  TextRoom room{out, size};
  room.clear();
  kWrite(room.text());
  return CM_OK;
}

/// The same over what the buffer holds already.
template <auto kWrite>
Status written_over(const char*, char* out, std::int32_t size) {
  TextRoom room{out, size};
  kWrite(room.text());
  return CM_OK;
}

/// The text that a service writes, or the maker's name when it returns 0.
template <auto kWrite>
Status written_text_or_maker(const char*, char* out, std::int32_t size) {
  TextRoom room{out, size};
  room.clear();
  if (kWrite(room.text()) == 0) std::strcpy(room.text(), kMaker);
  return CM_OK;
}

// How the result of a service tells that it failed.

template <int kCode>
constexpr bool is(int result) {
  return result == kCode;
}
template <int kLimit>
constexpr bool is_below(int result) {
  return result < kLimit;
}

/// The text that a service writes within the size it is told; no value when its result has failed.
template <auto kWrite, auto kFailed>
Status sized_text(const char*, char* out, std::int32_t size) {
  if (size < 1) return CM_INVALID;
  *out = '\0';
  const bool failed = kFailed(kWrite(out, size));
  out[size - 1] = '\0';
  if (!failed) return CM_OK;
  *out = '\0';
  return CM_INVALID;
}

/// Writes the value of `key` in the device information file, which is kept as a format: "%%" stands
/// for one percent sign. Empty when there is none. Always CM_OK.
Status device_information(const char* key, char* out, std::int32_t size);

template <const char* kKey>
Status device_information(const char*, char* out, std::int32_t size) {
  return device_information(kKey, out, size);
}

inline constexpr char kManufacturerUrl[] = "manufacturerURL";
inline constexpr char kModelNumber[] = "model_num";
inline constexpr char kModelUrl[] = "modelURL";
inline constexpr char kDeviceName[] = "device_name";

/// The figure behind `label` in the kernel's memory table, as the kernel gives it (kilobytes); 0
/// when it cannot be read.
[[nodiscard]] std::int32_t memory_figure(const char* label);

template <const char* kLabel>
Status memory(const char*, char* out, std::int32_t size) {
  Answer{out, size}.append_number(memory_figure(kLabel));
  return CM_OK;
}

inline constexpr char kMemoryTotal[] = "MemTotal:";
inline constexpr char kMemoryFree[] = "MemFree:";

// What services take or give in a way of their own, made to fit the templates.

/// The product's name within the room of services that are told no size.
int model_name(char* text);
/// As much of the newest log as leaves room for the NUL.
int newest_log(char* text, int size);

// Getters of which there is only one of a kind.

/// At most 20 characters.
Status serial_number(const char*, char* out, std::int32_t size);
/// Seconds since the machine started.
Status up_time(const char*, char* out, std::int32_t size);
/// " 7.25%", five columns at least; no value when it cannot be told.
Status processor_load(const char*, char* out, std::int32_t size);
/// One counter of the LAN record, by the name that the path holds; no value for any other name.
Status lan_statistics(const char* path, char* out, std::int32_t size);
/// "Up" or "NoLink".
Status lan_port_status(const char* path, char* out, std::int32_t size);
/// Frames received with errors; no value when the switch tells none.
Status lan_port_errors(const char* path, char* out, std::int32_t size);

}  // namespace gwconf
