#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "platform/getters.h"
#include "tests/platform/scripted_services.h"
#include "tests/support/sandbox.h"

namespace gwconf::test {

/// What a getter left behind.
struct Answered {
  Status status;
  std::string text;

  friend bool operator==(const Answered&, const Answered&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Answered& answered) {
    return out << static_cast<std::int32_t>(answered.status) << " \"" << answered.text << '"';
  }
};

inline Answered text(std::string_view expected) {
  return {CM_OK, std::string{expected}};
}
inline const Answered kNoValue{CM_INVALID, ""};

/// The size that the request service gives.
inline constexpr std::int32_t kUsualSize = 32769;

/// Calls the getter of a row with a buffer of exactly `size` bytes that holds `before` already, and
/// fails when the bytes around it were touched.
inline Answered get(const char* name, const char* path = "InternetGatewayDevice.Value",
                    std::int32_t size = kUsualSize, const std::string& before = "old content") {
  constexpr std::size_t kGuard = 512;
  const auto room = static_cast<std::size_t>(size);
  std::vector<char> memory(kGuard + room + kGuard, '#');
  char* const out = memory.data() + kGuard;
  std::fill(out, out + room, '~');
  before.copy(out, room);
  if (before.size() < room) out[before.size()] = '\0';

  const GetterRow* row = CM_platform_fn_init(name);
  if (!row) throw std::runtime_error(std::string{"no getter "} + name);
  const Status status = row->getter(path, out, size);

  const std::string guard(kGuard, '#');
  EXPECT_EQ(std::string(memory.data(), kGuard), guard) << name << ", size " << size;
  EXPECT_EQ(std::string(out + room, kGuard), guard) << name << ", size " << size;
  EXPECT_TRUE(size == 0 || strnlen(out, room) < room) << name << ", size " << size << ": no NUL";
  return {status, std::string(out, strnlen(out, room))};
}

/// A test with a fresh device and empty folders.
class GetterTest : public ::testing::Test {
 protected:
  void SetUp() override {
    clear_sandbox();
    services() = {};
  }
};

using Calls = std::vector<std::string>;

}  // namespace gwconf::test
