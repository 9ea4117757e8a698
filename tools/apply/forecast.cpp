#include "tools/apply/forecast.h"

#include <algorithm>
#include <optional>

#include "tools/base/path.h"
#include "tools/live/assignment.h"
#include "tools/live/instances.h"

namespace gwconf::tool {
namespace {

[[nodiscard]] bool lies_in(const std::string& path, const std::set<std::string>& objects) {
  for (std::size_t dot = path.find('.'); dot != std::string::npos; dot = path.find('.', dot + 1))
    if (objects.contains(path.substr(0, dot + 1))) return true;
  return false;
}

[[nodiscard]] Failure fault(const BatchLine& line, const std::string& text) {
  return {Exit::kFindings, line.place + ": " + name_of(line.step) + ": " + text};
}

[[nodiscard]] Failure refusal(const Session& session, const BatchLine& line,
                              const std::string& path, int code) {
  return path_failure(session, line.place + ": " + name_of(line.step).substr(0, 3), path, code);
}

}  // namespace

void Forecast::check(BatchLine* line) {
  switch (line->step.kind) {
    case Step::Kind::kSet:
      return check_set(*line);
    case Step::Kind::kAdd:
      return check_add(line);
    default:
      return check_delete(*line);
  }
}

/// The path whose rules hold for `path`: itself, or its place in the templates when it is yet to
/// come.
std::string Forecast::model_of(const std::string& path) const {
  if (!lies_in(path, added_)) return path;
  std::string model;
  for (std::size_t begin = 0; begin < path.size();) {
    const std::size_t end = std::min(path.find('.', begin), path.size() - 1) + 1;
    const std::string segment = path.substr(begin, end - begin);
    model += instance_number(segment) > 0 ? "0." : segment;
    begin = end;
  }
  return model;
}

/// The numbers that a table will have.
std::vector<unsigned>& Forecast::numbers_of(const BatchLine& line, const std::string& table) {
  const auto known = numbers_.find(table);
  if (known != numbers_.end()) return known->second;
  Result<std::vector<unsigned>> taken;
  if (lies_in(table, added_))
    taken.code = session_.client.get_attributes(model_of(table)).code;
  else
    taken = taken_numbers(session_.client, table);
  if (!taken) throw refusal(session_, line, table, taken.code);
  return numbers_.emplace(table, std::move(taken.value)).first->second;
}

void Forecast::check_not_removed(const BatchLine& line, const std::string& path) const {
  if (lies_in(path, removed_)) throw fault(line, "deleted by a line before");
}

void Forecast::check_set(const BatchLine& line) const {
  const std::string& path = line.step.path;
  check_not_removed(line, path);
  const Result<std::optional<std::string>> found =
      objection_to(session_.client, model_of(path), line.step.value);
  if (!found) throw refusal(session_, line, path, found.code);
  if (found.value) throw fault(line, *found.value);
}

void Forecast::check_template(const BatchLine& line, const std::string& table) {
  const std::string& path = line.step.path;
  const int code = session_.client.get_attributes(model_of(path)).code;
  if (code == GWCONF_NOT_FOUND) {
    added_.erase(path);
    throw fault(line, table + " is no table: it has no template");
  }
  if (code != GWCONF_OK) throw refusal(session_, line, path, code);
}

void Forecast::check_add(BatchLine* line) {
  std::string& path = line->step.path;
  const std::string table = line->chooses_number ? path : split(path).parent;
  check_not_removed(*line, table);
  std::vector<unsigned>& numbers = numbers_of(*line, table);
  if (line->chooses_number) path += std::to_string(next_free(numbers)) + ".";
  const unsigned number = instance_number(split(path).segment);
  if (std::find(numbers.begin(), numbers.end(), number) != numbers.end())
    throw fault(*line, "exists already");
  added_.insert(path);
  check_template(*line, table);
  removed_.erase(path);
  numbers.insert(std::upper_bound(numbers.begin(), numbers.end(), number), number);
}

void Forecast::check_delete(const BatchLine& line) {
  const std::string& path = line.step.path;
  const SplitPath place = split(path);
  const unsigned number = instance_number(place.segment);
  if (number == 0) throw fault(line, "only instances can be brought back");
  check_not_removed(line, path);
  std::vector<unsigned>& numbers = numbers_of(line, place.parent);
  const auto found = std::find(numbers.begin(), numbers.end(), number);
  if (found == numbers.end()) throw refusal(session_, line, path, GWCONF_NOT_FOUND);
  numbers.erase(found);
  std::erase_if(numbers_, [&](const auto& entry) { return entry.first.starts_with(path); });
  std::erase_if(added_, [&](const std::string& object) { return object.starts_with(path); });
  removed_.insert(path);
}

}  // namespace gwconf::tool
