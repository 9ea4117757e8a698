#include <string_view>

#include "tools/live/verbs.h"

namespace gwconf::tool {
namespace {

struct RawOptions {
  int command = 0;
  std::vector<std::string> arguments;
};

/// Sends any command number with any arguments and prints each answer, which ends with one line
/// break whether it brings it or not. The answers of a refusal are printed too.
[[nodiscard]] Exit raw(const Session& session, const RawOptions& options) {
  const auto result = session.client.call(options.command, options.arguments);
  const Output& output = session.output;
  const bool is_done = result.code == GWCONF_OK || result.code == GWCONF_UNCHANGED;
  const Exit exit =
      is_done ? Exit::kDone : output.failure("raw " + std::to_string(options.command), result.code);
  if (output.json()) {
    Json document{{"answers", result.value}};
    document.update(json_of(result.code));
    output.document(document);
    return exit;
  }
  for (std::string_view answer : result.value) {
    if (answer.ends_with('\n')) answer.remove_suffix(1);
    output.line(output.shown_lines(answer));
  }
  return exit;
}

}  // namespace

void add_raw(Registry& registry) {
  const auto [parser, options] =
      registry.add({"raw", "Send a request by its number and print the answers",
                    "raw 2 InternetGatewayDevice.DeviceSummary"},
                   raw);
  parser.add_option("NUMBER", options.command, "Command number")->required();
  parser.add_option("ARGUMENT", options.arguments, "Argument texts");
}

}  // namespace gwconf::tool
