#include "tools/live/start.h"
#include "tools/live/verbs.h"

namespace gwconf::tool {
namespace {

struct LsOptions {
  std::string path;
};

/// Prints what an object holds: parameters and child objects by name.
[[nodiscard]] Exit ls(const Session& session, const LsOptions& options) {
  const ExportedTree start = start_at(session, "ls", options.path);
  const Output& output = session.output;
  Json rows = Json::array();
  for (const ExportedParameter& parameter : start.root.parameters) {
    rows.push_back({{"path", start.path + parameter.name}, {"type", parameter.type}});
    if (!output.json()) output.line(output.shown(parameter.name));
  }
  for (const ExportedObject& child : start.root.objects) {
    rows.push_back({{"path", start.path + child.name}, {"type", "object"}});
    if (!output.json())
      output.line(output.screen().coloured(Screen::Colour::kObject, output.shown(child.name)));
  }
  if (output.json()) output.document(rows);
  return Exit::kDone;
}

}  // namespace

void add_ls(Registry& registry) {
  const auto [parser, options] =
      registry.add({"ls", "List what an object holds", "ls InternetGatewayDevice.Time."}, ls);
  parser.add_option("PATH", options.path, "Object (else the root)");
}

}  // namespace gwconf::tool
