#include <algorithm>
#include <optional>
#include <vector>

#include "tools/offline/source.h"
#include "tools/offline/text.h"
#include "tools/offline/upgrade_outcomes.h"
#include "tools/offline/verbs.h"

namespace gwconf::tool {
namespace {

[[nodiscard]] std::string line_of(const Outcome& outcome, const Screen& screen) {
  constexpr std::size_t kColumn = 9;
  const FateRow& row = row_of(outcome.fate);
  std::string line = row.name;
  line.resize(kColumn, ' ');
  if (row.is_loss) line = screen.coloured(Screen::Colour::kError, line);
  line += harmless(outcome.path);
  if (outcome.before && outcome.after && *outcome.before != *outcome.after)
    line += ": " + in_quotes(*outcome.before) + " -> " + in_quotes(*outcome.after);
  else if (outcome.before || outcome.after)
    line += " = " + in_quotes(outcome.before ? *outcome.before : *outcome.after);
  return outcome.remark.empty() ? line : line + " (" + harmless(outcome.remark) + ')';
}

[[nodiscard]] Json json_of(const Outcome& outcome) {
  Json row{{"outcome", row_of(outcome.fate).name},
           {"path", outcome.path},
           {"loss", row_of(outcome.fate).is_loss}};
  if (outcome.before) row["before"] = *outcome.before;
  if (outcome.after) row["after"] = *outcome.after;
  if (!outcome.remark.empty()) row["remark"] = outcome.remark;
  return row;
}

[[nodiscard]] std::string summary_of(const std::vector<Outcome>& outcomes) {
  std::string summary;
  for (std::size_t fate = 0; fate < kFates.size(); ++fate) {
    const auto count = std::count_if(outcomes.begin(), outcomes.end(), [fate](const auto& outcome) {
      return outcome.fate == static_cast<Fate>(fate);
    });
    if (count > 0)
      summary += (summary.empty() ? "" : ", ") + std::to_string(count) + ' ' + kFates[fate].name;
  }
  return summary.empty() ? "nothing is saved" : summary;
}

struct UpgradeOptions {
  std::string settings;
  std::string new_defaults;
  std::string old_defaults;  ///< may be empty
};

void print(const Output& output, const std::vector<Outcome>& outcomes) {
  for (const Outcome& outcome : outcomes)
    output.line(line_of(outcome, output.screen()));
  output.line(summary_of(outcomes));
}

[[nodiscard]] Json json_of(const std::vector<Outcome>& outcomes, bool loses) {
  Json rows = Json::array();
  for (const Outcome& outcome : outcomes)
    rows.push_back(json_of(outcome));
  return {{"loses", loses}, {"outcomes", std::move(rows)}};
}

/// A setting that would be lost is a finding.
[[nodiscard]] Exit upgrade(const Session& session, const UpgradeOptions& options) {
  const LoadedTree saved = load_tree(options.settings, load_text(options.settings));
  FirstStart next{options.new_defaults, load_text(options.new_defaults), saved};
  std::optional<FirstStart> old;
  if (!options.old_defaults.empty())
    old.emplace(options.old_defaults, load_text(options.old_defaults), saved);
  const std::vector<Outcome> outcomes = judge_upgrade(saved, next, old ? &*old : nullptr);
  const bool loses = std::any_of(outcomes.begin(), outcomes.end(), [](const Outcome& outcome) {
    return row_of(outcome.fate).is_loss;
  });
  if (session.output.json())
    session.output.document(json_of(outcomes, loses));
  else
    print(session.output, outcomes);
  return loses ? Exit::kFindings : Exit::kDone;
}

}  // namespace

void add_upgrade(VerbList& verbs) {
  std::shared_ptr<UpgradeOptions> options;
  CLI::App* verb =
      verbs.add("upgrade", "Report what new factory defaults make of saved settings",
                "gwctl upgrade mtd9.bin new.xml --old-defaults old.xml", upgrade, &options);
  verb->add_option("BLOCK", options->settings, "The saved settings: a block, a dump or XML")
      ->required();
  verb->add_option("NEW-DEFAULTS", options->new_defaults, "The next firmware's factory defaults")
      ->required();
  verb->add_option("--old-defaults", options->old_defaults,
                   "The present ones, to report what becomes of what nobody set");
}

}  // namespace gwconf::tool
