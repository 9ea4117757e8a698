#include "tools/live/pattern.h"
#include "tools/live/verbs.h"

namespace gwconf::tool {
namespace {

struct GetOptions {
  std::vector<std::string> paths;
};

/// Prints values: alone for one path, as PATH=VALUE for several. Goes on behind a path that is
/// refused, but not when nobody is there.
class ValuePrinter {
 public:
  ValuePrinter(const Session& session, bool is_bare) : session_{session}, is_bare_{is_bare} {}

  [[nodiscard]] Exit exit() const { return exit_; }
  [[nodiscard]] bool is_over() const { return exit_ == Exit::kUnreachable; }
  [[nodiscard]] const Json& rows() const { return rows_; }

  /// The parameter of a path, or all that a pattern stands for.
  void print(const std::string& path) {
    if (!is_pattern(path)) return print(path, session_.client.get_value(path));
    const Result<std::vector<Match>> matches = expand(session_.client, path);
    if (!matches) return print(path, {matches.code, {}});
    for (const Match& match : matches.value) {
      print(match.path, current_value(session_.client, match.path, match.parameter));
      if (is_over()) break;
    }
  }

 private:
  void print(const std::string& path, const Result<std::string>& result) {
    const Output& output = session_.output;
    Json row{{"path", path}};
    if (!result) {
      exit_ = worse(exit_, output.failure(path_failure(session_, "get", path, result.code)));
      row.update(json_of(result.code));
    } else if (output.json()) {
      row["value"] = result.value;
    } else {
      output.line(output.shown(is_bare_ ? result.value : path + "=" + result.value));
    }
    rows_.push_back(std::move(row));
  }

  const Session& session_;
  bool is_bare_;
  Exit exit_ = Exit::kDone;
  Json rows_ = Json::array();
};

[[nodiscard]] Exit get(const Session& session, const GetOptions& options) {
  const std::vector<std::string>& paths = options.paths;
  ValuePrinter printer{session, paths.size() == 1 && !is_pattern(paths[0])};
  for (const std::string& path : paths) {
    printer.print(path);
    if (printer.is_over()) break;
  }
  if (session.output.json()) session.output.document(printer.rows());
  return printer.exit();
}

}  // namespace

void add_get(Registry& registry) {
  const auto [parser, options] =
      registry.add({"get", "Print the value of parameters",
                    "get InternetGatewayDevice.Time. "
                    "'InternetGatewayDevice.LANDevice.*.LANWLANConfigurationNumberOfEntries'"},
                   get);
  parser
      .add_option("PATH", options.paths,
                  "Parameters, objects (all below), or \"*\" in the place of an instance number")
      ->required();
}

}  // namespace gwconf::tool
