#include "tools/cli/parser.h"

#include <algorithm>

#include "tools/base/hint.h"
#include "tools/base/output.h"
#include "tools/base/screen.h"

namespace gwconf::tool {
namespace {

/// Goes before a word that the parser would not take as it stands: [A,B] for a list of two, ++ for
/// the end of a verb.
constexpr char kAsItStands = '\1';

[[nodiscard]] std::string marked(const std::string& word) {
  const bool is_special = word.starts_with('[') || word == "++" || word.starts_with(kAsItStands);
  return is_special ? kAsItStands + word : word;
}

[[nodiscard]] std::string unmarked(const std::string& word) {
  return word.starts_with(kAsItStands) ? word.substr(1) : word;
}

void unmark_arguments(CLI::App& app) {
  for (CLI::Option* option : app.get_options())
    option->transform(unmarked);
  for (CLI::App* sub : app.get_subcommands([](CLI::App*) { return true; }))
    unmark_arguments(*sub);
}

/// The verbs that the innermost one of a command line could be followed by.
[[nodiscard]] std::vector<std::string> possible_verbs(const CLI::App& app) {
  const CLI::App* inner = &app;
  while (!inner->get_subcommands().empty())
    inner = inner->get_subcommands().front();
  std::vector<std::string> verbs;
  for (const CLI::App* sub : inner->get_subcommands([](const CLI::App*) { return true; }))
    verbs.push_back(sub->get_name());
  return verbs;
}

/// What is wrong with a command line: its verb is unknown or missing, or is used wrongly.
[[nodiscard]] std::string objection_of(const CLI::App& app, const CLI::Error& error) {
  const std::vector<std::string> verbs = possible_verbs(app);
  std::string text = error.what();
  if (!verbs.empty() && error.get_name() == "RequiredError") {
    text = "no verb";
    for (const std::string& word : app.remaining(true)) {
      if (word.starts_with('-')) continue;
      text = unmarked(word);
      text += " is no verb" + question_of(near_names(text, verbs));
      break;
    }
  }
  std::erase(text, kAsItStands);
  return harmless(text, "\n");
}

}  // namespace

void set_up_parser(CLI::App& app) {
  app.failure_message([](const CLI::App* whole, const CLI::Error& error) {
    return "gwctl: " + objection_of(*whole, error) + "\nRun with --help for more information.\n";
  });
  unmark_arguments(app);
}

void parse(CLI::App& app, const std::vector<std::string>& words) {
  std::vector<std::string> latest_first(words.size());
  std::transform(words.rbegin(), words.rend(), latest_first.begin(), marked);
  app.parse(std::move(latest_first));
}

}  // namespace gwconf::tool
