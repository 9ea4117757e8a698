#include "tools/offline/verb_list.h"

#include <utility>

#include "tools/base/failure.h"

namespace gwconf::tool {
namespace {

/// Reports what ended a verb early.
[[nodiscard]] Exit report(const Session& session, const std::string& verb, const Failure& failure) {
  if (!failure.told()) session.output.complaint(verb, failure.what());
  if (session.output.json()) session.output.document({{"error", failure.what()}});
  return failure.exit();
}

}  // namespace

VerbList::VerbList(CLI::App& app, std::function<void(Verb)> choose)
    : app_{app}, choose_{std::move(choose)} {}

CLI::App* VerbList::add_verb(const char* name, const char* description, const char* example,
                             Verb run) {
  CLI::App* verb = add_help(name, description, example);
  const std::string subject = (app_.get_parent() ? app_.get_name() + ' ' : "") + name;
  verb->callback([choose = choose_, run = std::move(run), subject] {
    choose([run, subject](const Session& session) {
      try {
        return run(session);
      } catch (const Failure& failure) {
        return report(session, subject, failure);
      }
    });
  });
  return verb;
}

VerbList VerbList::add_group(const char* name, const char* description, const char* example) {
  CLI::App* group = add_help(name, description, example);
  group->require_subcommand(1);
  return {*group, choose_};
}

CLI::App* VerbList::add_help(const char* name, const char* description, const char* example) {
  CLI::App* verb = app_.add_subcommand(name, description);
  verb->footer(std::string{"Example:\n  "} + example);
  return verb;
}

}  // namespace gwconf::tool
