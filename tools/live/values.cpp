#include "tools/live/values.h"

#include <string_view>

#include "tools/base/live_tree.h"
#include "tools/base/value_check.h"

namespace gwconf::tool {
namespace {

/// PATH=VALUE for each argument, or one path and one value; nothing when it is neither.
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

[[nodiscard]] bool is_set(unsigned attributes, gwconf_attribute bit) {
  return (attributes >> bit & 1U) != 0;
}

/// Asks for what `ask` delivers. False when there is no answer; the code is then in `code`.
template <typename T>
[[nodiscard]] bool take(Result<T> answer, T& value, int& code) {
  code = answer.code;
  value = std::move(answer.value);
  return code == GWCONF_OK;
}

[[nodiscard]] Exit check(const Session& session, const std::vector<Assignment>& assignments) {
  Exit exit = Exit::kDone;
  for (const Assignment& assignment : assignments) {
    int code = GWCONF_OK;
    const std::optional<std::string> found =
        objection_to(session.client, assignment.path, assignment.value, code);
    if (code != GWCONF_OK) {
      exit = worse(exit, path_failure(session, "set", assignment.path, code));
      if (exit == Exit::kUnreachable) return exit;
    } else if (found) {
      session.output.complaint("set " + assignment.path, *found + " (--force sets it anyway)");
      exit = worse(exit, Exit::kFindings);
    }
  }
  return exit;
}

}  // namespace

std::optional<std::string> objection_to(const Client& client, const std::string& path,
                                        const std::string& value, int& code) {
  ValueRules rules;
  unsigned attributes = 0;
  if (!take(client.get_type(path), rules.type, code) ||
      !take(client.get_attributes(path), attributes, code))
    return {};
  if (!is_set(attributes, GWCONF_ATTRIBUTE_WRITABLE)) return "read-only";
  if (is_set(attributes, GWCONF_ATTRIBUTE_DISABLED)) return "disabled";
  for (std::size_t dot = path.find('.'); dot != std::string::npos; dot = path.find('.', dot + 1)) {
    const std::string object = path.substr(0, dot + 1);
    if (!take(client.get_attributes(object), attributes, code)) return {};
    if (is_set(attributes, GWCONF_ATTRIBUTE_DISABLED)) return object + " is disabled";
  }
  if (has_limits(rules.type) && (!take(client.get_min(path), rules.minimum, code) ||
                                 !take(client.get_max(path), rules.maximum, code)))
    return {};
  if (rules.type == GWCONF_TYPE_ENUMERATION &&
      !take(client.get_enumeration(path), rules.enumeration, code))
    return {};
  return objection(rules, value);
}

Exit get(const Session& session, const std::vector<std::string>& paths) {
  Exit exit = Exit::kDone;
  Json rows = Json::array();
  const bool is_bare = paths.size() == 1 && !is_pattern(paths[0]);
  const auto add = [&](const std::string& path, const Result<std::string>& result) {
    Json row{{"path", path}};
    if (!result) {
      exit = worse(exit, path_failure(session, "get", path, result.code));
      row.update(json_of(result.code));
    } else if (session.output.json()) {
      row["value"] = result.value;
    } else {
      session.output.line(session.output.shown(is_bare ? result.value : path + "=" + result.value));
    }
    rows.push_back(std::move(row));
  };
  for (const std::string& path : paths) {
    if (!is_pattern(path)) {
      add(path, session.client.get_value(path));
    } else if (const auto matches = expand(session.client, path)) {
      for (const Match& match : matches.value) {
        add(match.path, current_value(session.client, match.path, match.parameter));
        if (exit == Exit::kUnreachable) break;
      }
    } else {
      add(path, {matches.code, {}});
    }
    if (exit == Exit::kUnreachable) break;
  }
  if (session.output.json()) session.output.document(rows);
  return exit;
}

Exit set(const Session& session, const std::vector<std::string>& arguments, bool force) {
  const std::optional<std::vector<Assignment>> assignments = assignments_of(arguments);
  if (!assignments) {
    session.output.complaint("set", "PATH=VALUE..., or one PATH and one VALUE");
    return Exit::kWrongUse;
  }
  if (!force)
    if (const Exit exit = check(session, *assignments); exit != Exit::kDone) return exit;

  Exit exit = Exit::kDone;
  Json rows = Json::array();
  for (const auto& [path, value] : *assignments) {
    const int code = session.client.set_value(path, value);
    if (code != GWCONF_OK && code != GWCONF_UNCHANGED)
      exit = worse(exit, path_failure(session, "set", path, code));
    Json row{{"path", path}};
    row.update(json_of(code));
    rows.push_back(std::move(row));
    if (exit == Exit::kUnreachable) break;
  }
  if (session.output.json()) session.output.document(rows);
  return exit;
}

}  // namespace gwconf::tool
