#include "tools/base/live_tree.h"

#include <charconv>
#include <pugixml.hpp>

namespace gwconf::tool {
namespace {

/// Values are bytes: line breaks and blanks stay, and what is no UTF-8 passes.
constexpr unsigned kParsing = pugi::parse_escapes;

/// Models have some ten levels. Trees are read and freed by recursion.
constexpr int kDeepest = 1000;

[[nodiscard]] int notification_of(std::string_view text) {
  if (text == "1") return GWCONF_NOTIFICATION_PASSIVE;
  return text == "2" ? GWCONF_NOTIFICATION_ACTIVE : GWCONF_NOTIFICATION_NONE;
}

[[nodiscard]] bool is_true(std::string_view text) {
  return text == "1" || text == "true";
}

[[nodiscard]] LiveParameter parameter_of(const pugi::xml_node& element) {
  LiveParameter parameter;
  parameter.name = element.attribute("name").value();
  parameter.type = element.attribute("type").value();
  parameter.value = element.attribute("value").value();
  parameter.enumeration = element.attribute("enumeration").value();
  parameter.function = element.attribute("function").value();
  parameter.writable = is_true(element.attribute("writable").value());
  parameter.notification = notification_of(element.attribute("notification").value());
  return parameter;
}

/// Whether `levels` more are enough for what is below an element.
[[nodiscard]] bool is_flat(const pugi::xml_node& element, int levels) {
  if (levels == 0) return false;
  for (const pugi::xml_node& child : element.children())
    if (!is_flat(child, levels - 1)) return false;
  return true;
}

[[nodiscard]] LiveObject object_of(const pugi::xml_node& element) {
  LiveObject object;
  object.name = element.attribute("name").value();
  object.writable = is_true(element.attribute("writable").value());
  for (const pugi::xml_node& child : element.children()) {
    if (std::string_view{child.attribute("name").value()}.ends_with('.'))
      object.objects.push_back(object_of(child));
    else
      object.parameters.push_back(parameter_of(child));
  }
  return object;
}

/// The one element inside the document's root; none when the text is no export.
[[nodiscard]] pugi::xml_node content_of(pugi::xml_document& document, const std::string& xml) {
  if (!document.load_buffer(xml.data(), xml.size(), kParsing, pugi::encoding_utf8)) return {};
  return document.document_element().first_child();
}

struct Expansion {
  std::vector<Match> matches;
  bool is_possible = false;  ///< a "*" stood for the instances of an empty table

  void add_all(const std::string& path, const LiveObject& object) {
    is_possible = true;
    for (const LiveParameter& parameter : object.parameters)
      matches.push_back({path + parameter.name, parameter});
    for (const LiveObject& child : object.objects)
      add_all(path + child.name, child);
  }

