#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gwconf/client.hpp"

namespace gwconf::tool {

struct ExportedParameter {
  std::string name;
  std::string type;   ///< with its limits, such as "string(64)"
  std::string value;  ///< the stored one, as a client reads it; see `function`
  std::string enumeration;
  std::string function;  ///< the getter that computes the value, if any
  bool writable = false;
  int notification = GWCONF_NOTIFICATION_NONE;
};

struct ExportedObject {
  std::string name;  ///< with its dot
  bool writable = false;
  std::vector<ExportedParameter> parameters;
  std::vector<ExportedObject> objects;

  [[nodiscard]] bool is_instance() const;
  [[nodiscard]] const ExportedObject* object(std::string_view segment) const;
  [[nodiscard]] const ExportedParameter* parameter(std::string_view segment) const;
};

/// An object of the running daemon with all below it that is neither disabled nor a template.
struct ExportedTree {
  std::string path;
  ExportedObject root;

  /// The object with that full path at or below `path`; null when there is none.
  [[nodiscard]] const ExportedObject* find(std::string_view object_path) const;
};

/// Reads an export. Nothing when it is no XML, has no object, or goes deeper than any model.
[[nodiscard]] std::optional<ExportedObject> parse_object(const std::string& xml);
[[nodiscard]] std::optional<ExportedParameter> parse_parameter(const std::string& xml);

/// Asks for an object. GWCONF_E_PROTOCOL also for an export that is no XML.
Result<ExportedTree> load_exported_tree(const Client& client, const std::string& object_path);

/// The stored value of one parameter with the rest of its description.
Result<ExportedParameter> load_exported_parameter(const Client& client, const std::string& path);

/// The path of the root object that the daemon has, for want of a request that tells it one of the
/// usual two. GWCONF_NOT_FOUND for any other.
Result<std::string> root_of(const Client& client);

/// The value as a client reads it now: asks for it when it is computed.
Result<std::string> current_value(const Client& client, const std::string& path,
                                  const ExportedParameter& parameter);

}  // namespace gwconf::tool
