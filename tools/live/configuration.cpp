#include "tools/live/configuration.h"

#include <filesystem>
#include <iostream>
#include <unistd.h>

#include "tools/base/failure.h"
#include "tools/base/files.h"

namespace gwconf::tool {
namespace {

[[nodiscard]] std::string absolute(const std::string& file) {
  std::error_code error;
  const std::filesystem::path path = std::filesystem::absolute(file, error);
  return error ? file : path.lexically_normal().string();
}

/// The end of a verb that has no path.
[[nodiscard]] Exit finish_whole(const Session& session, const std::string& verb, int code) {
  const Exit exit = code == GWCONF_OK ? Exit::kDone : session.output.failure(verb, code);
  if (session.output.json()) session.output.document(json_of(code));
  return exit;
}

[[nodiscard]] Exit finish_file(const Session& session, const std::string& verb,
                               const std::string& file, int code) {
  const Exit exit =
      code == GWCONF_OK ? Exit::kDone : session.output.failure(verb + " " + file, code);
  if (session.output.json()) {
    Json document{{"file", file}};
    document.update(json_of(code));
    session.output.document(document);
  }
  return exit;
}

[[nodiscard]] bool is_confirmed() {
  std::cerr << "Replace the whole configuration by the factory defaults, in memory and in flash? "
               "[y/N] "
            << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  return answer == "y" || answer == "Y" || answer == "yes";
}

}  // namespace

Exit commit(const Session& session) {
  return finish_whole(session, "commit", session.client.commit());
}

Exit export_xml(const Session& session, const std::string& path, const std::string& file) {
  const Result<std::string> xml = path.ends_with('.') ? session.client.export_node(path)
                                                      : session.client.export_parameter(path);
  if (!xml) return finish(session, "export", path, xml.code);
  if (file.empty()) {
    if (session.output.json()) return finish(session, "export", path, 0, {{"xml", xml.value}});
    std::string_view text = xml.value;
    if (text.ends_with('\n')) text.remove_suffix(1);
    session.output.line(session.output.shown_lines(text));
    return Exit::kDone;
  }
  try {
    write_file(file, xml.value, Privacy::kOwner);
  } catch (const Failure& failure) {
    session.output.complaint("export " + path, failure.what());
    return failure.exit();
  }
  if (session.output.json()) return finish(session, "export", path, 0, {{"file", file}});
  return Exit::kDone;
}

Exit save(const Session& session, const std::string& file) {
  const std::string path = absolute(file);
  return finish_file(session, "save", path, session.client.save(path));
}

Exit restore(const Session& session, const std::string& file) {
  const std::string path = absolute(file);
  return finish_file(session, "restore", path, session.client.restore(path));
}

Exit reset(const Session& session, bool yes) {
  if (!yes && isatty(STDIN_FILENO) != 1) {
    session.output.complaint("reset", "asks first, and nobody is there to answer: give --yes");
    return Exit::kWrongUse;
  }
  if (!yes && !is_confirmed()) {
    session.output.complaint("reset", "not done");
    return Exit::kWrongUse;
  }
  return finish_whole(session, "reset", session.client.reset());
}

}  // namespace gwconf::tool
