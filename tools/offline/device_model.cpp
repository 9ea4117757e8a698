#include "tools/offline/device_model.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

#include "core/number.h"
#include "tools/offline/daemon_terms.h"

namespace gwconf::tool {
namespace {

using Place = ProfileStatements::Place;
using Addition = ProfileStatements::Addition;

/// 0, or the lower limit where a type text such as "int[5:10]" does not allow 0.
[[nodiscard]] std::string neutral_number(std::string_view type) {
  const std::size_t bracket = type.find('[');
  if (bracket == std::string_view::npos) return "0";
  const std::string_view range = type.substr(bracket + 1);
  const std::int32_t low = to_number(range);
  std::int32_t high = to_number(range.substr(std::min(range.find(':'), range.size() - 1) + 1));
  if (high == 0) high = std::numeric_limits<std::int32_t>::max();
  return low <= 0 && high >= 0 ? "0" : std::to_string(low);
}

/// The default where the standard names none.
[[nodiscard]] std::string neutral_value(std::string_view type, std::string_view enumeration) {
  if (!enumeration.empty()) return std::string{enumeration.substr(0, enumeration.find(','))};
  if (type == type_name(kBoolean)) return "0";
  if (type == type_name(kDateTime)) return "0001-01-01T00:00:00Z";
  const bool is_number =
      type.starts_with(type_name(kInt)) || type.starts_with(type_name(kUnsignedInt));
  return is_number ? neutral_number(type) : std::string{};
}

[[nodiscard]] ModelParameter parameter_of(const Fact& fact) {
  ModelParameter parameter{std::string{parameter_name(fact.path)}, type_text(fact),
                           std::string{fact.allowed_values()}, fact.writable, fact.default_value};
  if (parameter.type == type_name(kBoolean) && !parameter.default_value.empty())
    parameter.default_value = parameter.default_value == "true" ? "1" : "0";
  if (parameter.default_value.empty())
    parameter.default_value = neutral_value(parameter.type, parameter.enumeration);
  return parameter;
}

[[nodiscard]] ModelParameter parameter_of(const Addition& addition) {
  if (addition.kind == Addition::Kind::kCounter)
    return {addition.text, type_name(kUnsignedInt), {}, false, "0"};
  return {std::string{parameter_name(addition.place.path)},
          addition.type,
          {},
          addition.writable,
          addition.text.empty() ? neutral_value(addition.type, {}) : addition.text};
}

/// The last place with exactly that path; null when there is none.
[[nodiscard]] const Place* find_place(const std::vector<Place>& places, std::string_view path) {
  const auto found = std::find_if(places.rbegin(), places.rend(),
                                  [path](const Place& place) { return place.path == path; });
  return found == places.rend() ? nullptr : &*found;
}

/// The first place at or around a path; null when there is none.
[[nodiscard]] const Place* find_around(const std::vector<Place>& places, std::string_view path) {
  const auto found = std::find_if(places.begin(), places.end(), [path](const Place& place) {
    return path.starts_with(place.path);
  });
  return found == places.end() ? nullptr : &*found;
}

class DeviceBuilder {
 public:
  DeviceBuilder(const Facts& facts, const ProfileStatements& statements,
                const std::string& profile_file)
      : facts_{facts}, statements_{statements}, file_{profile_file} {
    for (const Fact& fact : facts_.all())
      if (!fact.count_parameter.empty())
        counted_by_[std::string{holder_of(fact.path)} + fact.count_parameter].push_back(fact.path);
  }

  ModelObjects run() {
    objects_.emplace("", std::make_unique<ModelObject>());
    take_objects();
    take_parameters();
    for (const Addition& addition : statements_.additions)
      add(addition);
    for (const ProfileStatements::Type& type : statements_.types)
      set_type(type);
    for (const Place& place : statements_.with)
      if (!find(holder_of(place.path))) fail("nothing holds " + place.path, place.line);
    return std::move(objects_);
  }

 private:
  [[noreturn]] void fail(const std::string& complaint, std::size_t line) const {
    throw refused_line(file_, line, complaint);
  }

  [[nodiscard]] ModelObject* find(std::string_view path) const {
    const auto found = objects_.find(path);
    return found == objects_.end() ? nullptr : found->second.get();
  }

  // --- what the device has of the standard

