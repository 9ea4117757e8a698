#include "xml/value_type.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <limits>
#include <strings.h>

#include "core/number.h"

namespace gwconf {
namespace {

constexpr std::size_t kSuffixMax = 63;
constexpr std::size_t kWholeName = std::string_view::npos;

enum class Limits { kUnchanged, kLength, kRange, kFixed };

struct TypeRow {
  ValueType code;
  std::string_view name;
  Limits limits;
  std::int32_t max = 0;  ///< of fixed limits, whose minimum is 0
  std::size_t compared_by_dom = kWholeName;
};

/// In the order of comparison. The maxima of the addresses are the lengths of their longest forms.
constexpr TypeRow kTypes[] = {
    {kString, "string", Limits::kLength},
    {kInt, "int", Limits::kRange},
    {kBoolean, "boolean", Limits::kFixed, 1},
    {kUnsignedInt, "unsignedInt", Limits::kRange},
    {kDateTime, "dateTime", Limits::kUnchanged},
    {kBase64, "base64", Limits::kLength},
    {kIpAddress, "ipAddress", Limits::kFixed, 15, 6},
    {kNetmask, "netmask", Limits::kFixed, 15, 6},
    {kMacAddress, "macAddress", Limits::kFixed, 17, 6},
};

static_assert(std::size(kTypes) == kMacAddress - kString, "all codes but that of enumerations");

[[nodiscard]] bool names(std::string_view text, const TypeRow& row, TypeMatch match) {
  const std::size_t compared =
      match == TypeMatch::kDom ? std::min(row.compared_by_dom, row.name.size()) : row.name.size();
  return text.size() >= compared && strncasecmp(text.data(), row.name.data(), compared) == 0;
}

[[nodiscard]] const TypeRow* find_type(std::string_view text, TypeMatch match) {
  for (const TypeRow& row : kTypes)
    if (names(text, row, match)) return &row;
  return nullptr;
}

[[nodiscard]] constexpr bool is_name_character(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || is_digit(c);
}

/// What follows the leading run of characters that `leads` accepts, as far as it counts.
template <typename Leads>
[[nodiscard]] std::string_view suffix(std::string_view text, Leads leads) {
  const char* begin = std::find_if_not(text.begin(), text.end(), leads);
  const char* end = std::find_if(begin, text.end(), is_blank);
  return {begin, std::min(static_cast<std::size_t>(end - begin), kSuffixMax)};
}

[[nodiscard]] std::string_view without_last(std::string_view text) {
  return {text.data(), text.empty() ? 0 : text.size() - 1};
}

[[nodiscard]] std::string_view without_first(std::string_view text) {
  if (!text.empty()) text.remove_prefix(1);
  return text;
}

}  // namespace

void parse_value_type(std::string_view text, TypeMatch match, Parameter* param) {
  const TypeRow* row = find_type(text, match);
  if (!row) {
    param->type = kUnknownType;
    return;
  }
  param->type = row->code;
  switch (row->limits) {
    case Limits::kUnchanged:
      break;
    case Limits::kLength:
      param->min = 0;
      param->max = CM_XML2RAM_FindStrMax(text);
      break;
    case Limits::kRange:
      param->min = CM_XML2RAM_FindIntMin(text);
      param->max = CM_XML2RAM_FindIntMax(text);
      break;
    case Limits::kFixed:
      param->min = 0;
      param->max = row->max;
      break;
  }
}

std::int32_t CM_XML2RAM_FindIntMin(std::string_view type_text) {
  const std::string_view range = suffix(type_text, is_name_character);
  const std::size_t colon = range.find(':');
  if (colon == std::string_view::npos) return 0;
  return CM_XML2RAM_Multiplier_Check(without_first({range.data(), colon}));
}

std::int32_t CM_XML2RAM_FindIntMax(std::string_view type_text) {
  std::string_view range =
      suffix(type_text, [](char c) { return c == '[' || is_name_character(c); });
  const std::size_t colon = range.find(':');
  if (colon == std::string_view::npos) return 0;
  range.remove_prefix(colon + 1);
  return to_number(without_last(range));
}

std::int32_t CM_XML2RAM_FindStrMax(std::string_view type_text) {
  return CM_XML2RAM_Multiplier_Check(
      without_last(without_first(suffix(type_text, is_name_character))));
}

std::int32_t CM_XML2RAM_Multiplier_Check(std::string_view text) {
  const std::int32_t number = to_number(text);
  if (text.find('K') == std::string_view::npos && text.find('k') == std::string_view::npos)
    return number;
  using Bounds = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(
      std::clamp<std::int64_t>(std::int64_t{number} * 1024, Bounds::min(), Bounds::max()));
}

std::int32_t CM_GetFullDataTypeString(std::uint8_t code, std::int32_t min, std::int32_t max,
                                      std::span<char> out) {
  const char* name = "string";
  char limits[32] = "";
  for (const TypeRow& row : kTypes) {
    if (row.code != code) continue;
    name = row.name.data();
    if (row.limits == Limits::kLength && max != 0)
      std::snprintf(limits, sizeof limits, "(%d)", max);
    else if (row.limits == Limits::kRange && max != 0)
      std::snprintf(limits, sizeof limits, "[%d:%d]", min, max);
    else if (row.limits == Limits::kRange && min != 0)
      std::snprintf(limits, sizeof limits, "[%d:]", min);
  }
  return std::snprintf(out.data(), out.size(), "%s%s", name, limits);
}

}  // namespace gwconf
