#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gwconf/client.hpp"

namespace gwconf::tool {

struct LiveParameter {
  std::string name;
  std::string type;   ///< with its limits, such as "string(64)"
  std::string value;  ///< the stored one, as a client reads it; see `function`
  std::string enumeration;
  std::string function;  ///< the getter that computes the value, if any
  bool writable = false;
  int notification = GWCONF_NOTIFICATION_NONE;
};

struct LiveObject {
  std::string name;  ///< with its dot
  bool writable = false;
  std::vector<LiveParameter> parameters;
  std::vector<LiveObject> objects;

  [[nodiscard]] bool is_instance() const;
  [[nodiscard]] const LiveObject* object(std::string_view segment) const;
  [[nodiscard]] const LiveParameter* parameter(std::string_view segment) const;
};

/// An object of the running daemon with all below it that is neither disabled nor a template.
struct LiveTree {
  std::string path;
  LiveObject root;

  /// The object with that full path at or below `path`; null when there is none.
  [[nodiscard]] const LiveObject* find(std::string_view object_path) const;
};

/// Reads an export. Nothing when it is no XML, has no object, or goes deeper than any model.
[[nodiscard]] std::optional<LiveObject> parse_object(const std::string& xml);
[[nodiscard]] std::optional<LiveParameter> parse_parameter(const std::string& xml);

/// Asks for an object. GWCONF_E_PROTOCOL also for an export that is no XML.
Result<LiveTree> load_live_tree(const Client& client, const std::string& object_path);

/// The stored value of one parameter with the rest of its description.
Result<LiveParameter> load_live_parameter(const Client& client, const std::string& path);

/// The path of the root object that the daemon has, for want of a request that tells it one of the
/// usual two. GWCONF_NOT_FOUND for any other.
Result<std::string> root_of(const Client& client);

/// The value as a client reads it now: asks for it when it is computed.
Result<std::string> current_value(const Client& client, const std::string& path,
                                  const LiveParameter& parameter);

/// A parameter that a pattern stands for.
struct Match {
  std::string path;
  LiveParameter parameter;
};

/// All parameters below an object path, or those of a path in which "*" stands for every instance.
/// An empty table is no failure; GWCONF_NOT_FOUND when nothing could ever match.
Result<std::vector<Match>> expand(const Client& client, const std::string& pattern);

/// Whether `path` is more than one plain parameter path.
[[nodiscard]] bool is_pattern(std::string_view path);

/// The object path for one that may lack its last dot.
[[nodiscard]] std::string as_object(const std::string& path);

/// A path without its last segment, and that segment (with its dot). Empty parts for none.
struct SplitPath {
  std::string parent;
  std::string segment;
};
[[nodiscard]] SplitPath split(const std::string& path);

/// The number of an instance segment such as "3."; 0 for any other.
[[nodiscard]] unsigned instance_number(std::string_view segment);

}  // namespace gwconf::tool
