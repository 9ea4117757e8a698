#pragma once

#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <sys/types.h>

#include "core/owned_text.h"

namespace gwconf {

struct CloseFile {
  void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
};
/// A stream that closes itself.
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

/// Opens `path`, which may come from a client, as fopen does with `mode` ("r", "w+", "a+", ...),
/// but without ever waiting for anybody: a FIFO, a socket or a directory is refused, and reading
/// from a terminal does not wait for its user. To write, a device and the kernel's process files
/// are refused too. A file that is made is for its owner and group at most (0660). None when the
/// file cannot be opened, and nothing is emptied then.
[[nodiscard]] FilePtr open_regular(const char* path, const char* mode);

/// The same with the flags of open(), for what a mode does not say: paths of the service's own,
/// which may be devices.
[[nodiscard]] FilePtr open_regular(const char* path, int flags, mode_t permissions = 0666);

/// The size of the stream's file in bytes, or -1 when it has none that a long holds (a pipe). The
/// stream stands at its start afterwards, wherever it stood before.
[[nodiscard]] long CM_UTL_GetFileSize(std::FILE* stream);

/// The largest file that is read whole: with its NUL it just fills the length of a message.
inline constexpr long kWholeFileMax = std::numeric_limits<std::int32_t>::max() - 1;

/// The whole file from its start as one text of the caller's, whatever the stream's position. None
/// when its size cannot be had or is above kWholeFileMax, when it cannot be read, or when there is
/// no memory. A file that shrinks meanwhile gives what is left of it.
[[nodiscard]] OwnedText CM_UTL_ReadFile(std::FILE* stream);

}  // namespace gwconf
