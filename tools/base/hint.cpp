#include "tools/base/hint.h"

#include <algorithm>
#include <numeric>
#include <string_view>
#include <utility>

#include "tools/base/exported_tree.h"
#include "tools/base/path.h"
#include "tools/base/words.h"

namespace gwconf::tool {
namespace {

constexpr std::size_t kMost = 3;
constexpr std::size_t kLongest = 100;

[[nodiscard]] std::string plain(std::string_view segment) {
  if (segment.ends_with('.')) segment.remove_suffix(1);
  return lower(segment);
}

/// Insertions, deletions, replacements and swaps of neighbours between two texts.
[[nodiscard]] std::size_t distance(std::string_view one, std::string_view other) {
  std::vector<std::size_t> before;
  std::vector<std::size_t> above;
  std::vector<std::size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < one.size(); ++i) {
    before = std::exchange(above, row);
    row[0] = i + 1;
    for (std::size_t j = 0; j < other.size(); ++j) {
      const std::size_t replaced = above[j] + (one[i] == other[j] ? 0 : 1);
      row[j + 1] = std::min({replaced, row[j] + 1, above[j + 1] + 1});
      if (i > 0 && j > 0 && one[i] == other[j - 1] && one[i - 1] == other[j])
        row[j + 1] = std::min(row[j + 1], before[j - 1] + 1);
    }
  }
  return row.back();
}

struct Candidate {
  std::size_t changes = 0;
  std::string name;
};

void add_same_name(const std::string& path, const ExportedObject& object, const std::string& wanted,
                   std::vector<std::string>& found) {
  for (const ExportedParameter& parameter : object.parameters)
    if (found.size() < kMost && plain(parameter.name) == wanted)
      found.push_back(path + parameter.name);
  for (const ExportedObject& child : object.objects) {
    if (found.size() >= kMost) return;
    if (plain(child.name) == wanted) found.push_back(path + child.name);
    add_same_name(path + child.name, child, wanted, found);
  }
}

/// The longest object path around `path` that exists; empty for none.
[[nodiscard]] std::string existing_part(const Client& client, const std::string& path) {
  for (SplitPath around = split(path); !around.parent.empty(); around = split(around.parent)) {
    const int code = client.get_attributes(around.parent).code;
    if (code == GWCONF_OK) return around.parent;
    if (code != GWCONF_NOT_FOUND) break;
  }
  return {};
}

}  // namespace

std::vector<std::string> near_names(const std::string& name, const std::vector<std::string>& names,
                                    std::optional<std::size_t> most_changes) {
  if (name.empty() || name.size() > kLongest) return {};
  const std::string wanted = plain(name);
  const std::size_t most = most_changes.value_or(wanted.size() / 3);
  std::vector<Candidate> candidates;
  for (const std::string& one : names) {
    const std::string candidate = plain(one);
    // Each change lengthens or shortens by one at most.
    if (candidate.size() > wanted.size() + most || wanted.size() > candidate.size() + most)
      continue;
    const std::size_t changes = distance(wanted, candidate);
    if (changes <= most) candidates.push_back({changes, one});
  }
  std::stable_sort(
      candidates.begin(), candidates.end(),
      [](const Candidate& one, const Candidate& other) { return one.changes < other.changes; });
  std::vector<std::string> found;
  for (const Candidate& candidate : candidates)
    if (found.size() < kMost) found.push_back(candidate.name);
  return found;
}

std::vector<std::string> near_paths(const Client& client, const std::string& path) {
  std::string start = existing_part(client, path);
  std::string rest = path.substr(start.size());
  if (start.empty()) {
    const Result<std::string> root = root_of(client);
    if (!root) return {};
    const std::string first = rest.substr(0, rest.find('.'));
    const std::size_t changes = distance(plain(first), plain(root.value));
    // A first segment that is no root at all: the path may lack its beginning.
    if (first.size() <= kLongest && changes <= first.size() / 3 + 1)
      rest.erase(0, std::min(rest.size(), first.size() + 1));
    start = root.value;
    if (rest.empty() || client.get_attributes(start + rest).code == GWCONF_OK)
      return {start + rest};
  }

  const Result<ExportedTree> tree = load_exported_tree(client, start);
  if (!tree) return {};
  const std::size_t dot = rest.find('.');
  const std::string segment = rest.substr(0, dot);
  const std::string behind = dot == std::string::npos ? "" : rest.substr(dot + 1);
  if (segment.empty() || segment.size() > kLongest) return {};

  std::vector<std::string> names;
  for (const ExportedObject& child : tree.value.root.objects)
    if (!child.is_instance() || behind.empty()) names.push_back(child.name);
  for (const ExportedParameter& parameter : tree.value.root.parameters)
    if (behind.empty()) names.push_back(parameter.name);

  std::vector<std::string> found;
  for (const std::string& name : near_names(segment, names)) {
    const bool goes_on =
        !behind.empty() && client.get_attributes(start + name + behind).code == GWCONF_OK;
    found.push_back(start + name + (goes_on ? behind : ""));
  }
  if (found.empty()) add_same_name(start, tree.value.root, plain(split(path).segment), found);
  return found;
}

}  // namespace gwconf::tool
