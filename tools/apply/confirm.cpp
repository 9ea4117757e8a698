#include <optional>

#include "tools/apply/pending_file.h"
#include "tools/apply/verbs.h"

namespace gwconf::tool {
namespace {

/// Keeps the batch that waits for its confirmation. Findings when there is none.
[[nodiscard]] Exit confirm(const Session& session) {
  const std::optional<PendingFile> pending =
      PendingFile::open_waiting(session.output.socket_path());
  const bool is_done = pending && pending->take();
  const Json document{{"confirmed", is_done}};
  if (!is_done) throw Failure{Exit::kFindings, "confirm: no batch waits for it", document};
  if (session.output.json()) session.output.document(document);
  return Exit::kDone;
}

}  // namespace

void add_confirm(Registry& registry) {
  registry.add({"confirm", "Keep what `apply --confirm` changed", "confirm"}, confirm);
}

}  // namespace gwconf::tool
