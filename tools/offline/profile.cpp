#include "tools/offline/profile.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>

#include "core/number.h"
#include "gwconf/client.h"
#include "tools/base/failure.h"
#include "tools/base/files.h"

namespace gwconf::tool {
namespace {

[[nodiscard]] std::string_view stripped(std::string_view text) {
  while (!text.empty() && is_blank(text.front()))
    text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back()))
    text.remove_suffix(1);
  return text;
}

/// Takes the first word off a text that begins with none but its own characters.
[[nodiscard]] std::string_view take_word(std::string_view& text) {
  const auto end = std::find_if(text.begin(), text.end(), is_blank);
  const std::string_view word = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  text = stripped(text.substr(word.size()));
  return word;
}

/// A whole number and nothing else.
[[nodiscard]] std::optional<int> whole_number(std::string_view text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) return {};
  return number;
}

/// "1.10" as its numbers, which compare as versions do.
[[nodiscard]] std::optional<std::vector<int>> version_of(std::string_view text) {
  std::vector<int> version;
  for (bool more = true; more;) {
    const std::size_t dot = text.find('.');
    more = dot != std::string_view::npos;
    const std::optional<int> part = whole_number(text.substr(0, dot));
    if (!part) return {};
    version.push_back(*part);
    if (more) text.remove_prefix(dot + 1);
  }
  return version;
}

/// "VoiceService:1.0" as the name of a data model and the version behind it; the gateway's own
/// model has no name.
[[nodiscard]] std::pair<std::string_view, std::string_view> model_and_version(
    std::string_view text) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string_view::npos) return {{}, text};
  return {text.substr(0, colon), text.substr(colon + 1)};
}

/// The default where the standard names none.
[[nodiscard]] std::string neutral_value(std::string_view type, std::string_view enumeration) {
  if (!enumeration.empty()) return std::string{enumeration.substr(0, enumeration.find(','))};
  if (type == "boolean") return "0";
  if (type == "dateTime") return "0001-01-01T00:00:00Z";
  if (!type.starts_with("int") && !type.starts_with("unsignedInt")) return {};
  const std::size_t bracket = type.find('[');
  if (bracket == std::string_view::npos) return "0";
  const std::string_view range = type.substr(bracket + 1);
  const std::int32_t low = to_number(range);
  std::int32_t high = to_number(range.substr(std::min(range.find(':'), range.size() - 1) + 1));
  if (high == 0) high = std::numeric_limits<std::int32_t>::max();
  return low <= 0 && high >= 0 ? "0" : std::to_string(low);
}

[[nodiscard]] ModelParameter parameter_of(const Fact& fact) {
  ModelParameter parameter{std::string{parameter_name(fact.path)}, type_text(fact),
                           std::string{fact.allowed_values()}, fact.writable, fact.default_value};
  if (parameter.type == "boolean" && !parameter.default_value.empty())
    parameter.default_value = parameter.default_value == "true" ? "1" : "0";
  if (parameter.default_value.empty())
    parameter.default_value = neutral_value(parameter.type, parameter.enumeration);
  return parameter;
}

/// Whether a path of the profile covers one of the tree. A number covers itself, "{i}" every row
/// and, where the template takes part, the template.
[[nodiscard]] bool covers(std::string_view pattern, std::string_view path, bool with_template) {
  for (;;) {
    const std::size_t pattern_dot = pattern.find('.');
    const std::size_t dot = path.find('.');
    const std::string_view wanted = pattern.substr(0, pattern_dot);
    const std::string_view part = path.substr(0, dot);
    const bool any = wanted == "{i}" && (with_template || part != "0");
    if (!any && wanted != part) return false;
    if (pattern_dot == std::string_view::npos || dot == std::string_view::npos)
      return pattern_dot == dot;
    pattern.remove_prefix(pattern_dot + 1);
    path.remove_prefix(dot + 1);
  }
}