  void take_objects() {
    for (const Fact& fact : facts_.all()) {
      if (fact.path.empty() || fact.kind == Fact::Kind::kParameter) continue;
      const std::optional<std::size_t> line = line_that_takes(fact);
      if (!line) continue;
      auto object = std::make_unique<ModelObject>();
      object->path = fact.path;
      object->writable = fact.writable;
      if (!fact.count_parameter.empty()) object->counters.push_back(fact.count_parameter);
      adopt(std::move(object), *line);
    }
  }

  /// The line because of which the device has an object; nothing when it has not.
  [[nodiscard]] std::optional<std::size_t> line_that_takes(const Fact& fact) const {
    if (find_around(statements_.without, fact.path)) return {};
    if (const Place* place = find_place(statements_.objects, fact.path)) return place->line;
    const Place* tree = find_around(statements_.trees, fact.path);
    if (!tree) return {};
    for (std::string_view path = fact.path;; path = holder_of(path)) {
      if (const Fact* holder = facts_.find(path); holder && is_too_new_or_old(*holder)) return {};
      if (find_place(statements_.trees, path)) return tree->line;
    }
  }

  void take_parameters() {
    for (const Fact& fact : facts_.all()) {
      if (fact.kind != Fact::Kind::kParameter) continue;
      ModelObject* holder = find(holder_of(fact.path));
      if (holder && takes(fact, *holder)) holder->parameters.push_back(parameter_of(fact));
    }
  }

  [[nodiscard]] bool takes(const Fact& fact, const ModelObject& holder) const {
    if (find_place(statements_.with, fact.path)) return true;
    if (find_place(statements_.without, fact.path) || is_too_new_or_old(fact)) return false;
    // The counter of a table that the device does not have goes with it.
    const auto counted = counted_by_.find(fact.path);
    if (counted == counted_by_.end()) return true;
    return std::any_of(counted->second.begin(), counted->second.end(), [&](const auto& table) {
      return std::any_of(holder.children.begin(), holder.children.end(),
                         [&table](const ModelObject* child) { return child->path == table; });
    });
  }

  [[nodiscard]] bool is_too_new_or_old(const Fact& fact) const {
    if (!fact.status.empty()) return true;
    const std::optional<ModelVersion> version = model_version(fact.since_version);
    if (!version) return false;
    const auto newest = statements_.since.find(version->model);
    return newest != statements_.since.end() && version->numbers > newest->second;
  }

  // --- what it has beside

  void add(const Addition& addition) {
    const auto& [path, line] = addition.place;
    if (addition.kind == Addition::Kind::kObject) {
      auto object = std::make_unique<ModelObject>();
      object->path = path;
      object->writable = addition.writable;
      return adopt(std::move(object), line);
    }
    ModelObject* holder = find(holder_of(path));
    if (!holder) fail("nothing holds " + path, line);
    ModelParameter parameter = parameter_of(addition);
    if (addition.kind == Addition::Kind::kCounter) {
      ModelObject* table = find(path);
      if (!table) fail("the device has no such table: " + path, line);
      table->counters.push_back(parameter.name);
    }
    if (holder->find(parameter.name)) fail(path + " is there already", line);
    holder->parameters.push_back(std::move(parameter));
  }

  void adopt(std::unique_ptr<ModelObject> child, std::size_t line) {
    ModelObject* holder = find(holder_of(child->path));
    if (!holder) fail("nothing holds " + child->path, line);
    holder->children.push_back(child.get());
    std::string path = child->path;
    if (!objects_.emplace(path, std::move(child)).second) fail(path + " is there already", line);
  }

  void set_type(const ProfileStatements::Type& type) {
    const auto& [path, line] = type.place;
    ModelObject* holder = find(holder_of(path));
    ModelParameter* parameter = holder ? holder->find(parameter_name(path)) : nullptr;
    if (!parameter) fail("the device has no such parameter: " + path, line);
    parameter->type = type.text;
  }

  const Facts& facts_;
  const ProfileStatements& statements_;
  const std::string& file_;
  std::map<std::string, std::vector<std::string>, std::less<>> counted_by_;
  ModelObjects objects_;
};

}  // namespace

ModelParameter* ModelObject::find(std::string_view name) {
  const auto found = std::find_if(parameters.begin(), parameters.end(),
                                  [name](const auto& one) { return one.name == name; });
  return found == parameters.end() ? nullptr : &*found;
}

ModelObjects build_device(const Facts& facts, const ProfileStatements& statements,
                          const std::string& profile_file) {
  return DeviceBuilder{facts, statements, profile_file}.run();
}

}  // namespace gwconf::tool
