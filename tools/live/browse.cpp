#include "tools/live/browse.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

#include "tools/base/live_tree.h"
#include "tools/base/value_check.h"
#include "tools/live/attributes.h"

namespace gwconf::tool {
namespace {

using Colour = Screen::Colour;

constexpr std::array<const char*, 3> kNotifications = {"off", "passive", "active"};
constexpr std::array<const char*, 11> kTypes = {
    "string",      "int",       "unsignedInt", "boolean",    "dateTime", "base64",
    "enumeration", "ipAddress", "netmask",     "macAddress", "unknown"};

/// The object that a verb shows: the one with the path, or the root for none.
struct Start {
  Exit exit = Exit::kDone;
  LiveTree tree;
};

[[nodiscard]] Start start_at(const Session& session, const std::string& verb,
                             const std::string& path) {
  std::string object = path.empty() ? path : as_object(path);
  if (path.empty()) {
    Result<std::string> root = root_of(session.client);
    if (!root) return {finish(session, verb, "InternetGatewayDevice.", root.code), {}};
    object = std::move(root.value);
  }
  Result<LiveTree> loaded = load_live_tree(session.client, object);
  if (!loaded) return {finish(session, verb, object, loaded.code), {}};
  return {Exit::kDone, std::move(loaded.value)};
}

/// Prints a tree. A failed request ends it and stays in `code`.
class TreePrinter {
 public:
  TreePrinter(const Session& session, const TreeView& view) : session_{session}, view_{view} {}

  int code = GWCONF_OK;
  std::string failed_path;

  /// The JSON of an object; null for one that is not to be shown. Text is printed on the way when
  /// that is wanted.
  Json print(const std::string& path, const std::string& shown_name, const LiveObject& object,
             int level) {
    std::vector<std::string> lines;
    Json document = collect(path, shown_name, object, level, lines);
    if (!session_.output.json())
      for (const std::string& line : lines)
        session_.output.line(line);
    return document;
  }

 private:
  [[nodiscard]] bool is_user_set(const std::string& path) {
    const Result<unsigned> word = session_.client.get_attributes(path);
    // What is gone by now was not set.
    if (!word && word.code != GWCONF_NOT_FOUND) fail(path, word.code);
    return word && (word.value >> GWCONF_ATTRIBUTE_USER_SET & 1U) != 0;
  }

  void fail(const std::string& path, int failure) {
    if (code != GWCONF_OK) return;
    code = failure;
    failed_path = path;
  }

  Json collect(const std::string& path, const std::string& shown_name, const LiveObject& object,
               int level, std::vector<std::string>& lines) {
    const Output& output = session_.output;
    const std::string indent(static_cast<std::size_t>(level) * 2, ' ');
    const std::size_t first = lines.size();
    lines.push_back(indent + output.screen().coloured(Colour::kObject, output.shown(shown_name)));
    Json children = Json::object();
    if (level < view_.depth || view_.user_set) {
      const bool is_shown = level < view_.depth;
      for (const LiveParameter& parameter : object.parameters) {
        if (code != GWCONF_OK) return nullptr;
        const std::string own = path + parameter.name;
        if (view_.user_set && !is_user_set(own)) continue;
        std::string line = indent + "  " + output.shown(parameter.name);
        Json value = parameter.type;
        if (view_.values && is_shown) {
          Result<std::string> now = current_value(session_.client, own, parameter);
          if (!now && now.code != GWCONF_NOT_FOUND) fail(own, now.code);
          line += "=" + output.screen().coloured(Colour::kValue, output.shown(now.value));
          value = std::move(now.value);
        }
        children[parameter.name] = std::move(value);
        if (is_shown) lines.push_back(std::move(line));
      }
      for (const LiveObject& child : object.objects) {
        if (code != GWCONF_OK) return nullptr;
        Json below = collect(path + child.name, child.name, child, level + 1, lines);
        if (below.is_null()) continue;
        children[child.name] = is_shown ? std::move(below) : Json::object();
      }
    }
    const bool is_hidden = view_.user_set && children.empty() && !is_user_set(path);
    // Below the last level the children only decide whether this object is shown.
    if (is_hidden || level > view_.depth) lines.resize(first);
    if (is_hidden) return nullptr;
    return level < view_.depth ? children : Json::object();
  }

  const Session& session_;
  const TreeView& view_;
};

[[nodiscard]] std::string lower(std::string_view text) {
  std::string result{text};
  for (char& c : result)
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return result;
}

/// Collects the paths that hold a text.
struct Search {
  const Session& session;
  std::string wanted;
  Json rows = Json::array();
  Exit exit = Exit::kDone;

  [[nodiscard]] bool holds(std::string_view text) const {
    return lower(text).find(wanted) != std::string::npos;
  }

