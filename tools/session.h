#pragma once

#include "gwconf/client.hpp"
#include "tools/output.h"

namespace gwconf::tool {

/// What every verb works with.
struct Session {
  Client client;
  Output output;
};

}  // namespace gwconf::tool