template <typename Named>
[[nodiscard]] const std::size_t* find_named(const Named& named, std::string_view path) {
  const auto found = std::find_if(named.rbegin(), named.rend(),
                                  [path](const auto& entry) { return entry.first == path; });
  return found == named.rend() ? nullptr : &found->second;
}

}  // namespace

ModelParameter* ModelObject::find(std::string_view name) {
  const auto found = std::find_if(parameters.begin(), parameters.end(),
                                  [name](const auto& one) { return one.name == name; });
  return found == parameters.end() ? nullptr : &*found;
}

Profile::Profile(const Facts& facts, const std::string& file) : facts_{facts}, file_{file} {
  constexpr std::size_t kLargest = std::size_t{16} << 20;
  const FileContent content = read_file(file, kLargest);
  if (content.size > kLargest) throw refused(file, "is no profile: too large");
  for (const Fact& fact : facts_.all())
    if (!fact.count_parameter.empty())
      counted_by_[std::string{holder_of(fact.path)} + fact.count_parameter].push_back(fact.path);
  read(content.bytes);
  build();
}

void Profile::fail(const std::string& complaint, std::size_t number) const {
  throw Failure{Exit::kRefused, file_ + ':' + std::to_string(number) + ": " + complaint};
}

// --- reading

void Profile::read(std::string_view text) {
  for (bool more = true; more;) {
    ++number_;
    const std::size_t end = text.find('\n');
    more = end != std::string_view::npos;
    read_line(stripped(text.substr(0, end)));
    if (more) text.remove_prefix(end + 1);
  }
}

void Profile::read_line(std::string_view line) {
  if (line.empty() || line.starts_with('#')) return;
  if (line.starts_with('[')) {
    if (!line.ends_with(']')) fail("a section has no closing bracket");
    section_ = line.substr(1, line.size() - 2);
    return;
  }
  const std::string_view verb = take_word(line);
  if (verb == "since") return read_since(line);
  const std::string_view name = take_word(line);
  std::string path = section_;
  path += name.starts_with('.') ? name.substr(1) : name;
  if (name.empty()) fail(std::string{verb} + " needs a path");
  read_statement(verb, path, line);
}

void Profile::read_statement(std::string_view verb, const std::string& path,
                             std::string_view text) {
  const auto assign = [&](Verb kind, std::string_view value) {
    constexpr std::size_t kSavedMax = 2047;
    if (value.size() > kSavedMax) fail("a text of that length could not be saved");
    assignments_[static_cast<std::size_t>(kind)][model_form(path)].push_back(
        {path, std::string{value}, {}, number_});
  };
  if (verb == "object") {
    require_fact(path, false, true);
    taken_.emplace_back(path, number_);
  } else if (verb == "tree") {
    require_fact(path, false, true);
    trees_.emplace_back(path, number_);
  } else if (verb == "without") {
    require_fact(path, true, true);
    without_.emplace_back(path, number_);
  } else if (verb == "with") {
    require_fact(path, true, false);
    with_.emplace_back(path, number_);
  } else if (verb == "vendor") {
    auto object = std::make_unique<ModelObject>();
    object->path = path;
    object->writable = is_writable(verb, text);
    additions_.push_back({number_, path, std::move(object), {}, false});
  } else if (verb == "param") {
    read_param(path, text);
  } else if (verb == "counter") {
    if (!path.ends_with("." + std::string{kAnyRow}) || text.empty())
      fail("counter needs a table and a name");
    ModelParameter counter{std::string{text}, "unsignedInt", {}, false, "0"};
    additions_.push_back({number_, path, nullptr, std::move(counter), true});
  } else if (verb == "type") {
    types_.push_back({{path, number_}, std::string{text}});
  } else if (verb == "instances") {
    read_instances(path, text);
  } else if (verb == "set") {
    assign(Verb::kSet, text);
  } else if (verb == "live") {
    assign(Verb::kLive, text);
  } else if (verb == "notify") {
    if (text != "passive" && text != "active") fail("notify needs passive or active");
    assign(Verb::kNotify, text == "active" ? "2" : "1");
  } else {
    fail("unknown word " + std::string{verb});
  }
}