  /// `rest` is the part of the pattern that is still to be matched below `object`.
  void add(const std::string& path, const LiveObject& object, std::string_view rest) {
    if (rest.empty()) return add_all(path, object);
    const std::size_t dot = rest.find('.');
    if (rest == "*" || rest.substr(0, dot) == "*") {
      const std::string_view below = dot == std::string_view::npos ? "" : rest.substr(dot + 1);
      bool is_empty = true;
      for (const LiveObject& child : object.objects) {
        if (!child.is_instance()) continue;
        is_empty = false;
        add(path + child.name, child, below);
      }
      // Only a table can do without children.
      is_possible = is_possible || (is_empty && object.objects.empty());
    } else if (dot == std::string_view::npos) {
      if (const LiveParameter* parameter = object.parameter(rest))
        matches.push_back({path + parameter->name, *parameter});
    } else if (const LiveObject* child = object.object(rest.substr(0, dot + 1))) {
      add(path + child->name, *child, rest.substr(dot + 1));
    }
  }
};

}  // namespace

bool LiveObject::is_instance() const {
  return instance_number(name) > 0;
}

const LiveObject* LiveObject::object(std::string_view segment) const {
  for (const LiveObject& child : objects)
    if (child.name == segment) return &child;
  return nullptr;
}

const LiveParameter* LiveObject::parameter(std::string_view segment) const {
  for (const LiveParameter& parameter : parameters)
    if (parameter.name == segment) return &parameter;
  return nullptr;
}

const LiveObject* LiveTree::find(std::string_view object_path) const {
  if (!object_path.starts_with(path)) return nullptr;
  object_path.remove_prefix(path.size());
  const LiveObject* object = &root;
  while (object && !object_path.empty()) {
    const std::size_t dot = object_path.find('.');
    if (dot == std::string_view::npos) return nullptr;
    object = object->object(object_path.substr(0, dot + 1));
    object_path.remove_prefix(dot + 1);
  }
  return object;
}

std::optional<LiveObject> parse_object(const std::string& xml) {
  pugi::xml_document document;
  const pugi::xml_node content = content_of(document, xml);
  if (!std::string_view{content.attribute("name").value()}.ends_with('.')) return {};
  if (!is_flat(content, kDeepest)) return {};
  return object_of(content);
}

std::optional<LiveParameter> parse_parameter(const std::string& xml) {
  pugi::xml_document document;
  const pugi::xml_node content = content_of(document, xml);
  if (!content.attribute("name")) return {};
  return parameter_of(content);
}

Result<LiveTree> load_live_tree(const Client& client, const std::string& object_path) {
  const Result<std::string> xml = client.export_node(object_path);
  if (!xml) return {xml.code, {}};
  std::optional<LiveObject> object = parse_object(xml.value);
  if (!object) return {GWCONF_E_PROTOCOL, {}};
  return {GWCONF_OK, {object_path, *std::move(object)}};
}

Result<LiveParameter> load_live_parameter(const Client& client, const std::string& path) {
  const Result<std::string> xml = client.export_parameter(path);
  if (!xml) return {xml.code, {}};
  std::optional<LiveParameter> parameter = parse_parameter(xml.value);
  if (!parameter) return {GWCONF_E_PROTOCOL, {}};
  return {GWCONF_OK, *std::move(parameter)};
}

Result<std::string> root_of(const Client& client) {
  int code = GWCONF_NOT_FOUND;
  for (const char* root : {"InternetGatewayDevice.", "Device."}) {
    code = client.get_attributes(root).code;
    if (code == GWCONF_OK) return {code, root};
    if (code != GWCONF_NOT_FOUND) break;
  }
  return {code, {}};
}

Result<std::string> current_value(const Client& client, const std::string& path,
                                  const LiveParameter& parameter) {
  if (parameter.function.empty()) return {GWCONF_OK, parameter.value};
  return client.get_value(path);
}

Result<std::vector<Match>> expand(const Client& client, const std::string& pattern) {
  std::string start = pattern;
  const std::size_t star = ("." + pattern + ".").find(".*.");
  if (star != std::string::npos) start.resize(star);
  if (start.empty()) return {GWCONF_NOT_FOUND, {}};
  const Result<LiveTree> tree = load_live_tree(client, start);
  if (!tree) return {tree.code, {}};
  Expansion expansion;
  expansion.add(start, tree.value.root, std::string_view{pattern}.substr(start.size()));
  if (expansion.matches.empty() && !expansion.is_possible) return {GWCONF_NOT_FOUND, {}};
  return {GWCONF_OK, std::move(expansion.matches)};
}

bool is_pattern(std::string_view path) {
  return path.ends_with('.') || path.ends_with(".*") || path.find(".*.") != std::string_view::npos;
}

std::string as_object(const std::string& path) {
  return path.ends_with('.') ? path : path + '.';
}

SplitPath split(const std::string& path) {
  if (path.empty()) return {};
  const std::size_t dot = path.rfind('.', path.size() - (path.ends_with('.') ? 2 : 1));
  if (path == "." || dot == std::string::npos) return {"", path};
  return {path.substr(0, dot + 1), path.substr(dot + 1)};
}

unsigned instance_number(std::string_view segment) {
  if (!segment.ends_with('.') || segment.starts_with('0')) return 0;
  unsigned number = 0;
  const char* end = segment.data() + segment.size() - 1;
  const auto [stop, error] = std::from_chars(segment.data(), end, number);
  return error == std::errc{} && stop == end ? number : 0;
}

}  // namespace gwconf::tool
