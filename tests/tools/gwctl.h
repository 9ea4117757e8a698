#pragma once

#include <map>
#include <string>
#include <vector>

#include "gwconf/client.h"
#include "tests/client/fake_daemon.h"

namespace gwconf::test {

struct Ran {
  int status = -1;
  std::string out;
  std::string err;
};

/// Runs the built gwctl. `environment_socket` becomes its GWCONF_SOCKET; without it there is none.
[[nodiscard]] Ran gwctl(const std::vector<std::string>& arguments,
                        const std::string& environment_socket = "");

/// A parameter, or an object (of which only the attributes matter), as the scripted daemon has it.
struct Entry {
  std::string value = {};
  int type = GWCONF_TYPE_STRING;
  int minimum = 0;
  int maximum = 0;
  std::string enumeration = {};
  unsigned attributes = 1;
};
using Entries = std::map<std::string, Entry>;

/// A daemon that serves reading and setting of `entries`, which must outlive it.
[[nodiscard]] FakeDaemon::Script serving(Entries& entries);

}  // namespace gwconf::test
