#include "tools/offline/facts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <optional>

#include "core/number.h"
#include "tools/base/failure.h"
#include "tools/base/files.h"
#include "tools/offline/daemon_terms.h"
#include "tools/offline/text.h"

namespace gwconf::tool {
namespace {

using Row = std::vector<std::string>;

/// Reads comma-separated rows: a field may stand in quotes, in which a quote is doubled.
class TableReader {
 public:
  explicit TableReader(std::string_view text) : rest_{text} {}

  /// False behind the last row.
  bool next(Row* row) {
    row->clear();
    if (rest_.empty()) return false;
    do
      row->push_back(field());
    while (take(","));
    if (!take("\r\n") && !take("\n") && !rest_.empty()) malformed_ = true;
    return !malformed_;
  }

  [[nodiscard]] bool malformed() const { return malformed_; }

 private:
  bool take(std::string_view mark) {
    if (!rest_.starts_with(mark)) return false;
    rest_.remove_prefix(mark.size());
    return true;
  }

  std::string field() {
    std::string text;
    if (!take("\"")) {
      const std::size_t end = std::min(rest_.find_first_of(",\r\n"), rest_.size());
      text = rest_.substr(0, end);
      rest_.remove_prefix(end);
      return text;
    }
    for (;;) {
      const std::size_t quote = rest_.find('"');
      text += rest_.substr(0, quote);
      if (quote == std::string_view::npos) {
        malformed_ = true;
        rest_ = {};
        return text;
      }
      rest_.remove_prefix(quote + 1);
      if (!take("\"")) return text;
      text += '"';
    }
  }

