#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace gwconf::test {

/// Makes a file of that content, or none.
void make_file(const std::string& path, const std::optional<std::string>& content);

/// Plain files on a medium that forgets what was not flushed. A flush that fails leaves what was
/// written in memory, as clean: no later flush brings it to the medium unless it is written anew.
class Medium {
 public:
  /// Puts `content` on the medium and into the file; none: there is no such file.
  void put(const std::string& path, const std::optional<std::string>& content);
  /// The power goes and comes back: every file is what the medium holds.
  void lose_power();

  // What the process under test does to its files.
  [[nodiscard]] bool holds(const std::string& path) const { return files_.contains(path); }
  void wrote(const std::string& path) { files_.at(path).dirty = true; }
  void flushed(const std::string& path, bool succeeds);
  void dropped_from_memory(const std::string& path);

 private:
  struct File {
    std::optional<std::string> stored;
    bool dirty = false;
  };
  std::map<std::string, File> files_;
};

/// A system call that goes wrong.
struct Fault {
  enum class Kind {
    kError,  ///< it fails with `error`, and does nothing
    kShort,  ///< it reads or writes half of what it was asked for; no other call is meant
  };
  std::size_t nth = 0;  ///< of all calls that are meant, from 1; 0: none goes wrong
  Kind kind = Kind::kError;
  int error = 0;
  std::vector<long> calls = {};  ///< the numbers of those that are meant; none: all are
};

/// What became of a process with a fault.
struct Outcome {
  bool fired = false;  ///< whether there was an n-th call
  std::string call;    ///< the number of that call, and what it was about
  std::string text;    ///< what the task told
};

/// Whether the kernel lets a process watch another's system calls (seccomp's user notification).
[[nodiscard]] bool calls_can_fail();

/// Runs `task` in a process of its own, on a copy of everything, while one of its system calls goes
/// wrong. All count but those for memory, which the tests make fail in another way.
[[nodiscard]] Outcome run_with_fault(const std::function<std::string()>& task, const Fault& fault,
                                     Medium& medium);

}  // namespace gwconf::test
