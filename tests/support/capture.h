#pragma once

#include <functional>
#include <string>

namespace gwconf::test {

/// What `action` writes to standard output or standard error.
[[nodiscard]] std::string stdout_of(const std::function<void()>& action);
[[nodiscard]] std::string stderr_of(const std::function<void()>& action);

}  // namespace gwconf::test
