#include "tools/offline/profile_statements.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "gwconf/client.h"
#include "tools/base/files.h"
#include "tools/base/words.h"
#include "tools/offline/daemon_terms.h"
#include "tools/offline/text.h"

namespace gwconf::tool {
namespace {

[[nodiscard]] std::optional<bool> writable_of(std::string_view access) {
  if (access == "rw") return true;
  if (access == "ro") return false;
  return {};
}

class ProfileReader {
 public:
  ProfileReader(const Facts& facts, const std::string& file) : facts_{facts}, file_{file} {}

  ProfileStatements run(std::string_view text) {
    for (bool more = true; more;) {
      ++line_;
      const std::size_t end = text.find('\n');
      more = end != std::string_view::npos;
      read_line(trimmed(text.substr(0, end)));
      if (more) text.remove_prefix(end + 1);
    }
    return std::move(statements_);
  }

 private:
  using Verb = ProfileStatements::Verb;
  using Addition = ProfileStatements::Addition;
  using Place = ProfileStatements::Place;

  /// A word with which lines begin, and what reads their path and the rest.
  struct Word {
    std::string_view word;
    void (ProfileReader::*read)(const std::string& path, std::string_view text);
  };
  static const std::array<Word, 12> kWords;

  [[noreturn]] void fail(const std::string& complaint) const {
    throw refused_line(file_, line_, complaint);
  }

  [[nodiscard]] Place place(const std::string& path) const { return {path, line_}; }

  void read_line(std::string_view line) {
    if (line.empty() || line.starts_with('#')) return;
    if (line.starts_with('[')) {
      if (!line.ends_with(']')) fail("a section has no closing bracket");
      section_ = line.substr(1, line.size() - 2);
      return;
    }
    const std::string_view word = take_word(&line);
    if (word == "since") return read_since(line);
    const std::string_view name = take_word(&line);
    if (name.empty()) fail(std::string{word} + " needs a path");
    std::string path = section_;
    path += name.starts_with('.') ? name.substr(1) : name;
    const auto known = std::find_if(kWords.begin(), kWords.end(),
                                    [word](const Word& one) { return one.word == word; });
    if (known == kWords.end()) fail("unknown word " + std::string{word});
    (this->*known->read)(path, line);
  }

  void read_since(std::string_view text) {
    const std::optional<ModelVersion> version = model_version(text);
    if (!version) fail("since needs a version such as 1.5");
    statements_.since[std::string{version->model}] = version->numbers;
  }

  // --- what the device has of the standard

  void read_object(const std::string& path, std::string_view) {
    require_object(path);
    statements_.objects.push_back(place(path));
  }

  void read_tree(const std::string& path, std::string_view) {
    require_object(path);
    statements_.trees.push_back(place(path));
  }

  void read_without(const std::string& path, std::string_view) {
    if (!find(path)) fail("the facts have no such parameter: " + path);
    statements_.without.push_back(place(path));
  }

  void read_with(const std::string& path, std::string_view) {
    const Fact* fact = find(path);
    if (!fact || fact->kind != Fact::Kind::kParameter)
      fail("the facts have no such parameter: " + path);
    statements_.with.push_back(place(path));
  }

  void require_object(const std::string& path) const {
    const Fact* fact = find(path);
    if (!fact || fact->kind == Fact::Kind::kParameter)
      fail("the facts have no such object: " + path);
  }

  [[nodiscard]] const Fact* find(const std::string& path) const {
    return path.empty() ? nullptr : facts_.find(path);
  }

  // --- what it has beside

  void read_vendor(const std::string& path, std::string_view access) {
    const std::optional<bool> writable = writable_of(access);
    if (!writable) fail("vendor needs ro or rw");
    statements_.additions.push_back({Addition::Kind::kObject, place(path), *writable, {}, {}});
  }

