#include "tools/offline/checked_file.h"

#include <algorithm>
#include <cstdint>

#include "tools/base/files.h"
#include "tools/base/screen.h"
#include "tools/offline/check_elements.h"
#include "tools/offline/check_standard.h"
#include "tools/offline/check_tree.h"
#include "tools/offline/daemon_terms.h"
#include "tools/offline/text.h"

namespace gwconf::tool {
namespace {

/// The first byte that belongs to no character of a text, or the end.
[[nodiscard]] std::size_t find_non_text(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t length = utf8_length(text.substr(at));
    const auto byte = static_cast<unsigned char>(text[at]);
    const bool control =
        (byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r') || byte == 0x7F;
    if (length == 0 || control) break;
    at += length;
  }
  return at;
}

}  // namespace

CheckedFile::CheckedFile(const std::string& file, const Facts* facts, bool standard) {
  FileContent content = read_file(file, kDocumentBytesMax + 1);
  if (content.size > kDocumentBytesMax) {
    findings_.push_back({.rule = Rule::kFileTooLarge,
                         .message = "the file has " + std::to_string(content.size) +
                                    " bytes; the daemon reads no more than " +
                                    std::to_string(kDocumentBytesMax),
                         .stops = true});
    return;
  }
  text_ = std::move(content.bytes);
  check(text_, facts, standard);
  std::stable_sort(findings_.begin(), findings_.end(),
                   [](const Finding& one, const Finding& other) { return one.at < other.at; });
}

std::string CheckedFile::path_of(const Finding& finding) const {
  return finding.element == std::string::npos ? std::string{} : outline_.path_of(finding.element);
}

void CheckedFile::check(std::string_view text, const Facts* facts, bool standard) {
  // To the daemon a file ends at its first NUL.
  if (const std::size_t nul = text.find('\0'); nul != std::string_view::npos) {
    findings_.push_back({.rule = Rule::kNulByte,
                         .at = nul,
                         .message = "a NUL byte ends the file here: nothing behind it is read"});
    text = text.substr(0, nul);
  }
  if (const std::size_t at = find_non_text(text); at < text.size())
    findings_.push_back({.rule = Rule::kNotText,
                         .at = at,
                         .message = in_quotes(text.substr(at, 1)) + " is no character of a text"});

  scan_ = scan(text);
  outline_ = outline_of(scan_);
  findings_.insert(findings_.end(), outline_.findings.begin(), outline_.findings.end());
  if (scan_.fault) findings_.push_back(*scan_.fault);
  check_elements(outline_, text, facts, &findings_);

  LoadedTree tree{text};
  loads_ = tree.state() == LoadedTree::State::kLoaded;
  if (verdict_of(scan_, outline_).loads != loads_) {
    findings_.push_back({.rule = Rule::kDisagreement,
                         .message = "the daemon says " + in_quotes(tree.diagnostics()),
                         .stops = !loads_});
  } else if (loads_) {
    TreeFindings tree_findings{tree, outline_, text, &findings_};
    check_tree(tree, tree_findings);
    if (standard) check_standard(tree, *facts, tree_findings);
  }
}

}  // namespace gwconf::tool