  std::string_view rest_;
  bool malformed_ = false;
};

constexpr std::array<std::string_view, 13> kColumns = {
    "path",   "kind",    "type",          "min",  "max",    "max_length",     "enumeration",
    "access", "default", "since_version", "list", "status", "count_parameter"};

[[nodiscard]] std::optional<Fact::Kind> fact_kind(std::string_view text) {
  if (text == "object") return Fact::Kind::kObject;
  if (text == "table") return Fact::Kind::kTable;
  if (text == "parameter") return Fact::Kind::kParameter;
  return {};
}

/// The number in a column of limits; 0 when there is none.
[[nodiscard]] std::int64_t limit_of(std::string_view text) {
  std::int64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

/// Limits have 31 bits and a sign in the daemon; a larger bound counts as no bound there.
[[nodiscard]] std::string range_text(const Fact& fact) {
  const std::int64_t low = limit_of(fact.min);
  std::int64_t high = limit_of(fact.max);
  if (high > std::numeric_limits<std::int32_t>::max()) high = 0;
  if (high != 0) return '[' + std::to_string(low) + ':' + std::to_string(high) + ']';
  return low != 0 ? '[' + std::to_string(low) + ":]" : "";
}

[[nodiscard]] std::string length_text(std::int64_t length) {
  return length != 0 ? '(' + std::to_string(length) + ')' : "";
}

}  // namespace

Facts::Facts(const std::string& file) {
  constexpr std::size_t kLargest = std::size_t{64} << 20;
  const std::string text = read_file(file, kLargest).bytes;
  TableReader reader{text};
  Row row;
  std::array<std::size_t, kColumns.size()> places{};
  if (reader.next(&row)) {
    for (std::size_t column = 0; column < kColumns.size(); ++column)
      places[column] = static_cast<std::size_t>(
          std::find(row.begin(), row.end(), kColumns[column]) - row.begin());
  }
  const std::size_t columns = row.size();
  if (columns == 0 || *std::max_element(places.begin(), places.end()) >= columns)
    throw refused(file, "is no table of facts: a column is missing");
  while (reader.next(&row)) {
    const auto column = [&](std::size_t number) { return row[places[number]]; };
    const std::optional<Fact::Kind> kind =
        row.size() == columns ? fact_kind(column(1)) : std::nullopt;
    if (!kind) throw refused(file, "row " + std::to_string(facts_.size() + 2) + " is no fact");
    std::string path = column(0);
    if (path.starts_with(kRootSegment)) path.erase(0, kRootSegment.size());
    by_path_.emplace(path, facts_.size());
    facts_.push_back({.path = std::move(path),
                      .kind = *kind,
                      .type = column(2),
                      .min = column(3),
                      .max = column(4),
                      .max_length = column(5),
                      .enumeration = column(6),
                      .writable = column(7) == "readWrite",
                      .default_value = column(8),
                      .since_version = column(9),
                      .is_list = !column(10).empty(),
                      .status = column(11),
                      .count_parameter = column(12)});
  }
  if (reader.malformed())
    throw refused(file, "row " + std::to_string(facts_.size() + 2) + " is malformed");
}

const Fact* Facts::find(std::string_view path) const {
  const auto found = by_path_.find(path);
  return found == by_path_.end() ? nullptr : &facts_[found->second];
}

const Fact* Facts::at(std::string_view full_path) const {
  if (!full_path.starts_with(kRootSegment)) return nullptr;
  return find(model_form(full_path.substr(kRootSegment.size())));
}

std::string facts_file(const std::string& asked) {
  if (!asked.empty()) return asked;
  const char* environment = std::getenv("GWCONF_FACTS");
  if (environment && *environment) return environment;
  std::error_code error;
  const std::filesystem::path folder =
      std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
  const std::filesystem::path installed = (folder / GWCONF_INSTALLED_FACTS).lexically_normal();
  const std::filesystem::path own = folder / "tr098_facts.csv";
  const bool is_own =
      !std::filesystem::exists(installed, error) && std::filesystem::exists(own, error);
  return (is_own ? own : installed).string();
}

std::string type_text(const Fact& parameter) {
  const std::string& kind = parameter.type;
  const std::int64_t length = limit_of(parameter.max_length);
  // A list is more than one value of its item type. An enumeration travels beside a plain string:
  // a length would be lost with the first save.
  if (parameter.is_list) return type_name(kString) + length_text(length);
  if (!parameter.enumeration.empty()) return type_name(kString);
  if (kind == "string" || kind == "Alias" || kind == "UUID")
    return type_name(kString) + length_text(length);
  // The facts count bytes.
  if (kind == "hexBinary") return type_name(kString) + length_text(2 * length);
  if (kind == "base64") return type_name(kBase64) + length_text(length);
  if (kind == "int" || kind == "long") return type_name(kInt) + range_text(parameter);
  if (kind == "unsignedInt" || kind == "unsignedLong")
    return type_name(kUnsignedInt) + range_text(parameter);
  if (kind == "IPAddress")
    return type_name(parameter.path.ends_with("Mask") ? kNetmask : kIpAddress);
  if (kind == "MACAddress") return type_name(kMacAddress);
  if (kind == "boolean") return type_name(kBoolean);
  if (kind == "dateTime") return type_name(kDateTime);
  throw Failure{Exit::kRefused, parameter.path + ": no type for " + kind};
}

std::optional<ModelVersion> model_version(std::string_view text) {
  ModelVersion version;
  if (const std::size_t colon = text.rfind(':'); colon != std::string_view::npos) {
    version.model = text.substr(0, colon);
    text.remove_prefix(colon + 1);
  }
  for (bool more = true; more;) {
    const std::size_t dot = text.find('.');
    more = dot != std::string_view::npos;
    const std::optional<int> part = whole_number(text.substr(0, dot));
    if (!part) return {};
    version.numbers.push_back(*part);
    if (more) text.remove_prefix(dot + 1);
  }
  return version;
}

std::string_view own_name(std::string_view model_path) {
  if (model_path.ends_with(kAnyRow)) model_path.remove_suffix(kAnyRow.size());
  if (model_path.empty()) return {};
  const std::size_t dot = model_path.substr(0, model_path.size() - 1).rfind('.');
  return model_path.substr(dot == std::string_view::npos ? 0 : dot + 1);
}

std::string_view parameter_name(std::string_view path) {
  return path.substr(path.rfind('.') + 1);
}

std::string_view holder_of(std::string_view model_path) {
  if (!model_path.ends_with('.')) return model_path.substr(0, model_path.rfind('.') + 1);
  if (model_path.ends_with(kAnyRow)) model_path.remove_suffix(kAnyRow.size());
  return model_path.substr(0, model_path.size() - own_name(model_path).size());
}

std::string model_form(std::string_view path) {
  std::string form;
  while (!path.empty()) {
    const std::size_t dot = path.find('.');
    const std::string_view segment = path.substr(0, dot == std::string_view::npos ? dot : dot + 1);
    const bool is_number = dot != std::string_view::npos && dot > 0 &&
                           std::all_of(segment.begin(), segment.end() - 1, is_digit);
    form += is_number ? kAnyRow : segment;
    path.remove_prefix(segment.size());
  }
  return form;
}

}  // namespace gwconf::tool
