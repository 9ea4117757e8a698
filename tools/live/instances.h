#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/base/session.h"

namespace gwconf::tool {

/// Whether new instances are real ones or virtual, which are not saved.
enum class Kind { kReal, kVirtual };

/// The numbers of a table's instances, ascending. Numbers past 9999 may stand there cut to four
/// digits too.
Result<std::vector<unsigned>> taken_numbers(const Client& client, const std::string& table);

/// The number behind the greatest of them; the smallest free one when that is the greatest of all.
[[nodiscard]] unsigned next_free(const std::vector<unsigned>& taken);

/// Adds an instance and prints its number: the one given, or the next free one.
[[nodiscard]] Exit add(const Session& session, const std::string& table,
                       std::optional<unsigned> number, Kind kind);

/// Adds an instance in the place of another, which moves up by one with those that follow it.
[[nodiscard]] Exit insert(const Session& session, const std::string& table, unsigned number,
                          Kind kind);

/// Deletes an instance, or an object with all below it.
[[nodiscard]] Exit remove(const Session& session, const std::string& object);

/// Closes the gaps between instance numbers; 0 for all from `from` on.
[[nodiscard]] Exit renumber(const Session& session, const std::string& table, unsigned from,
                            unsigned count);

/// Moves an instance to another table.
[[nodiscard]] Exit move(const Session& session, const std::string& path,
                        const std::string& new_parent);

}  // namespace gwconf::tool
