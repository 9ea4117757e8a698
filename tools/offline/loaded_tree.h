#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/tree.h"
#include "tools/offline/daemon_terms.h"

namespace gwconf::tool {

/// A configuration in the daemon's own records, loaded by its own loader. That works on
/// process-wide state: the reader's callbacks, the live root, standard output for its diagnostics.
/// All of it is held together here: a load says nothing on standard output, and the live root is
/// whatever the last make_live() of a living tree made it.
class LoadedTree {
 public:
  enum class State {
    kLoaded,
    kEmpty,    ///< well-formed without an object: settings in which nothing is set
    kRefused,  ///< by the reader or the loader; the tree holds what was built before
  };

  /// Loads a text that holds no NUL.
  explicit LoadedTree(std::string_view text);
  ~LoadedTree();
  LoadedTree(LoadedTree&& other) noexcept;
  LoadedTree& operator=(LoadedTree&&) = delete;

  [[nodiscard]] State state() const { return state_; }
  /// What the daemon prints about the text on its standard output.
  [[nodiscard]] const std::string& diagnostics() const { return diagnostics_; }

  /// The root, which is the tree's; it may be changed like any other. Never null.
  [[nodiscard]] Node* root() const { return root_; }

  /// Makes this the tree that the daemon's operations by path work on, until it or its successor
  /// ends.
  void make_live();

 private:
  Node* root_;
  State state_ = State::kRefused;
  std::string diagnostics_;
};

/// Walks over all nodes of a tree, a node before its children and these before its siblings,
/// without a stack: a document may nest as deep as a path is long.
class NodeWalk {
 public:
  explicit NodeWalk(const Node* root) : root_{root}, node_{root} {}

  [[nodiscard]] const Node* get() const { return node_; }
  /// To the next node; false behind the last.
  bool next();
  /// To the next node that is not inside this one.
  bool next_outside();

 private:
  const Node* root_;
  const Node* node_;
};

/// The user-set part of a tree as a save writes it. Nothing when an element cannot be written.
/// Recomputes the "user-set below" bits.
[[nodiscard]] std::string saved_text(Node* root, bool* written);

/// The full path of a record.
[[nodiscard]] std::string path_of(const Node* node);
[[nodiscard]] std::string path_of(const Parameter* parameter);

}  // namespace gwconf::tool