void Profile::read_since(std::string_view text) {
  const auto [model, version] = model_and_version(text);
  const std::optional<std::vector<int>> numbers = version_of(version);
  if (!numbers) fail("since needs a version such as 1.5");
  since_[std::string{model}] = *numbers;
}

bool Profile::is_writable(std::string_view verb, std::string_view access) const {
  if (access != "ro" && access != "rw") fail(std::string{verb} + " needs ro or rw");
  return access == "rw";
}

void Profile::read_param(const std::string& path, std::string_view text) {
  const std::string_view type = take_word(text);
  const std::string_view access = take_word(text);
  if (access != "ro" && access != "rw") fail("param needs a type and ro or rw");
  ModelParameter parameter{std::string{parameter_name(path)},
                           std::string{type},
                           {},
                           access == "rw",
                           text.empty() ? neutral_value(type, {}) : std::string{text}};
  additions_.push_back({number_, path, nullptr, std::move(parameter), false});
}

void Profile::read_instances(const std::string& path, std::string_view text) {
  constexpr const char* kComplaint = "instances needs ascending numbers from 1";
  Line line{path, {}, {}, number_};
  while (!text.empty()) {
    const std::string_view part = take_word(text);
    const std::size_t dash = part.find('-');
    const std::optional<int> first = whole_number(part.substr(0, dash));
    const std::optional<int> last =
        dash == std::string_view::npos ? first : whole_number(part.substr(dash + 1));
    const int before = line.rows.empty() ? 0 : line.rows.back();
    if (!first || !last || *first <= before || *last < *first) fail(kComplaint);
    if (*last > GWCONF_INSTANCE_MAX) fail("no request can name a row above 99999");
    for (int number = *first; number <= *last; ++number)
      line.rows.push_back(number);
  }
  if (line.rows.empty()) fail(kComplaint);
  instances_[model_form(path) + std::string{kAnyRow}].push_back(std::move(line));
}

void Profile::require_fact(const std::string& path, bool parameters, bool objects) const {
  const Fact* fact = path.empty() ? nullptr : facts_.find(path);
  const bool found = fact && (fact->kind == Fact::Kind::kParameter ? parameters : objects);
  if (!found)
    fail(std::string{"the facts have no such "} + (parameters ? "parameter" : "object") + ": " +
         path);
}

// --- building: the order of the facts is the order of the device; what the profile adds comes
// behind it, in the profile's order

ModelObject* Profile::find(std::string_view path) const {
  const auto found = objects_.find(path);
  return found == objects_.end() ? nullptr : found->second.get();
}

void Profile::build() {
  objects_.emplace("", std::make_unique<ModelObject>());
  build_objects();
  build_parameters();
  for (Addition& addition : additions_) {
    number_ = addition.number;
    add(addition);
  }
  for (const auto& [named, type] : types_) {
    const auto& [path, number] = named;
    ModelObject* holder = find(holder_of(path));
    ModelParameter* parameter = holder ? holder->find(parameter_name(path)) : nullptr;
    if (!parameter) fail("the device has no such parameter: " + path, number);
    parameter->type = type;
  }
  for (const auto& [path, number] : with_)
    if (!find(holder_of(path))) fail("nothing holds " + path, number);
}

void Profile::build_objects() {
  for (const Fact& fact : facts_.all()) {
    if (fact.path.empty() || fact.kind == Fact::Kind::kParameter || !takes_object(fact)) continue;
    auto object = std::make_unique<ModelObject>();
    object->path = fact.path;
    object->writable = fact.writable;
    if (!fact.count_parameter.empty()) object->counters.push_back(fact.count_parameter);
    adopt(std::move(object));
  }
}

void Profile::build_parameters() {
  for (const Fact& fact : facts_.all()) {
    if (fact.kind != Fact::Kind::kParameter) continue;
    ModelObject* holder = find(holder_of(fact.path));
    if (holder && takes_parameter(fact, *holder)) holder->parameters.push_back(parameter_of(fact));
  }
}

