#include "tools/apply/step.h"

#include <array>
#include <chrono>
#include <string_view>
#include <thread>

#include "core/counter.h"
#include "core/deleted_defaults.h"
#include "core/path.h"
#include "tools/base/exported_tree.h"
#include "tools/base/output.h"
#include "tools/base/path.h"

namespace gwconf::tool {
namespace {

using Kind = Step::Kind;

constexpr std::array<const char*, 4> kVerbs = {"set", "attributes", "add", "del"};
/// Bits that a request may change and that mean something.
constexpr unsigned kKnownBits = 0xfb;

/// How long taking back waits for a daemon that does not answer.
constexpr std::chrono::seconds kPatience{60};

Result<unsigned> word_of(const Client& client, const std::string& path) {
  Result<unsigned> word = client.get_attributes(path);
  word.value &= kKnownBits;
  return word;
}

/// Adds the step that restores the attribute bits of a path. Returns the request's code.
[[nodiscard]] int add_word(const Client& client, const std::string& path, Steps* steps) {
  const Result<unsigned> word = word_of(client, path);
  if (word) steps->push_back({.kind = Kind::kAttributes, .path = path, .word = word.value});
  return word.code;
}

/// Adds the steps that bring an object back with all that an export shows of it. Returns the code
/// of the first request that fails.
[[nodiscard]] int add_content(const Client& client, const std::string& path,
                              const ExportedObject& object, Steps* steps) {
  if (object.is_instance())
    steps->push_back({.kind = Kind::kAdd, .path = path, .is_virtual = !object.writable});
  for (const ExportedParameter& parameter : object.parameters) {
    const std::string own = path + parameter.name;
    // Counters follow the instances.
    if (!own.ends_with(kNumberOfEntries))
      steps->push_back({.kind = Kind::kSet, .path = own, .value = parameter.value});
    if (const int code = add_word(client, own, steps); code != GWCONF_OK) return code;
  }
  for (const ExportedObject& child : object.objects)
    if (const int code = add_content(client, path + child.name, child, steps); code != GWCONF_OK)
      return code;
  return add_word(client, path, steps);
}

[[nodiscard]] bool is_recorded_as_deleted(const Client& client, const std::string& path) {
  const Result<ExportedTree> records = load_exported_tree(client, std::string{kDeletedDefaults});
  if (!records) return false;
  for (const ExportedObject& record : records.value.root.objects)
    if (!record.parameters.empty() && record.parameters.front().value == path) return true;
  return false;
}

Result<Steps> undo_of_set(const Client& client, const std::string& path) {
  const Result<unsigned> word = word_of(client, path);
  if (!word) return {word.code, {}};
  const Result<ExportedParameter> before = load_exported_parameter(client, path);
  if (!before) return {before.code, {}};
  return {GWCONF_OK,
          {{.kind = Kind::kSet, .path = path, .value = before.value.value},
           {.kind = Kind::kAttributes, .path = path, .word = word.value}}};
}

[[nodiscard]] Steps undo_of_add(const Client& client, const std::string& path) {
  Steps steps;
  // Adding forgets that the default instance was deleted. Only the deletion of one that is not
  // user-set is recorded again.
  if (is_recorded_as_deleted(client, path))
    steps.push_back({.kind = Kind::kAttributes, .path = path, .word = 1});
  steps.push_back({.kind = Kind::kDelete, .path = path});
  return steps;
}

Result<Steps> undo_of_delete(const Client& client, const std::string& path) {
  const Result<ExportedTree> tree = load_exported_tree(client, path);
  if (!tree) return {tree.code, {}};
  Steps steps;
  const int code = add_content(client, path, tree.value.root, &steps);
  if (code != GWCONF_OK) return {code, {}};
  return {GWCONF_OK, std::move(steps)};
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
  switch (step.kind) {
    case Kind::kSet:
      return undo_of_set(client, step.path);
    case Kind::kAttributes: {
      Steps steps;
      return {add_word(client, step.path, &steps), steps};
    }
    case Kind::kAdd:
      return {GWCONF_OK, undo_of_add(client, step.path)};
    case Kind::kDelete:
      return undo_of_delete(client, step.path);
  }
  return {GWCONF_E_ARGUMENT, {}};
}

std::vector<std::string> undo(const Client& client, const Steps& steps) {
  std::vector<std::string> failures;
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
  return failures;
}

}  // namespace gwconf::tool
