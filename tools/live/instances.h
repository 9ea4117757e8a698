#pragma once

#include <string>
#include <vector>

#include "gwconf/client.hpp"

namespace gwconf::tool {

/// The numbers of a table's instances, ascending. A number above 9999 may also appear cut to four
/// digits.
Result<std::vector<unsigned>> taken_numbers(const Client& client, const std::string& table);

/// The number behind the greatest of them; the smallest free one when that is the greatest of all.
[[nodiscard]] unsigned next_free(const std::vector<unsigned>& taken);

}  // namespace gwconf::tool