void Profile::adopt(std::unique_ptr<ModelObject> child) {
  ModelObject* holder = find(holder_of(child->path));
  if (!holder) fail("nothing holds " + child->path);
  holder->children.push_back(child.get());
  std::string path = child->path;
  if (!objects_.emplace(path, std::move(child)).second) fail(path + " is there already");
}

void Profile::add(Addition& addition) {
  if (addition.object) return adopt(std::move(addition.object));
  ModelObject* holder = find(holder_of(addition.path));
  if (!holder) fail("nothing holds " + addition.path);
  if (addition.counts) {
    ModelObject* table = find(addition.path);
    if (!table) fail("the device has no such table: " + addition.path);
    table->counters.push_back(addition.parameter.name);
  }
  if (holder->find(addition.parameter.name)) fail(addition.path + " is there already");
  holder->parameters.push_back(addition.parameter);
}

bool Profile::is_too_new_or_old(const Fact& fact) const {
  if (!fact.status.empty()) return true;
  const auto [model, version] = model_and_version(fact.since_version);
  const auto limit = since_.find(model);
  const std::optional<std::vector<int>> numbers = version_of(version);
  return limit != since_.end() && numbers && *numbers > limit->second;
}

bool Profile::takes_object(const Fact& fact) {
  const auto is_around = [&fact](const auto& named) { return fact.path.starts_with(named.first); };
  if (std::any_of(without_.begin(), without_.end(), is_around)) return false;
  if (const std::size_t* number = find_named(taken_, fact.path)) {
    number_ = *number;
    return true;
  }
  const auto tree = std::find_if(trees_.begin(), trees_.end(), is_around);
  if (tree == trees_.end()) return false;
  number_ = tree->second;
  for (std::string_view path = fact.path;; path = holder_of(path)) {
    if (const Fact* held = facts_.find(path); held && is_too_new_or_old(*held)) return false;
    if (find_named(trees_, path)) return true;
  }
}

bool Profile::takes_parameter(const Fact& fact, const ModelObject& holder) const {
  if (find_named(with_, fact.path)) return true;
  if (find_named(without_, fact.path) || is_too_new_or_old(fact)) return false;
  // The counter of a table that the device does not have goes with it.
  const auto counted = counted_by_.find(fact.path);
  if (counted == counted_by_.end()) return true;
  return std::any_of(counted->second.begin(), counted->second.end(), [&](const auto& table) {
    return std::any_of(holder.children.begin(), holder.children.end(),
                       [&table](const ModelObject* child) { return child->path == table; });
  });
}

// --- what the document asks

std::vector<int> Profile::rows(const ModelObject& table, std::string_view path) {
  if (path.starts_with("0.") || path.find(".0.") != std::string_view::npos) return {};
  const std::vector<int>* found = nullptr;
  const auto lines = instances_.find(table.path);
  if (lines == instances_.end()) return {};
  for (Line& line : lines->second) {
    if (!covers(line.path, path, false)) continue;
    line.used = true;
    found = &line.rows;
  }
  return found ? *found : std::vector<int>{};
}

const std::string* Profile::text(Verb verb, std::string_view path) {
  Lines& assignments = assignments_[static_cast<std::size_t>(verb)];
  const auto lines = assignments.find(model_form(path));
  if (lines == assignments.end()) return nullptr;
  const std::string* found = nullptr;
  for (Line& line : lines->second) {
    if (!covers(line.path, path, true)) continue;
    line.used = true;
    found = &line.text;
  }
  return found;
}

void Profile::require_all_used() const {
  const Line* first = nullptr;
  const auto look = [&first](const Lines& lines) {
    for (const auto& [path, some] : lines)
      for (const Line& line : some)
        if (!line.used && (!first || line.number < first->number)) first = &line;
  };
  for (const Lines& lines : assignments_)
    look(lines);
  look(instances_);
  if (first) fail("the device has no such place: " + first->path, first->number);
}

}  // namespace gwconf::tool
