#include <filesystem>
#include <iostream>
#include <unistd.h>

#include "tools/base/files.h"
#include "tools/live/verbs.h"

namespace gwconf::tool {
namespace {

struct ExportOptions {
  std::string path;
  std::string output;  ///< empty for standard output
};

struct FileOptions {
  std::string file;
};

struct ResetOptions {
  bool yes = false;
};

/// The daemon opens the file, in a folder of its own.
[[nodiscard]] std::string absolute(const std::string& file) {
  std::error_code error;
  const std::filesystem::path path = std::filesystem::absolute(file, error);
  return error ? file : path.lexically_normal().string();
}

/// The end of a verb that is one request without a path: a document of `fields`, code and meaning.
Exit finish_whole(const Session& session, const std::string& subject, int code,
                  Json fields = Json::object()) {
  fields.update(json_of(code));
  if (code != GWCONF_OK)
    throw Failure{Output::exit_of(code), subject + ": " + session.output.reason_of(code),
                  std::move(fields)};
  if (session.output.json()) session.output.document(fields);
  return Exit::kDone;
}

Exit finish_file(const Session& session, const std::string& verb, const std::string& file,
                 int code) {
  return finish_whole(session, verb + " " + file, code, {{"file", file}});
}

[[nodiscard]] Exit commit(const Session& session) {
  return finish_whole(session, "commit", session.client.commit());
}

[[nodiscard]] Exit print_export(const Session& session, const std::string& path,
                                const std::string& xml) {
  if (session.output.json()) return finish(session, "export", path, GWCONF_OK, {{"xml", xml}});
  std::string_view text = xml;
  if (text.ends_with('\n')) text.remove_suffix(1);
  session.output.line(session.output.shown_lines(text));
  return Exit::kDone;
}

[[nodiscard]] Exit export_xml(const Session& session, const ExportOptions& options) {
  const std::string& path = options.path;
  const std::string xml = answer_of(session, "export", path,
                                    path.ends_with('.') ? session.client.export_node(path)
                                                        : session.client.export_parameter(path));
  if (options.output.empty()) return print_export(session, path, xml);
  try {
    write_file(options.output, xml, Privacy::kOwner);
  } catch (const Failure& failure) {
    throw Failure{failure.exit(), "export " + path + ": " + failure.what()};
  }
  return finish(session, "export", path, GWCONF_OK, {{"file", options.output}});
}

[[nodiscard]] Exit save(const Session& session, const FileOptions& options) {
  const std::string path = absolute(options.file);
  return finish_file(session, "save", path, session.client.save(path));
}

[[nodiscard]] Exit restore(const Session& session, const FileOptions& options) {
  const std::string path = absolute(options.file);
  return finish_file(session, "restore", path, session.client.restore(path));
}

[[nodiscard]] bool is_confirmed() {
  std::cerr << "Replace the whole configuration by the factory defaults, in memory and in flash? "
               "[y/N] "
            << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  return answer == "y" || answer == "Y" || answer == "yes";
}

[[nodiscard]] Exit reset(const Session& session, const ResetOptions& options) {
  if (!options.yes && isatty(STDIN_FILENO) != 1)
    throw Failure{Exit::kWrongUse, "reset: asks first, and nobody is there to answer: give --yes"};
  if (!options.yes && !is_confirmed()) throw Failure{Exit::kWrongUse, "reset: not done"};
  return finish_whole(session, "reset", session.client.reset());
}

void add_export(Registry& registry) {
  const auto [parser, options] =
      registry.add({"export", "Print an object with all below it, or a parameter, as XML",
                    "export InternetGatewayDevice.Time. -o time.xml"},
                   export_xml);
  parser.add_option("PATH", options.path, "Parameter, or object with its last dot")->required();
  parser.add_option("-o,--output", options.output, "File to write");
}

void add_save(Registry& registry) {
  const auto [parser, options] =
      registry.add({"save", "Save what the user has set to a file, which the daemon writes",
                    "save settings.xml"},
                   save);
  parser.add_option("FILE", options.file, "File")->required();
}

void add_restore(Registry& registry) {
  const auto [parser, options] =
      registry.add({"restore", "Lay a saved file over the factory defaults; last with a commit",
                    "restore settings.xml"},
                   restore);
  parser.add_option("FILE", options.file, "File, which the daemon reads")->required();
}

void add_reset(Registry& registry) {
  const auto [parser, options] = registry.add(
      {"reset", "Back to the factory defaults, in memory and in flash", "reset --yes"}, reset);
  parser.add_flag("--yes", options.yes, "Do not ask");
}

}  // namespace

void add_configuration_verbs(Registry& registry) {
  registry.add({"commit", "Write what the user has set to flash", "commit"}, commit);
  add_export(registry);
  add_save(registry);
  add_restore(registry);
  add_reset(registry);
}

}  // namespace gwconf::tool
