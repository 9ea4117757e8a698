#include <string_view>

#include "tools/base/words.h"
#include "tools/live/start.h"
#include "tools/live/verbs.h"

namespace gwconf::tool {
namespace {

struct FindOptions {
  std::string pattern;
};

/// Prints and collects the paths that hold a text in their last name, their path or their value.
class Search {
 public:
  Search(const Session& session, const std::string& text)
      : session_{session}, wanted_{lower(text)} {}

  [[nodiscard]] const Json& rows() const { return rows_; }

  /// Throws Failure, with the rows that were found before it.
  void search(const std::string& path, const ExportedObject& object) {
    if (holds(path)) add({{"path", path}}, path);
    for (const ExportedParameter& parameter : object.parameters) {
      const std::string own = path + parameter.name;
      const Result<std::string> value = current_value(session_.client, own, parameter);
      if (!value && value.code != GWCONF_NOT_FOUND)
        throw path_failure(session_, "find", own, value.code, rows_);
      if (holds(own) || holds(value.value))
        add({{"path", own}, {"value", value.value}}, own + "=" + value.value);
    }
    for (const ExportedObject& child : object.objects)
      search(path + child.name, child);
  }

 private:
  [[nodiscard]] bool holds(std::string_view text) const {
    return lower(text).find(wanted_) != std::string::npos;
  }

  void add(Json row, const std::string& line) {
    rows_.push_back(std::move(row));
    if (!session_.output.json()) session_.output.line(session_.output.shown(line));
  }

  const Session& session_;
  std::string wanted_;
  Json rows_ = Json::array();
};

[[nodiscard]] Exit find(const Session& session, const FindOptions& options) {
  const ExportedTree start = start_at(session, "find", "");
  Search search{session, options.pattern};
  search.search(start.path, start.root);
  if (session.output.json()) session.output.document(search.rows());
  if (search.rows().empty())
    throw Failure{Exit::kFindings, "find " + options.pattern + ": nothing holds it"};
  return Exit::kDone;
}

}  // namespace

void add_find(Registry& registry) {
  const auto [parser, options] = registry.add(
      {"find", "Find paths and values that hold a text, in any case; 4 when none does", "find ntp"},
      find);
  parser.add_option("PATTERN", options.pattern, "Part of a path or value")->required();
}

}  // namespace gwconf::tool
