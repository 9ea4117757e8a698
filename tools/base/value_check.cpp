#include "tools/base/value_check.h"

#include <algorithm>
#include <arpa/inet.h>
#include <bit>
#include <charconv>
#include <cstdint>
#include <limits>

#include "gwconf/client.h"

namespace gwconf::tool {
namespace {

using Objection = std::optional<std::string>;

/// What a number may be; none stands for an open end.
struct Range {
  std::optional<std::int64_t> minimum;
  std::optional<std::int64_t> maximum;
};

/// The limits as the type text has them: "[min:max]", "[min:]", or none of both.
[[nodiscard]] Range range_of(const ValueRules& rules) {
  Range range;
  if (rules.minimum == 0 && rules.maximum == 0) return range;
  range.minimum = rules.minimum;
  if (rules.maximum != 0) range.maximum = rules.maximum;
  if (rules.type == GWCONF_TYPE_UNSIGNED_INT) {
    // Limits are kept in 31 bits and a sign: an upper one beyond them is no longer known.
    if (rules.maximum < 0 || rules.maximum == std::numeric_limits<int>::max())
      range.maximum.reset();
    if (rules.minimum < 0) range.minimum.reset();
  }
  return range;
}

[[nodiscard]] Objection check_number(const ValueRules& rules, std::string_view value) {
  const bool is_signed = rules.type == GWCONF_TYPE_INT;
  using Signed = std::numeric_limits<std::int32_t>;
  using Unsigned = std::numeric_limits<std::uint32_t>;
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
  if (end != value.data() + value.size() || error == std::errc::invalid_argument)
    return "not a whole number";
  if (error != std::errc{} || number < (is_signed ? Signed::min() : 0) ||
      number > (is_signed ? std::int64_t{Signed::max()} : std::int64_t{Unsigned::max()}))
    return is_signed ? "beyond 32 bits" : "not between 0 and 4294967295";
  const Range range = range_of(rules);
  if (range.minimum && number < *range.minimum)
    return "less than " + std::to_string(*range.minimum);
  if (range.maximum && number > *range.maximum)
    return "more than " + std::to_string(*range.maximum);
  return {};
}

[[nodiscard]] Objection check_length(const ValueRules& rules, std::string_view value) {
  if (rules.maximum > 0 && value.size() > static_cast<std::size_t>(rules.maximum))
    return "longer than " + std::to_string(rules.maximum) + " bytes";
  return {};
}

[[nodiscard]] bool is_base64(std::string_view value) {
  const std::size_t end = std::min(value.find_last_not_of('=') + 1, value.size());
  const auto is_digit = [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' ||
           c == '/';
  };
  return value.size() % 4 == 0 && value.size() - end <= 2 &&
         std::all_of(value.begin(), value.begin() + static_cast<std::ptrdiff_t>(end), is_digit);
}

[[nodiscard]] std::optional<std::uint32_t> ipv4_of(std::string_view value) {
  in_addr address{};
  if (inet_pton(AF_INET, std::string{value}.c_str(), &address) != 1) return {};
  return ntohl(address.s_addr);
}

[[nodiscard]] bool is_netmask(std::string_view value) {
  const std::optional<std::uint32_t> mask = ipv4_of(value);
  return mask && std::popcount(*mask) == std::countl_one(*mask);
}

/// 'd' in the shape is a digit, 'x' a hexadecimal one, everything else stands for itself.
[[nodiscard]] bool has_shape(std::string_view value, std::string_view shape) {
  const auto fits = [](char c, char wanted) {
    const bool digit = c >= '0' && c <= '9';
    if (wanted == 'd') return digit;
    if (wanted == 'x') return digit || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
    return c == wanted;
  };
  return std::equal(value.begin(), value.end(), shape.begin(), shape.end(), fits);
}

[[nodiscard]] bool is_mac_address(std::string_view value) {
  return has_shape(value, "xx:xx:xx:xx:xx:xx");
}

/// A time with or without a fraction of a second, and with or without a zone.
[[nodiscard]] bool is_time(std::string_view value) {
  constexpr std::string_view kShape = "dddd-dd-ddTdd:dd:dd";
  if (!has_shape(value.substr(0, kShape.size()), kShape)) return false;
  const auto is_between = [value](std::size_t at, std::string_view low, std::string_view high) {
    const std::string_view two = value.substr(at, 2);
    return two >= low && two <= high;
  };
  if (!is_between(5, "01", "12") || !is_between(8, "01", "31") || !is_between(11, "00", "23") ||
      !is_between(14, "00", "59") || !is_between(17, "00", "59"))
    return false;
  std::string_view rest = value.substr(kShape.size());
  if (rest.starts_with('.')) {
    const std::size_t end = std::min(rest.find_first_not_of("0123456789", 1), rest.size());
    if (end == 1) return false;
    rest.remove_prefix(end);
  }
  return rest.empty() || rest == "Z" || has_shape(rest, "+dd:dd") || has_shape(rest, "-dd:dd");
}

[[nodiscard]] bool is_listed(std::string_view list, std::string_view value) {
  for (;;) {
    const std::size_t comma = list.find(',');
    if (list.substr(0, comma) == value) return true;
    if (comma == std::string_view::npos) return false;
    list.remove_prefix(comma + 1);
  }
}

[[nodiscard]] Objection unless(bool good, const char* objection) {
  return good ? Objection{} : Objection{objection};
}

}  // namespace

bool has_limits(int type) {
  return type == GWCONF_TYPE_STRING || type == GWCONF_TYPE_INT ||
         type == GWCONF_TYPE_UNSIGNED_INT || type == GWCONF_TYPE_BASE64;
}

Objection objection(const ValueRules& rules, std::string_view value) {
  switch (rules.type) {
    case GWCONF_TYPE_STRING:
      return check_length(rules, value);
    case GWCONF_TYPE_INT:
    case GWCONF_TYPE_UNSIGNED_INT:
      return check_number(rules, value);
    case GWCONF_TYPE_BOOLEAN:
      return unless(value == "0" || value == "1" || value == "false" || value == "true",
                    "not 0, 1, false or true");
    case GWCONF_TYPE_DATE_TIME:
      return unless(is_time(value), "not a time such as 2026-01-31T23:59:59Z");
    case GWCONF_TYPE_BASE64:
      if (!is_base64(value)) return "not base64";
      return check_length(rules, value);
    case GWCONF_TYPE_ENUMERATION:
      if (is_listed(rules.enumeration, value)) return {};
      return "not one of " + rules.enumeration;
    // An address that is not known (yet) is empty.
    case GWCONF_TYPE_IP_ADDRESS:
      return unless(value.empty() || ipv4_of(value), "not an address such as 192.168.1.1");
    case GWCONF_TYPE_NETMASK:
      return unless(value.empty() || is_netmask(value), "not a netmask such as 255.255.255.0");
    case GWCONF_TYPE_MAC_ADDRESS:
      return unless(value.empty() || is_mac_address(value),
                    "not an address such as 00:11:22:33:44:55");
    default:
      return {};
  }
}

}  // namespace gwconf::tool