  void read_param(const std::string& path, std::string_view text) {
    const std::string_view type = take_word(&text);
    const std::optional<bool> writable = writable_of(take_word(&text));
    if (!writable) fail("param needs a type and ro or rw");
    statements_.additions.push_back(
        {Addition::Kind::kParameter, place(path), *writable, std::string{type}, std::string{text}});
  }

  void read_counter(const std::string& path, std::string_view name) {
    if (!path.ends_with("." + std::string{kAnyRow}) || name.empty())
      fail("counter needs a table and a name");
    statements_.additions.push_back(
        {Addition::Kind::kCounter, place(path), false, {}, std::string{name}});
  }

  void read_type(const std::string& path, std::string_view text) {
    statements_.types.push_back({place(path), std::string{text}});
  }

  // --- what stands at places of the tree

  void read_instances(const std::string& path, std::string_view text) {
    std::vector<int> rows;
    while (!text.empty())
      read_range(take_word(&text), &rows);
    if (rows.empty()) fail(kInstancesComplaint);
    statements_.instances[model_form(path) + std::string{kAnyRow}].push_back(
        {place(path), {}, std::move(rows), false});
  }

  /// Appends the rows of "3" or "3-7".
  void read_range(std::string_view range, std::vector<int>* rows) const {
    const std::size_t dash = range.find('-');
    const std::optional<int> first = whole_number(range.substr(0, dash));
    const std::optional<int> last =
        dash == std::string_view::npos ? first : whole_number(range.substr(dash + 1));
    const int before = rows->empty() ? 0 : rows->back();
    if (!first || !last || *first <= before || *last < *first) fail(kInstancesComplaint);
    if (*last > GWCONF_INSTANCE_MAX)
      fail("no request can name a row above " + std::to_string(GWCONF_INSTANCE_MAX));
    for (int row = *first; row <= *last; ++row)
      rows->push_back(row);
  }

  void read_set(const std::string& path, std::string_view text) { assign(Verb::kSet, path, text); }

  void read_live(const std::string& path, std::string_view text) {
    assign(Verb::kLive, path, text);
  }

  void read_notify(const std::string& path, std::string_view text) {
    if (text != "passive" && text != "active") fail("notify needs passive or active");
    assign(Verb::kNotify, path,
           notification_value(text == "active" ? kActiveNotification : kPassiveNotification));
  }

  void assign(Verb verb, const std::string& path, std::string_view text) {
    if (text.size() > kAttributeListMax) fail("a text of that length could not be saved");
    statements_.rules_of(verb)[model_form(path)].push_back(
        {place(path), std::string{text}, {}, false});
  }

  static constexpr const char* kInstancesComplaint = "instances needs ascending numbers from 1";

  const Facts& facts_;
  const std::string& file_;
  std::string section_;
  std::size_t line_ = 0;
  ProfileStatements statements_;
};

constexpr std::array<ProfileReader::Word, 12> ProfileReader::kWords = {{
    {"object", &ProfileReader::read_object},
    {"tree", &ProfileReader::read_tree},
    {"without", &ProfileReader::read_without},
    {"with", &ProfileReader::read_with},
    {"vendor", &ProfileReader::read_vendor},
    {"param", &ProfileReader::read_param},
    {"counter", &ProfileReader::read_counter},
    {"type", &ProfileReader::read_type},
    {"instances", &ProfileReader::read_instances},
    {"set", &ProfileReader::read_set},
    {"live", &ProfileReader::read_live},
    {"notify", &ProfileReader::read_notify},
}};

}  // namespace

ProfileStatements read_profile(const Facts& facts, const std::string& file) {
  constexpr std::size_t kLargest = std::size_t{16} << 20;
  const FileContent content = read_file(file, kLargest);
  if (content.size > kLargest) throw refused(file, "is no profile: too large");
  return ProfileReader{facts, file}.run(content.bytes);
}

Failure refused_line(const std::string& file, std::size_t line, const std::string& complaint) {
  return {Exit::kRefused, file + ':' + std::to_string(line) + ": " + complaint};
}

}  // namespace gwconf::tool
