#include <array>

#include "tools/base/exported_tree.h"
#include "tools/base/path.h"
#include "tools/base/value_check.h"
#include "tools/live/attributes.h"
#include "tools/live/verbs.h"

namespace gwconf::tool {
namespace {

constexpr std::array<const char*, 3> kNotifications = {"off", "passive", "active"};
constexpr std::array<const char*, 11> kTypes = {
    "string",      "int",       "unsignedInt", "boolean",    "dateTime", "base64",
    "enumeration", "ipAddress", "netmask",     "macAddress", "unknown"};

struct DescribeOptions {
  std::string path;
};

[[nodiscard]] const char* type_name(int type) {
  const bool is_known = type >= GWCONF_TYPE_STRING && type <= GWCONF_TYPE_UNKNOWN;
  return is_known ? kTypes[static_cast<std::size_t>(type - GWCONF_TYPE_STRING)] : "unknown";
}

/// Gathers all that the daemon says of one path, in the order of printing. Throws Failure at the
/// first request that fails.
class Description {
 public:
  Description(const Session& session, const std::string& path)
      : session_{session}, client_{session.client}, path_{path} {}

  [[nodiscard]] Json take() {
    fields_["path"] = path_;
    const unsigned word = ask(client_.get_attributes(path_));
    if (path_.ends_with('.'))
      add_object();
    else
      add_parameter();
    fields_["attributes"] = attribute_names(word);
    return std::move(fields_);
  }

 private:
  template <typename T>
  [[nodiscard]] T ask(Result<T> result) const {
    return answer_of(session_, "describe", path_, std::move(result));
  }

  void add_parameter() {
    const int type = ask(client_.get_type(path_));
    fields_["type"] = type_name(type);
    if (has_limits(type)) add_limits(type);
    const std::string enumeration = ask(client_.get_enumeration(path_));
    if (!enumeration.empty()) fields_["enumeration"] = enumeration;
    fields_["value"] = ask(client_.get_value(path_));
    // A disabled parameter has no export; everything else is known without it.
    if (const Result<ExportedParameter> exported = load_exported_parameter(client_, path_)) {
      if (!exported.value.function.empty()) fields_["getter"] = exported.value.function;
      fields_["notification"] =
          kNotifications[static_cast<std::size_t>(exported.value.notification)];
    }
  }

  void add_limits(int type) {
    const Result<int> lower_limit = client_.get_min(path_);
    const Result<int> upper_limit = client_.get_max(path_);
    const int minimum = ask(lower_limit);
    const int maximum = ask(upper_limit);
    const bool is_number = type == GWCONF_TYPE_INT || type == GWCONF_TYPE_UNSIGNED_INT;
    if (is_number && (minimum != 0 || maximum != 0)) fields_["minimum"] = minimum;
    if (maximum != 0) fields_[is_number ? "maximum" : "length"] = maximum;
  }

  void add_object() {
    fields_["type"] = instance_number(split(path_).segment) > 0 ? "instance" : "object";
    fields_["virtual"] = ask(client_.check_virtual(path_));
    // Only a table has a template.
    if (client_.get_attributes(path_ + "0.").code == GWCONF_OK) {
      fields_["type"] = "table";
      fields_["instances"] = ask(client_.list_instances(path_));
    }
    if (const Result<ExportedTree> exported = load_exported_tree(client_, path_)) {
      fields_["parameters"] = exported.value.root.parameters.size();
      fields_["objects"] = exported.value.root.objects.size();
    }
  }

  const Session& session_;
  const Client& client_;
  const std::string& path_;
  Json fields_;
};

[[nodiscard]] std::string text_of(const Json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (!value.is_array()) return value.dump();
  std::string text;
  for (const Json& element : value)
    text += (text.empty() ? "" : ",") + text_of(element);
  return text;
}

[[nodiscard]] Exit describe(const Session& session, const DescribeOptions& options) {
  const Json description = Description{session, options.path}.take();
  const Output& output = session.output;
  if (output.json()) {
    output.document(description);
    return Exit::kDone;
  }
  for (const auto& [name, value] : description.items())
    output.line(name + ": " + output.shown(text_of(value)));
  return Exit::kDone;
}

}  // namespace

void add_describe(Registry& registry) {
  const auto [parser, options] =
      registry.add({"describe", "Tell type, limits, attributes, value and getter of a path",
                    "describe InternetGatewayDevice.Time.NTPServer1"},
                   describe);
  parser.add_option("PATH", options.path, "Parameter, or object with its last dot")->required();
}

}  // namespace gwconf::tool
