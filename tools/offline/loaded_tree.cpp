#include "tools/offline/loaded_tree.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

#include "core/path.h"
#include "core/user_set.h"
#include "tools/offline/outline.h"
#include "xml/loader.h"
#include "xml/reader.h"
#include "xml/writer.h"

namespace gwconf::tool {
namespace {

/// Standard output goes into memory while this lives.
class Captured {
 public:
  Captured() : kept_{dup(STDOUT_FILENO)}, memory_{memfd_create("diagnostics", MFD_CLOEXEC)} {
    std::fflush(stdout);
    if (kept_ >= 0 && memory_ >= 0) dup2(memory_, STDOUT_FILENO);
  }
  ~Captured() {
    release();
    if (memory_ >= 0) close(memory_);
  }
  Captured(const Captured&) = delete;
  Captured& operator=(const Captured&) = delete;

  /// Ends the capture: what was written by then.
  std::string take() {
    release();
    std::string text;
    std::array<char, 4096> piece{};
    off_t at = 0;
    for (ssize_t got = 1; got > 0; at += got) {
      got = memory_ < 0 ? 0 : pread(memory_, piece.data(), piece.size(), at);
      if (got > 0) text.append(piece.data(), static_cast<std::size_t>(got));
    }
    return text;
  }

 private:
  void release() {
    if (kept_ < 0) return;
    std::fflush(stdout);
    dup2(kept_, STDOUT_FILENO);
    close(std::exchange(kept_, -1));
  }

  int kept_;
  int memory_;
};

[[nodiscard]] LoadedTree::State load(Node* root, std::string_view text) {
  if (VT_CM_XML2RAM(root, text) == CM_OK) return LoadedTree::State::kLoaded;
  // Nothing user-set is saved as a document without an object, which the loader refuses like a
  // broken one.
  xml_line_process = nullptr;
  const Scan items = scan(text);
  const bool empty = verdict_of(items, outline_of(items)).reason.rule == Rule::kNoObject;
  return empty && call_xml_parser(text) == 0 ? LoadedTree::State::kEmpty
                                             : LoadedTree::State::kRefused;
}

}  // namespace

LoadedTree::LoadedTree(std::string_view text) : root_{new_node().release()} {
  if (!root_) throw std::bad_alloc{};
  Captured captured;
  state_ = load(root_, text);
  diagnostics_ = captured.take();
}

LoadedTree::~LoadedTree() {
  if (cml_root == root_) cml_root = nullptr;
  ignore(CM_UTL_FreeNode(root_));
}

LoadedTree::LoadedTree(LoadedTree&& other) noexcept
    : root_{std::exchange(other.root_, nullptr)},
      state_{other.state_},
      diagnostics_{std::move(other.diagnostics_)} {}

void LoadedTree::make_live() {
  cml_root = root_;
}

bool NodeWalk::next() {
  if (node_->children) {
    node_ = node_->children;
    return true;
  }
  return next_outside();
}

bool NodeWalk::next_outside() {
  while (node_ && node_ != root_ && !node_->next)
    node_ = node_->parent;
  node_ = node_ && node_ != root_ ? node_->next : nullptr;
  return node_ != nullptr;
}

std::string saved_text(Node* root, bool* written) {
  int any = 0;
  ignore(CM_CORE_UpdateUserSetFlag(root, &any));
  char* buffer = nullptr;
  std::size_t size = 0;
  std::FILE* file = open_memstream(&buffer, &size);
  if (!file) throw std::bad_alloc{};
  *written = VT_CM_RAM2XML_Write(kDataModelDialect.document_start, file) == 0 &&
             VT_CM_RAM2XML_Node(root, file) == 0 &&
             VT_CM_RAM2XML_Write(kDataModelDialect.document_end, file) == 0;
  std::fclose(file);
  const std::unique_ptr<char, decltype(&std::free)> owned{buffer, std::free};
  return *written ? std::string{buffer, size} : std::string{};
}

std::string path_of(const Node* node) {
  std::string path(kPathBufferSize, '\0');
  ignore(CM_CORE_GetURIByObjNode(node, path));
  path.resize(path.find('\0'));
  return path;
}

std::string path_of(const Parameter* parameter) {
  std::string path(kPathBufferSize, '\0');
  ignore(CM_CORE_GetURIByParaNode(parameter, path));
  path.resize(path.find('\0'));
  return path;
}

}  // namespace gwconf::tool
