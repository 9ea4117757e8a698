#include "tools/live/attributes.h"

#include <array>
#include <optional>
#include <string_view>

#include "tools/live/verbs.h"

namespace gwconf::tool {
namespace {

constexpr int kBits = 16;
constexpr std::array<const char*, 8> kNames = {"writable",       "disabled",       "",
                                               "user-set",       "user-set-below", "notify-off",
                                               "notify-passive", "notify-active"};

struct AttrOptions {
  std::string path;
  std::vector<std::string> changes;  ///< NAME=0|1 or BIT=0|1
};

[[nodiscard]] bool has_name(int bit) {
  const auto index = static_cast<std::size_t>(bit);
  return index < kNames.size() && *kNames[index];
}

[[nodiscard]] std::string name_of(int bit) {
  return has_name(bit) ? kNames[static_cast<std::size_t>(bit)] : "bit" + std::to_string(bit);
}

struct Change {
  int bit = 0;
  bool on = false;
};

[[nodiscard]] std::optional<Change> change_of(std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) return {};
  const std::string_view name = text.substr(0, equals);
  const std::string_view value = text.substr(equals + 1);
  if (value != "0" && value != "1") return {};
  for (int bit = 0; bit < kBits; ++bit)
    if (name == name_of(bit) || name == std::to_string(bit)) return Change{bit, value == "1"};
  return {};
}

[[nodiscard]] std::vector<Change> changes_of(const AttrOptions& options) {
  std::vector<Change> changes;
  for (const std::string& text : options.changes) {
    const std::optional<Change> change = change_of(text);
    if (!change)
      throw Failure{Exit::kWrongUse,
                    "attr " + options.path + ": " + text +
                        " is no NAME=0, NAME=1, BIT=0 or BIT=1 with a bit of 0 to 15"};
    changes.push_back(*change);
  }
  return changes;
}

/// The named bits, and those without a name that are set.
void print(const Output& output, unsigned word) {
  for (int bit = 0; bit < kBits; ++bit) {
    const bool on = (word >> bit & 1U) != 0;
    if (on || has_name(bit)) output.line(name_of(bit) + (on ? "=1" : "=0"));
  }
}

/// Prints the attribute bits, or changes those that are given. All are read before the first is
/// sent.
[[nodiscard]] Exit attr(const Session& session, const AttrOptions& options) {
  const std::vector<Change> changes = changes_of(options);
  const std::string& path = options.path;
  // A path that names nothing is reported before anything changes.
  unsigned word = answer_of(session, "attr", path, session.client.get_attributes(path));
  for (const auto& [bit, on] : changes)
    if (const int code = session.client.set_attribute(path, bit, on); code != GWCONF_OK)
      return finish(session, "attr", path, code);
  if (!changes.empty())
    word = answer_of(session, "attr", path, session.client.get_attributes(path));
  else if (!session.output.json())
    print(session.output, word);
  return finish(session, "attr", path, GWCONF_OK,
                {{"word", word}, {"attributes", attribute_names(word)}});
}

}  // namespace

std::vector<std::string> attribute_names(unsigned word) {
  std::vector<std::string> names;
  for (int bit = 0; bit < kBits; ++bit)
    if ((word >> bit & 1U) != 0) names.push_back(name_of(bit));
  return names;
}

void add_attr(Registry& registry) {
  const auto [parser, options] =
      registry.add({"attr", "Print or change the attribute bits of a path",
                    "attr InternetGatewayDevice.Time.NTPServer1 notify-active=1"},
                   attr);
  parser.add_option("PATH", options.path, "Parameter, or object with its last dot")->required();
  parser.add_option("BIT=0|1", options.changes,
                    "Bits by number or name: writable, disabled, user-set, user-set-below, "
                    "notify-off, notify-passive, notify-active");
}

}  // namespace gwconf::tool
