#include "tools/base/exported_tree.h"

#include <pugixml.hpp>

#include "tools/base/path.h"

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

[[nodiscard]] ExportedParameter parameter_of(const pugi::xml_node& element) {
  ExportedParameter parameter;
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

[[nodiscard]] ExportedObject object_of(const pugi::xml_node& element) {
  ExportedObject object;
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

}  // namespace

bool ExportedObject::is_instance() const {
  return instance_number(name) > 0;
}

const ExportedObject* ExportedObject::object(std::string_view segment) const {
  for (const ExportedObject& child : objects)
    if (child.name == segment) return &child;
  return nullptr;
}

const ExportedParameter* ExportedObject::parameter(std::string_view segment) const {
  for (const ExportedParameter& parameter : parameters)
    if (parameter.name == segment) return &parameter;
  return nullptr;
}

const ExportedObject* ExportedTree::find(std::string_view object_path) const {
  if (!object_path.starts_with(path)) return nullptr;
  object_path.remove_prefix(path.size());
  const ExportedObject* object = &root;
  while (object && !object_path.empty()) {
    const std::size_t dot = object_path.find('.');
    if (dot == std::string_view::npos) return nullptr;
    object = object->object(object_path.substr(0, dot + 1));
    object_path.remove_prefix(dot + 1);
  }
  return object;
}

std::optional<ExportedObject> parse_object(const std::string& xml) {
  pugi::xml_document document;
  const pugi::xml_node content = content_of(document, xml);
  if (!std::string_view{content.attribute("name").value()}.ends_with('.')) return {};
  if (!is_flat(content, kDeepest)) return {};
  return object_of(content);
}

std::optional<ExportedParameter> parse_parameter(const std::string& xml) {
  pugi::xml_document document;
  const pugi::xml_node content = content_of(document, xml);
  if (!content.attribute("name")) return {};
  return parameter_of(content);
}

Result<ExportedTree> load_exported_tree(const Client& client, const std::string& object_path) {
  const Result<std::string> xml = client.export_node(object_path);
  if (!xml) return {xml.code, {}};
  std::optional<ExportedObject> object = parse_object(xml.value);
  if (!object) return {GWCONF_E_PROTOCOL, {}};
  return {GWCONF_OK, {object_path, *std::move(object)}};
}

Result<ExportedParameter> load_exported_parameter(const Client& client, const std::string& path) {
  const Result<std::string> xml = client.export_parameter(path);
  if (!xml) return {xml.code, {}};
  std::optional<ExportedParameter> parameter = parse_parameter(xml.value);
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
                                  const ExportedParameter& parameter) {
  if (parameter.function.empty()) return {GWCONF_OK, parameter.value};
  return client.get_value(path);
}

}  // namespace gwconf::tool
