#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "core/tree.h"
#include "protocol/limits.h"

namespace gwconf {

/// Room for the longest path and its NUL: a path travels as one message.
inline constexpr std::size_t kPathBufferSize = kMessageMax;
/// A path that grows in place within its bound. About 32 KiB: for the stack, one a function.
class PathText {
 public:
  PathText() { text_[0] = '\0'; }
  explicit PathText(std::string_view start) : PathText{} { fits_ = append(start); }

  /// False, and nothing appended, when the path would pass its bound.
  [[nodiscard]] bool append(std::string_view part);
  /// Appends an instance segment, the number and a dot; false as above.
  [[nodiscard]] bool append_instance(std::int32_t number);

  /// False when the text given at the start did not fit.
  [[nodiscard]] bool fits() const { return fits_; }
  [[nodiscard]] std::string_view view() const { return {text_, length_}; }
  [[nodiscard]] char* buffer() { return text_; }

 private:
  char text_[kPathBufferSize];
  std::size_t length_ = 0;
  bool fits_ = true;
};

/// CM_OK when `path` ends with a dot, else CM_INVALID (the empty path included).
Status CM_UTL_UriIsObjNode(std::string_view path);

/// The position of `tail` in `str` when `str` ends with it, else none (for none arguments too).
[[nodiscard]] const char* strstr_last(const char* str, const char* tail);

/// `node` itself when that is its name, else its first child of that name, else none.
[[nodiscard]] Node* CM_CORE_GetChildObjByName(Node* node, std::string_view name);
/// The first parameter of `node` of that name, or none.
[[nodiscard]] Parameter* CM_CORE_GetChildParaByName(Node* node, std::string_view name);

/// Finds an object by its path, from `cml_root`. CM_OK with the node, still the tree's, in `out`;
/// otherwise `out` is cleared: CM_INVALID when `path` does not end with a dot or passes the bound
/// of a path, CM_NOT_FOUND when the tree (which may be absent) has no such object. A segment that
/// repeats the object's own name stays on that object.
Status CM_CORE_GetObjNodeByUri(std::string_view path, Node** out);
/// Finds a parameter by its path. As above; CM_INVALID when `path` is none or ends with a dot.
Status CM_CORE_GetParaNodeByUri(std::string_view path, Parameter** out);

/// The object that `segments`, each with its dot, lead to from `from`, as they do in a path; null
/// when there is none.
[[nodiscard]] Node* descend(Node* from, std::string_view segments);

/// The template of the table at the object path `table`, the tree's own, in `out`. It is looked for
/// in the top-level chain of templates: that of A.3.B. is A.0.B.0. CM_NOT_FOUND when there is none;
/// CM_INVALID when its path passes the bound. `out` is null then.
Status find_template(std::string_view table, Node** out);

/// Writes the full path of a record into `out`. Ancestors without a name are skipped. CM_INVALID,
/// and `out` empty, when it does not fit or the bound of a path is passed.
Status CM_CORE_GetURIByParaNode(const Parameter* param, std::span<char> out);
Status CM_CORE_GetURIByObjNode(const Node* node, std::span<char> out);

/// The full path of `node` in `buffer`: in the text that is given there (which must be long
/// enough), or in a new one of the caller's. CM_INVALID when the node or an ancestor has no name,
/// or the bound of a path is passed; CM_NO_MEMORY. `buffer` is not changed on failure.
Status CM_UTL_Node2URI(const Node* node, OwnedText* buffer);

/// Whether all paths at and below `node` stay within the bound of a path when `parent` is its
/// parent.
[[nodiscard]] bool paths_fit(const Node& node, const Node* parent);

/// Rewrites an object path in place into that of its template: every instance segment becomes "0.".
/// A parameter path stays.
void CM_CORE_GetModelUri(char* path);

}  // namespace gwconf
