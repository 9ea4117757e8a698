#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace gwconf::tool {

/// A file as far as it was wanted.
struct FileContent {
  std::string bytes;
  std::uint64_t size = 0;  ///< of the whole file; of a device what was read of it
};

/// Reads the first `most` bytes of a file or a device. Never waits: a pipe, a socket and a folder
/// are no files. Throws Failure (kWrongUse) when it cannot be opened or read.
[[nodiscard]] FileContent read_file(const std::string& path, std::size_t most);

/// Who may read a new file: settings hold passwords.
enum class Privacy { kEverybody, kOwner };

/// A file in the making, beside the one that it will replace: nobody ever sees half of it.
class NewFile {
 public:
  /// Throws Failure (kWrongUse) when no file can be made there. What is there already must be a
  /// file, whose permissions stay.
  explicit NewFile(const std::string& path, Privacy privacy);
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  /// Where to write meanwhile: an empty file.
  [[nodiscard]] const std::string& path() const { return path_; }

  /// Puts the file in its place, on the medium. Throws Failure (kWrongUse) when it cannot.
  void keep();

 private:
  std::string asked_;   ///< as the user wrote it
  std::string target_;  ///< with links followed
  std::string path_;
  bool kept_ = false;
};

/// Writes a whole file; a device, such as a terminal, is written as it is. Throws Failure
/// (kWrongUse).
void write_file(const std::string& path, std::string_view content, Privacy privacy);

}  // namespace gwconf::tool
