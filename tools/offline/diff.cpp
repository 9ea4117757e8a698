#include "tools/offline/source.h"
#include "tools/offline/tree_diff.h"
#include "tools/offline/verbs.h"

namespace gwconf::tool {
namespace {

struct DiffOptions {
  std::string one;
  std::string other;
  bool values_only = false;
};

[[nodiscard]] Exit diff(const Session& session, const DiffOptions& options) {
  const Source one = load_source(session, options.one);
  const Source other = load_source(session, options.other);
  std::vector<Difference> differences;
  compare(one.tree, other.tree,
          {.without_templates = one.is_live != other.is_live, .values_only = options.values_only},
          &differences);
  return report(session, differences);
}

}  // namespace

void add_diff(VerbList& verbs) {
  std::shared_ptr<DiffOptions> options;
  CLI::App* verb =
      verbs.add("diff", "Compare two configurations: live, live:SOCKET, an XML file or a block",
                "gwctl diff /etc/default.xml live", diff, &options);
  verb->add_option("A", options->one, "One configuration")->required();
  verb->add_option("B", options->other, "The other configuration")->required();
  verb->add_flag("--values", options->values_only,
                 "Compare objects and values only, not types and access");
}

}  // namespace gwconf::tool
