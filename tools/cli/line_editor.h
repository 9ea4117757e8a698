#pragma once

#include <histedit.h>
#include <memory>
#include <optional>
#include <string>

#include "tools/cli/completion.h"

namespace gwconf::tool {

/// Lines from the terminal, with editing, completion, and a history that outlives the process.
class LineEditor {
 public:
  /// `client` must outlive it. Throws Failure (kWrongUse) when the terminal cannot do it.
  explicit LineEditor(const Client& client);
  /// Saves the history.
  ~LineEditor();
  LineEditor(const LineEditor&) = delete;
  LineEditor& operator=(const LineEditor&) = delete;

  /// The next line that is not blank, which goes into the history; nothing at the end.
  [[nodiscard]] std::optional<std::string> next();

 private:
  struct End {
    void operator()(EditLine* editor) const { el_end(editor); }
    void operator()(History* history) const { history_end(history); }
  };

  void load_history();
  void set_up_keys();

  Completion completion_;
  std::unique_ptr<History, End> history_;
  std::unique_ptr<EditLine, End> editor_;
  std::string history_file_;  ///< empty for none
};

}  // namespace gwconf::tool
