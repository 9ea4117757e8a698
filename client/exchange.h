#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <sys/un.h>

#include "client/buffer.h"
#include "gwconf/client.h"

/// The settings of a handle; requests keep nothing in it.
struct gwconf_client {
  std::atomic<int> timeout{GWCONF_TIMEOUT_DEFAULT};
  char socket_path[sizeof sockaddr_un::sun_path];
};

/// The messages of an answer, one behind the other, and where each begins.
struct gwconf_answers {
  [[nodiscard]] std::size_t count() const noexcept { return begins.size() / sizeof(std::size_t); }
  [[nodiscard]] std::size_t begin(std::size_t index) const noexcept {
    std::size_t offset = 0;
    std::memcpy(&offset, begins.data() + index * sizeof offset, sizeof offset);
    return offset;
  }
  [[nodiscard]] const char* text(std::size_t index) const noexcept {
    return texts.data() + begin(index);
  }
  void drop_last() noexcept {
    texts.shrink_to(begin(count() - 1));
    begins.shrink_to(begins.size() - sizeof(std::size_t));
  }

  gwconf::client::Buffer texts;
  gwconf::client::Buffer begins;
};

namespace gwconf::client {

/// One request from connecting to the result: `command`, then `arguments`. `answers` must be empty;
/// it receives the messages before the result. Returns the daemon's code, or GWCONF_E_*, with
/// which `answers` means nothing.
[[nodiscard]] int exchange(const gwconf_client& client, std::int32_t command,
                           std::span<const char* const> arguments,
                           gwconf_answers& answers) noexcept;

/// A decimal number that makes up the whole text. False for anything else.
[[nodiscard]] bool parse_number(const char* text, std::int32_t* number) noexcept;

}  // namespace gwconf::client