  void below(const std::string& path, const LiveObject& object) {
    if (holds(path)) {
      rows.push_back({{"path", path}});
      if (!session.output.json()) session.output.line(session.output.shown(path));
    }
    for (const LiveParameter& parameter : object.parameters) {
      const std::string own = path + parameter.name;
      const Result<std::string> value = current_value(session.client, own, parameter);
      if (!value && value.code != GWCONF_NOT_FOUND) {
        exit = path_failure(session, "find", own, value.code);
        return;
      }
      if (!holds(own) && !holds(value.value)) continue;
      rows.push_back({{"path", own}, {"value", value.value}});
      if (!session.output.json())
        session.output.line(session.output.shown(own + "=" + value.value));
    }
    for (const LiveObject& child : object.objects)
      if (exit == Exit::kDone) below(path + child.name, child);
  }
};

/// What is told of a parameter, in the order of telling; the first code that is no success ends it.
[[nodiscard]] int describe_parameter(const Client& client, const std::string& path,
                                     Json& description) {
  const Result<int> type = client.get_type(path);
  if (!type) return type.code;
  const bool is_known = type.value >= GWCONF_TYPE_STRING && type.value <= GWCONF_TYPE_UNKNOWN;
  description["type"] =
      is_known ? kTypes[static_cast<std::size_t>(type.value - GWCONF_TYPE_STRING)] : "unknown";
  if (has_limits(type.value)) {
    const Result<int> minimum = client.get_min(path);
    const Result<int> maximum = client.get_max(path);
    if (!minimum || !maximum) return minimum ? maximum.code : minimum.code;
    const bool is_number = type.value == GWCONF_TYPE_INT || type.value == GWCONF_TYPE_UNSIGNED_INT;
    if (is_number && (minimum.value != 0 || maximum.value != 0))
      description["minimum"] = minimum.value;
    if (maximum.value != 0) description[is_number ? "maximum" : "length"] = maximum.value;
  }
  const Result<std::string> enumeration = client.get_enumeration(path);
  if (!enumeration) return enumeration.code;
  if (!enumeration.value.empty()) description["enumeration"] = enumeration.value;
  const Result<std::string> value = client.get_value(path);
  if (!value) return value.code;
  description["value"] = value.value;
  // A disabled parameter has no export; everything else is known without it.
  if (const Result<LiveParameter> exported = load_live_parameter(client, path)) {
    if (!exported.value.function.empty()) description["getter"] = exported.value.function;
    description["notification"] =
        kNotifications[static_cast<std::size_t>(exported.value.notification)];
  }
  return GWCONF_OK;
}

[[nodiscard]] int describe_object(const Client& client, const std::string& path,
                                  Json& description) {
  const SplitPath own = split(path);
  description["type"] = instance_number(own.segment) > 0 ? "instance" : "object";
  const Result<bool> is_virtual = client.check_virtual(path);
  if (!is_virtual) return is_virtual.code;
  description["virtual"] = is_virtual.value;
  if (client.get_attributes(path + "0.").code == GWCONF_OK) {
    description["type"] = "table";
    const Result<std::vector<unsigned>> numbers = client.list_instances(path);
    if (!numbers) return numbers.code;
    description["instances"] = numbers.value;
  }
  if (const Result<LiveTree> exported = load_live_tree(client, path)) {
    description["parameters"] = exported.value.root.parameters.size();
    description["objects"] = exported.value.root.objects.size();
  }
  return GWCONF_OK;
}

[[nodiscard]] std::string text_of(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (!value.is_array()) return value.dump();
  std::string text;
  for (const Json& element : value)
    text += (text.empty() ? "" : ",") + text_of(element);
  return text;
}

}  // namespace

Exit list(const Session& session, const std::string& path) {
  const Start start = start_at(session, "ls", path);
  if (start.exit != Exit::kDone) return start.exit;
  const Output& output = session.output;
  Json rows = Json::array();
  for (const LiveParameter& parameter : start.tree.root.parameters) {
    rows.push_back({{"path", start.tree.path + parameter.name}, {"type", parameter.type}});
    if (!output.json()) output.line(output.shown(parameter.name));
  }
  for (const LiveObject& child : start.tree.root.objects) {
    rows.push_back({{"path", start.tree.path + child.name}, {"type", "object"}});
    if (!output.json())
      output.line(output.screen().coloured(Colour::kObject, output.shown(child.name)));
  }
  if (output.json()) output.document(rows);
  return Exit::kDone;
}

Exit tree(const Session& session, const std::string& path, const TreeView& view) {
  const Start start = start_at(session, "tree", path);
  if (start.exit != Exit::kDone) return start.exit;
  TreePrinter printer{session, view};
  Json document = printer.print(start.tree.path, start.tree.path, start.tree.root, 0);
  if (printer.code != GWCONF_OK) return finish(session, "tree", printer.failed_path, printer.code);
  if (document.is_null()) document = Json::object();
  if (session.output.json()) session.output.document({{start.tree.path, document}});
  return Exit::kDone;
}

Exit find(const Session& session, const std::string& text) {
  const Start start = start_at(session, "find", "");
  if (start.exit != Exit::kDone) return start.exit;
  Search search{.session = session, .wanted = lower(text)};
  search.below(start.tree.path, start.tree.root);
  if (session.output.json()) session.output.document(search.rows);
  if (search.exit == Exit::kDone && search.rows.empty()) {
    session.output.complaint("find " + text, "nothing holds it");
    return Exit::kFindings;
  }
  return search.exit;
}

Exit describe(const Session& session, const std::string& path) {
  const bool is_object = path.ends_with('.');
  Json description{{"path", path}};
  const Result<unsigned> word = session.client.get_attributes(path);
  int code = word.code;
  if (code == GWCONF_OK)
    code = is_object ? describe_object(session.client, path, description)
                     : describe_parameter(session.client, path, description);
  if (code != GWCONF_OK) return finish(session, "describe", path, code);
  description["attributes"] = attribute_names(word.value);
  if (session.output.json()) {
    session.output.document(description);
    return Exit::kDone;
  }
  for (const auto& [name, value] : description.items())
    session.output.line(name + ": " + session.output.shown(text_of(value)));
  return Exit::kDone;
}

}  // namespace gwconf::tool
