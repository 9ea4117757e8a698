#include "tools/live/attributes.h"

#include <array>
#include <optional>
#include <string_view>

namespace gwconf::tool {
namespace {

constexpr int kBits = 16;
constexpr std::array<const char*, 8> kNames = {"writable",       "disabled",       "",
                                               "user-set",       "user-set-below", "notify-off",
                                               "notify-passive", "notify-active"};

[[nodiscard]] std::string name_of(int bit) {
  const auto index = static_cast<std::size_t>(bit);
  if (index < kNames.size() && *kNames[index]) return kNames[index];
  return "bit" + std::to_string(bit);
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

}  // namespace

std::vector<std::string> attribute_names(unsigned word) {
  std::vector<std::string> names;
  for (int bit = 0; bit < kBits; ++bit)
    if ((word >> bit & 1U) != 0) names.push_back(name_of(bit));
  return names;
}

Exit attributes(const Session& session, const std::string& path,
                const std::vector<std::string>& changes) {
  std::vector<Change> wanted;
  for (const std::string& text : changes) {
    const std::optional<Change> change = change_of(text);
    if (!change) {
      session.output.complaint(
          "attr " + path, text + " is no NAME=0, NAME=1, BIT=0 or BIT=1 with a bit of 0 to 15");
      return Exit::kWrongUse;
    }
    wanted.push_back(*change);
  }
  // A path that names nothing is told before anything changes.
  Result<unsigned> word = session.client.get_attributes(path);
  int code = word.code;
  for (const auto& [bit, on] : wanted)
    if (code == GWCONF_OK) code = session.client.set_attribute(path, bit, on);
  if (code == GWCONF_OK && !wanted.empty()) {
    word = session.client.get_attributes(path);
    code = word.code;
  }
  Json fields = Json::object();
  if (code == GWCONF_OK) {
    fields["word"] = word.value;
    fields["attributes"] = attribute_names(word.value);
  }
  if (code == GWCONF_OK && wanted.empty() && !session.output.json())
    for (int bit = 0; bit < kBits; ++bit)
      if (const bool on = (word.value >> bit & 1U) != 0;
          on || name_of(bit) != "bit" + std::to_string(bit))
        session.output.line(name_of(bit) + (on ? "=1" : "=0"));
  return finish(session, "attr", path, code, fields);
}

}  // namespace gwconf::tool
