#include <optional>

#include "tools/live/assignment.h"
#include "tools/live/verbs.h"

namespace gwconf::tool {
namespace {

struct SetOptions {
  std::vector<std::string> arguments;  ///< PATH=VALUE each, or one path and one value
  bool force = false;
};

struct Assignment {
  std::string path;
  std::string value;
};

/// Nothing when the arguments are neither assignments nor one path and one value.
[[nodiscard]] std::optional<std::vector<Assignment>> assignments_of(
    const std::vector<std::string>& arguments) {
  if (arguments.size() == 2 && arguments[0].find('=') == std::string::npos)
    return std::vector<Assignment>{{arguments[0], arguments[1]}};
  std::vector<Assignment> assignments;
  for (const std::string& argument : arguments) {
    const std::size_t equals = argument.find('=');
    if (equals == std::string::npos || equals == 0) return {};
    assignments.push_back({argument.substr(0, equals), argument.substr(equals + 1)});
  }
  return assignments;
}

/// Checks type, limits, access and disabled objects, which the daemon does not do.
[[nodiscard]] Exit check(const Session& session, const std::vector<Assignment>& assignments) {
  Exit exit = Exit::kDone;
  for (const auto& [path, value] : assignments) {
    const auto found = objection_to(session.client, path, value);
    if (!found) {
      exit = worse(exit, session.output.failure(path_failure(session, "set", path, found.code)));
      if (exit == Exit::kUnreachable) return exit;
    } else if (found.value) {
      session.output.complaint("set " + path, *found.value + " (--force sets it anyway)");
      exit = worse(exit, Exit::kFindings);
    }
  }
  return exit;
}

[[nodiscard]] Exit send(const Session& session, const std::vector<Assignment>& assignments) {
  Exit exit = Exit::kDone;
  Json rows = Json::array();
  for (const auto& [path, value] : assignments) {
    const int code = session.client.set_value(path, value);
    if (code != GWCONF_OK && code != GWCONF_UNCHANGED)
      exit = worse(exit, session.output.failure(path_failure(session, "set", path, code)));
    Json row{{"path", path}};
    row.update(json_of(code));
    rows.push_back(std::move(row));
    if (exit == Exit::kUnreachable) break;
  }
  if (session.output.json()) session.output.document(rows);
  return exit;
}

/// All are checked before the first is sent, unless forced: with any finding nothing is written.
[[nodiscard]] Exit set(const Session& session, const SetOptions& options) {
  const std::optional<std::vector<Assignment>> assignments = assignments_of(options.arguments);
  if (!assignments) throw Failure{Exit::kWrongUse, "set: PATH=VALUE..., or one PATH and one VALUE"};
  if (!options.force)
    if (const Exit exit = check(session, *assignments); exit != Exit::kDone) return exit;
  return send(session, *assignments);
}

}  // namespace

void add_set(Registry& registry) {
  const auto [parser, options] =
      registry.add({"set", "Set parameters, after a check of type, limits and access",
                    "set InternetGatewayDevice.Time.NTPServer1=ntp.example.net"},
                   set);
  parser.add_option("PATH=VALUE", options.arguments, "Assignments, or one path and one value")
      ->required();
  parser.add_flag("--force", options.force, "Do not check before");
}

}  // namespace gwconf::tool
