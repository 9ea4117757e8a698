#include "tools/offline/source.h"

#include <utility>

#include "storage/big_endian.h"
#include "storage/settings_block.h"
#include "tools/base/failure.h"
#include "tools/base/files.h"
#include "tools/offline/block_image.h"
#include "tools/offline/daemon_terms.h"
#include "tools/offline/facts.h"
#include "tools/offline/outline.h"
#include "tools/offline/text.h"

namespace gwconf::tool {
namespace {

constexpr std::string_view kLive = "live";
constexpr std::string_view kLiveAt = "live:";

[[nodiscard]] std::string objection_of(const LoadedTree& tree, std::string_view text) {
  if (tree.state() != LoadedTree::State::kRefused) return {};
  const Scan items = scan(text);
  const Verdict verdict = verdict_of(items, outline_of(items));
  if (verdict.loads) return in_quotes(tree.diagnostics());
  const Position position = Lines{text}.position(verdict.reason.at);
  return "line " + std::to_string(position.line) + ", column " + std::to_string(position.column) +
         ": " + verdict.reason.message + " [" + std::string{row_of(verdict.reason.rule).id} + ']';
}

/// Exports write values as they are stored; the loader would take a backslash in them for an
/// escape.
[[nodiscard]] std::string with_backslashes_kept(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (const char c : text)
    result.append(c == '\\' ? 2 : 1, c);
  return result;
}

[[nodiscard]] Failure told_failure(const Output& output, const std::string& subject, int code) {
  return {output.failure(subject, code), gwconf_strerror(code), true};
}

[[nodiscard]] Source load_live(const Session& session, const std::string& argument) {
  const bool is_named = argument != kLive;
  Client named{is_named ? argument.substr(kLiveAt.size()).c_str() : nullptr};
  if (named.code() == GWCONF_OK) static_cast<void>(named.set_timeout(session.timeout));
  const Client& client = is_named ? named : session.client;
  // Built before the request: a failure is reported with the system's reason, which must not be
  // overwritten in between.
  const std::string subject = "diff " + argument;
  const Output output{session.output.json(),
                      client.code() == GWCONF_OK ? client.socket_path() : argument};
  const Result<std::string> result = client.export_node(std::string{kRootSegment});
  if (result.code != GWCONF_OK) throw told_failure(output, subject, result.code);
  LoadedTree tree{with_backslashes_kept(result.value)};
  if (tree.state() != LoadedTree::State::kLoaded)
    throw told_failure(output, subject, GWCONF_E_PROTOCOL);
  return {std::move(tree), true};
}

}  // namespace

std::string loading_objection(std::string_view text) {
  return objection_of(LoadedTree{text}, text);
}

LoadedTree load_tree(const std::string& name, std::string_view text) {
  LoadedTree tree{text};
  const std::string objection = objection_of(tree, text);
  if (!objection.empty()) throw refused(name, "the daemon does not load it: " + objection);
  return tree;
}

std::string load_text(const std::string& file) {
  FileContent content = read_file(file, kDocumentBytesMax + 1);
  const bool is_block =
      content.bytes.size() >= 4 && load_be32(content.bytes.data()) == block::kMagic;
  if (is_block) {
    const BlockImage image{file};
    if (!image.is_intact())
      throw refused(file, std::string{"no valid block: "} + image.failure()->name + ": " +
                              image.failure()->finding);
    return image.text();
  }
  if (content.size > kDocumentBytesMax)
    throw refused(file, "has " + std::to_string(content.size) +
                            " bytes; the daemon reads no more than " +
                            std::to_string(kDocumentBytesMax));
  if (content.bytes.find('\0') != std::string::npos)
    throw refused(file, "is neither XML nor a settings block: it holds a NUL byte");
  return std::move(content.bytes);
}

Source load_source(const Session& session, const std::string& argument) {
  if (argument == kLive || argument.starts_with(kLiveAt)) return load_live(session, argument);
  return {load_tree(argument, load_text(argument)), false};
}

}  // namespace gwconf::tool
