#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>

#include "tools/base/failure.h"
#include "tools/offline/checked_file.h"
#include "tools/offline/finding_printer.h"
#include "tools/offline/verbs.h"

namespace gwconf::tool {
namespace {

/// Findings past this are counted, but not listed.
constexpr std::size_t kListedFindingsMax = 1000;

struct CheckOptions {
  std::vector<std::string> files;
  bool standard = false;
  std::string facts;   ///< empty for the usual file
  bool rules = false;  ///< list the rules, and check nothing
};

/// How many findings of each severity.
class Tally {
 public:
  explicit Tally(const Findings& findings) {
    for (const Finding& finding : findings)
      ++counts_[static_cast<std::size_t>(row_of(finding.rule).severity)];
  }

  [[nodiscard]] std::size_t of(Severity severity) const {
    return counts_[static_cast<std::size_t>(severity)];
  }
  [[nodiscard]] Exit exit() const {
    return of(Severity::kError) + of(Severity::kWarning) > 0 ? Exit::kFindings : Exit::kDone;
  }
  [[nodiscard]] std::string text() const {
    std::string text;
    for (const Severity severity : {Severity::kError, Severity::kWarning, Severity::kNote})
      if (of(severity) > 0)
        text += (text.empty() ? "" : ", ") + counted(of(severity), severity_text(severity));
    return text.empty() ? "no findings" : text;
  }

 private:
  std::array<std::size_t, 3> counts_{};
};

void print(const Output& output, const std::string& file, const CheckedFile& checked,
           const Tally& tally) {
  const FindingPrinter printer{output, checked, file};
  const Findings& findings = checked.findings();
  const std::size_t listed = std::min(findings.size(), kListedFindingsMax);
  for (std::size_t number = 0; number < listed; ++number)
    printer.print(findings[number]);
  std::string summary = harmless(file) + ": " + tally.text();
  if (listed < findings.size())
    summary += "; only the first " + std::to_string(listed) + " are listed";
  output.line(summary);
}

/// Without the facts a check is a little stricter. Only departures from the standard need them.
[[nodiscard]] std::optional<Facts> load_facts(const CheckOptions& options) {
  const std::string file = facts_file(options.facts);
  std::error_code error;
  const bool needed = options.standard || !options.facts.empty();
  if (!needed && !std::filesystem::exists(file, error)) return {};
  return std::optional<Facts>{std::in_place, file};
}

[[nodiscard]] Json json_of(const std::string& file, const CheckedFile& checked,
                           const Tally& tally) {
  const Lines lines{checked.text()};
  Json rows = Json::array();
  for (const Finding& finding : checked.findings()) {
    if (rows.size() == kListedFindingsMax) break;
    const RuleRow& rule = row_of(finding.rule);
    const Position position = lines.position(finding.at);
    Json row{{"rule", rule.id},
             {"severity", severity_text(rule.severity)},
             {"line", position.line},
             {"column", position.column},
             {"message", finding.message},
             {"stops_loading", finding.stops}};
    if (std::string path = checked.path_of(finding); !path.empty()) row["path"] = std::move(path);
    rows.push_back(std::move(row));
  }
  return {{"file", file},
          {"loads", checked.loads()},
          {"errors", tally.of(Severity::kError)},
          {"warnings", tally.of(Severity::kWarning)},
          {"notes", tally.of(Severity::kNote)},
          {"findings", std::move(rows)}};
}

[[nodiscard]] Exit list_rules(const Session& session) {
  Json rows = Json::array();
  for (const RuleRow& rule : rule_table) {
    if (session.output.json())
      rows.push_back({{"rule", rule.id},
                      {"severity", severity_text(rule.severity)},
                      {"title", title_of(rule)}});
    else
      session.output.line(std::string{rule.id} + ' ' + std::string{severity_text(rule.severity)} +
                          ": " + title_of(rule));
  }
  if (session.output.json()) session.output.document(rows);
  return Exit::kDone;
}

/// Errors and warnings are findings; notes alone are not. A file that cannot be read does not keep
/// the others from being checked.
[[nodiscard]] Exit check_files(const Session& session, const CheckOptions& options) {
  const std::optional<Facts> facts = load_facts(options);
  Exit exit = Exit::kDone;
  Json rows = Json::array();
  for (const std::string& file : options.files) {
    try {
      const CheckedFile checked{file, facts ? &*facts : nullptr, options.standard};
      const Tally tally{checked.findings()};
      exit = worse(exit, tally.exit());
      if (session.output.json())
        rows.push_back(json_of(file, checked, tally));
      else
        print(session.output, file, checked, tally);
    } catch (const Failure& failure) {
      session.output.complaint("check", failure.what());
      rows.push_back({{"file", file}, {"error", failure.what()}});
      exit = worse(exit, failure.exit());
    }
  }
  if (session.output.json()) session.output.document(rows);
  return exit;
}

[[nodiscard]] Exit check(const Session& session, const CheckOptions& options) {
  return options.rules ? list_rules(session) : check_files(session, options);
}

}  // namespace

void add_check(VerbList& verbs) {
  std::shared_ptr<CheckOptions> options;
  CLI::App* verb = verbs.add("check", "Check factory defaults; docs/check-rules.md lists the rules",
                             "gwctl check --standard models/home-gateway.xml", check, &options);
  CLI::Option* rules = verb->add_flag("--rules", options->rules, "List the rules");
  verb->add_option("FILE", options->files, "Files of factory defaults")->excludes(rules);
  verb->add_flag("--standard", options->standard, "Also look for departures from the standard");
  verb->add_option("--facts", options->facts, kFactsHelp);
  // One of the two is needed, which the parser has no word for.
  verb->parse_complete_callback([options] {
    if (!options->rules && options->files.empty()) throw CLI::RequiredError{"FILE"};
  });
}

}  // namespace gwconf::tool
