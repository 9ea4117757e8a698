#include "tools/offline/offline.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/base/failure.h"
#include "tools/offline/block.h"
#include "tools/offline/check.h"
#include "tools/offline/model.h"
#include "tools/offline/tree_diff.h"
#include "tools/offline/upgrade.h"

namespace gwconf::tool {
namespace {

/// What the command line says about these verbs.
struct Arguments {
  CheckOptions check;
  bool rules = false;
  std::vector<std::string> files;
  std::string file;
  std::string other;
  std::string facts;
  std::string output;
  std::string old_defaults;
  std::uint32_t carried = 0;
  bool values_only = false;
};

/// Tells what ended a verb early.
[[nodiscard]] Exit tell(const Session& session, const std::string& verb, const Failure& failure) {
  if (!failure.told()) session.output.complaint(verb, failure.what());
  if (session.output.json()) session.output.document({{"error", failure.what()}});
  return failure.exit();
}

class OfflineVerbs {
 public:
  explicit OfflineVerbs(std::function<void(Verb)> choose) : choose_{std::move(choose)} {}

  void add_to(CLI::App& app) {
    add_check(app);
    add_block(app);
    add_diff(app);
    add_upgrade(app);
    add_model(app);
  }

 private:
  using Run = std::function<Exit(const Session&, const Arguments&)>;

  CLI::App* add(CLI::App& app, const char* name, const char* description, const char* example,
                Run run) {
    CLI::App* verb = app.add_subcommand(name, description);
    verb->footer(std::string{"Example:\n  "} + example);
    const std::string subject = (app.get_parent() ? app.get_name() + ' ' : "") + name;
    verb->callback([choose = choose_, arguments = arguments_, run = std::move(run), subject] {
      choose([arguments, run, subject](const Session& session) {
        try {
          return run(session, *arguments);
        } catch (const Failure& failure) {
          return tell(session, subject, failure);
        }
      });
    });
    return verb;
  }

  void add_check(CLI::App& app) {
    CLI::App* verb =
        add(app, "check", "Check factory defaults; docs/check-rules.md tells the rules",
            "gwctl check --standard models/home-gateway.xml",
            [](const Session& session, const Arguments& arguments) {
              return arguments.rules ? list_rules(session) : check(session, arguments.check);
            });
    CLI::Option* rules = verb->add_flag("--rules", arguments_->rules, "List the rules");
    verb->add_option("FILE", arguments_->check.files, "Files of factory defaults")->excludes(rules);
    verb->add_flag("--standard", arguments_->check.standard,
                   "Also look for departures from the standard");
    verb->add_option("--facts", arguments_->check.facts,
                     "The standard's facts (else GWCONF_FACTS, else the installed file)");
    // One of the two is needed, which has no word of its own in the parser.
    verb->parse_complete_callback([this_arguments = arguments_] {
      if (!this_arguments->rules && this_arguments->check.files.empty())
        throw CLI::RequiredError{"FILE"};
    });
  }

  void add_block(CLI::App& app) {
    CLI::App* block =
        app.add_subcommand("block", "Look into settings blocks and partition dumps, and make them");
    block->require_subcommand(1);
    block->footer("Example:\n  gwctl block verify mtd9.bin mtd10.bin");

    CLI::App* verb =
        add(*block, "info", "Print the header and what is wrong with the block",
            "gwctl block info mtd9.bin", [](const Session& session, const Arguments& arguments) {
              return block_info(session, arguments.file);
            });
    verb->add_option("FILE", arguments_->file, "A block, or a dump that begins with one")
        ->required();

    verb = add(*block, "verify", "Tell whether blocks are valid", "gwctl block verify mtd9.bin",
               [](const Session& session, const Arguments& arguments) {
                 return block_verify(session, arguments.files);
               });
    verb->add_option("FILE", arguments_->files, "Blocks, or dumps that begin with one")->required();

    verb = add(*block, "unpack", "Write the settings in a block as XML",
               "gwctl block unpack mtd9.bin -o settings.xml",
               [](const Session& session, const Arguments& arguments) {
                 return block_unpack(session, arguments.file, arguments.output);
               });
    verb->add_option("FILE", arguments_->file, "A block, or a dump that begins with one")
        ->required();
    verb->add_option("-o,--output", arguments_->output, "The file to write (else standard output)");

    verb = add(*block, "pack", "Make a block from settings in XML",
               "gwctl block pack settings.xml -o mtd9.bin",
               [](const Session& session, const Arguments& arguments) {
                 return block_pack(session, arguments.file, arguments.output, arguments.carried);
               });
    verb->add_option("FILE", arguments_->file, "The settings")->required();
    verb->add_option("-o,--output", arguments_->output, "The block to write")->required();
    verb->add_option("--carried", arguments_->carried,
                     "The word that is carried from block to block (else 0)");

    verb = add(*block, "diff", "Compare two blocks", "gwctl block diff mtd9.bin mtd10.bin",
               [](const Session& session, const Arguments& arguments) {
                 return block_diff(session, arguments.file, arguments.other);
               });
    verb->add_option("A", arguments_->file, "One block")->required();
    verb->add_option("B", arguments_->other, "The other block")->required();
  }

  void add_diff(CLI::App& app) {
    CLI::App* verb = add(
        app, "diff", "Compare two configurations: live, live:SOCKET, an XML file or a block",
        "gwctl diff /etc/default.xml live", [](const Session& session, const Arguments& arguments) {
          return diff(session, arguments.file, arguments.other, arguments.values_only);
        });
    verb->add_option("A", arguments_->file, "One configuration")->required();
    verb->add_option("B", arguments_->other, "The other configuration")->required();
    verb->add_flag("--values", arguments_->values_only,
                   "Compare objects and values only, not types and access");
  }

  void add_upgrade(CLI::App& app) {
    CLI::App* verb =
        add(app, "upgrade", "Tell what new factory defaults make of saved settings",
            "gwctl upgrade mtd9.bin new.xml --old-defaults old.xml",
            [](const Session& session, const Arguments& arguments) {
              return upgrade(session, arguments.file, arguments.other, arguments.old_defaults);
            });
    verb->add_option("BLOCK", arguments_->file, "The saved settings: a block, a dump or XML")
        ->required();
    verb->add_option("NEW-DEFAULTS", arguments_->other, "The next firmware's factory defaults")
        ->required();
    verb->add_option("--old-defaults", arguments_->old_defaults,
                     "The present ones, to tell what becomes of what nobody set");
  }

  void add_model(CLI::App& app) {
    CLI::App* verb = add(app, "model", "Render a device profile to factory defaults",
                         "gwctl model models/home-gateway.profile -o home-gateway.xml",
                         [](const Session& session, const Arguments& arguments) {
                           return model(session, arguments.file, arguments.facts, arguments.output);
                         });
    verb->add_option("PROFILE", arguments_->file, "The device's profile")->required();
    verb->add_option("--facts", arguments_->facts,
                     "The standard's facts (else GWCONF_FACTS, else the installed file)");
    verb->add_option("-o,--output", arguments_->output, "The file to write (else standard output)");
  }

  std::function<void(Verb)> choose_;
  std::shared_ptr<Arguments> arguments_ = std::make_shared<Arguments>();
};

}  // namespace

void add_offline_verbs(CLI::App& app, const std::function<void(Verb)>& choose) {
  OfflineVerbs{choose}.add_to(app);
}

}  // namespace gwconf::tool
