#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "protocol/status.h"

namespace gwconf {

/// Computes the value of the parameter at `path`. CM_OK: its text, NUL-terminated, stands in `out`,
/// which holds `size` bytes and is never overrun. CM_INVALID: there is no value; what `out` holds
/// then means nothing. With a `size` below 1 nothing is written, whatever is returned.
using Getter = Status (*)(const char* path, char* out, std::int32_t size);

struct GetterRow {
  const char* name;
  Getter getter;
};

inline constexpr std::size_t kGetterCount = 75;

/// The getters that a configuration can name, closed by a row without name. Names are unique.
extern const std::array<GetterRow, kGetterCount + 1> platform_fn_tab;

/// The row of exactly that name, or none. Also hands the daemon's readers below to the platform's
/// configuration client, as far as nobody else did, even when there is no name.
[[nodiscard]] const GetterRow* CM_platform_fn_init(const char* name);

// What the platform's configuration client is given, so that platform code inside the daemon reads
// the daemon's own tree instead of asking over the socket. The texts are newly allocated; the
// caller frees them.
extern "C" {

/// A copy of the stored value of the parameter at `path`; none when there is no such parameter, no
/// value, or no memory. Getters are not called.
[[nodiscard]] char* cm_get_value_core(const char* path);

/// The instance numbers of the table at `path`, each with a comma, at most kInstanceListMax
/// characters (further instances are left out whole); none when the path names no table's place, or
/// when there is no memory.
[[nodiscard]] char* cm_get_instance_core(const char* path);

}  // extern "C"

inline constexpr std::size_t kInstanceListMax = 511;

/// The list without the template's entry, which can only stand first: "0,1,2" becomes "1,2".
[[nodiscard]] constexpr std::string_view without_template(std::string_view list) {
  if (list.empty() || list.front() != '0') return list;
  return list.size() < 3 ? std::string_view{} : std::string_view{list.data() + 2, list.size() - 2};
}

}  // namespace gwconf
