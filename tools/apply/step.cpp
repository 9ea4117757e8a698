#include "tools/apply/step.h"

#include <array>
#include <chrono>
#include <string_view>
#include <thread>

#include "core/counter.h"
#include "core/deleted_defaults.h"
#include "core/path.h"
#include "tools/base/live_tree.h"

namespace gwconf::tool {
namespace {

using Kind = Step::Kind;

constexpr std::array<const char*, 4> kVerbs = {"set", "attributes", "add", "del"};
/// Bits that a request may change and that mean something.
constexpr unsigned kKnownBits = 0xfb;

/// How long taking back waits for a daemon that does not answer.
constexpr std::chrono::seconds kPatience{60};

/// A failed request while a deleted instance is written down.
struct Lost {
  int code;
};

[[nodiscard]] unsigned word_of(const Client& client, const std::string& path) {
  const Result<unsigned> word = client.get_attributes(path);
  if (!word) throw Lost{word.code};
  return word.value & kKnownBits;
}

void add_content(const Client& client, const std::string& path, const LiveObject& object,
                 Steps& steps) {
  if (object.is_instance())
    steps.push_back({.kind = Kind::kAdd, .path = path, .is_virtual = !object.writable});
  for (const LiveParameter& parameter : object.parameters) {
    const std::string own = path + parameter.name;
    // Counters follow the instances.
    if (!own.ends_with(kNumberOfEntries))
      steps.push_back({.kind = Kind::kSet, .path = own, .value = parameter.value});
    steps.push_back({.kind = Kind::kAttributes, .path = own, .word = word_of(client, own)});
  }
  for (const LiveObject& child : object.objects)
    add_content(client, path + child.name, child, steps);
  steps.push_back({.kind = Kind::kAttributes, .path = path, .word = word_of(client, path)});
}

[[nodiscard]] bool is_recorded_as_deleted(const Client& client, const std::string& path) {
  const Result<LiveTree> records = load_live_tree(client, std::string{kDeletedDefaults});
  if (!records) return false;
  for (const LiveObject& record : records.value.root.objects)
    if (!record.parameters.empty() && record.parameters.front().value == path) return true;
  return false;
}

[[nodiscard]] int set_word(const Client& client, const std::string& path, unsigned word) {
  const Result<unsigned> now = client.get_attributes(path);
  if (!now) return now.code;
  for (int bit = 0; bit < 8; ++bit) {
    const unsigned mask = 1U << bit;
    if ((kKnownBits & mask) == 0 || ((now.value ^ word) & mask) == 0) continue;
    if (const int code = client.set_attribute(path, bit, (word & mask) != 0); code != GWCONF_OK)
      return code;
  }
  return GWCONF_OK;
}

/// Whether a change that is taken back may answer so: it was never made.
[[nodiscard]] bool is_good_undo(const Step& step, int code) {
  return code == GWCONF_OK || (step.kind == Kind::kAdd && code == GWCONF_EXISTS) ||
         (step.kind == Kind::kDelete && code == GWCONF_NOT_FOUND);
}

}  // namespace

std::string name_of(const Step& step) {
  return std::string{kVerbs[static_cast<std::size_t>(step.kind)]} + " " + step.path;
}

int perform(const Client& client, const Step& step) {
  const SplitPath place = split(step.path);
  const unsigned number = instance_number(place.segment);
  switch (step.kind) {
    case Kind::kSet: {
      const int code = client.set_value(step.path, step.value);
      return code == GWCONF_UNCHANGED ? GWCONF_OK : code;
    }
    case Kind::kAttributes:
      return set_word(client, step.path, step.word);
    case Kind::kAdd:
      return step.is_virtual ? client.add_virtual_instance(place.parent, number)
                             : client.add_instance(place.parent, number);
    case Kind::kDelete:
      return client.delete_instance(place.parent, number);
  }
  return GWCONF_E_ARGUMENT;
}

Result<Steps> undo_of(const Client& client, const Step& step) {
  Steps steps;
  try {
    if (step.kind == Kind::kSet) {
      const unsigned word = word_of(client, step.path);
      const Result<LiveParameter> before = load_live_parameter(client, step.path);
      if (!before) return {before.code, {}};
      steps = {{.kind = Kind::kSet, .path = step.path, .value = before.value.value},
               {.kind = Kind::kAttributes, .path = step.path, .word = word}};
    } else if (step.kind == Kind::kAdd) {
      // Adding forgets that the default instance was deleted. Only the deletion of one that is not
      // user-set is recorded again.
      if (is_recorded_as_deleted(client, step.path))
        steps.push_back({.kind = Kind::kAttributes, .path = step.path, .word = 1});
      steps.push_back({.kind = Kind::kDelete, .path = step.path});
    } else if (step.kind == Kind::kDelete) {
      const Result<LiveTree> tree = load_live_tree(client, step.path);
      if (!tree) return {tree.code, {}};
      add_content(client, step.path, tree.value.root, steps);
    } else {
      steps = {{.kind = step.kind, .path = step.path, .word = word_of(client, step.path)}};
    }
  } catch (const Lost& lost) {
    return {lost.code, {}};
  }
  return {GWCONF_OK, std::move(steps)};
}

void undo(const Client& client, const Steps& steps, std::vector<std::string>& failures) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  for (const Step& step : steps) {
    int code = perform(client, step);
    while (Output::exit_of(code) == Exit::kUnreachable && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(std::chrono::seconds{1});
      code = perform(client, step);
    }
    if (!is_good_undo(step, code))
      failures.push_back(name_of(step) + ": " + std::to_string(code) + " (" +
                         gwconf_strerror(code) + ")");
  }
}

Json json_of(const Steps& steps) {
  // Bytes, not text: neither a name nor a value need be UTF-8.
  const auto bytes_of = [](const std::string& text) {
    return std::vector<int>(text.begin(), text.end());
  };
  Json rows = Json::array();
  for (const Step& step : steps)
    rows.push_back({{"kind", static_cast<int>(step.kind)},
                    {"path", bytes_of(step.path)},
                    {"value", bytes_of(step.value)},
                    {"word", step.word},
                    {"virtual", step.is_virtual}});
  return rows;
}

Steps steps_of(const Json& json) {
  const auto text_of = [](const Json& bytes) {
    std::string text;
    for (const Json& byte : bytes)
      text += static_cast<char>(byte.get<int>());
    return text;
  };
  Steps steps;
  for (const Json& row : json)
    steps.push_back({.kind = static_cast<Kind>(row.at("kind").get<int>()),
                     .path = text_of(row.at("path")),
                     .value = text_of(row.at("value")),
                     .word = row.at("word").get<unsigned>(),
                     .is_virtual = row.at("virtual").get<bool>()});
  return steps;
}

}  // namespace gwconf::tool
