#pragma once

#include <cstdint>
#include <string_view>

namespace gwconf {

/// "1" or "true", without regard to case.
[[nodiscard]] bool is_true(std::string_view text);

/// Sets in `word` what the attributes "writable" and "notification" say; no bit is ever cleared,
/// and any other attribute is passed over.
void apply_access_attribute(std::string_view name, std::string_view value, std::uint16_t* word);

/// The text of the "notification" attribute, active before passive; none when neither is set.
[[nodiscard]] const char* notification_text(std::uint16_t word);

}  // namespace gwconf
