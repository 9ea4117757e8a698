#include "tests/support/capture.h"

#include <gtest/gtest.h>

namespace gwconf::test {

std::string stdout_of(const std::function<void()>& action) {
  testing::internal::CaptureStdout();
  action();
  return testing::internal::GetCapturedStdout();
}

std::string stderr_of(const std::function<void()>& action) {
  testing::internal::CaptureStderr();
  action();
  return testing::internal::GetCapturedStderr();
}

}  // namespace gwconf::test
