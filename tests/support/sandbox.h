#pragma once

#include <string>
#include <string_view>

namespace gwconf::test {

/// The folder below which all fixed paths of this test process lie: fresh for the process, removed
/// at its end.
[[nodiscard]] const std::string& sandbox_root();

/// Empties the sandbox: no defaults, no partitions, no files.
void clear_sandbox();

/// Whole files, by the path as it stands. Reading a file that is not there gives "<none>".
void write_file(const std::string& path, std::string_view content);
[[nodiscard]] std::string read_file(const std::string& path);
[[nodiscard]] bool file_exists(const std::string& path);

}  // namespace gwconf::test
