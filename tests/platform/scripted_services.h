#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/services.h"

namespace gwconf::test {

/// A device of the test's own. Every service of it answers what the test has set and is noted in
/// `calls` with its arguments, in order: "sal_eth_get_counters(3)".
struct ScriptedServices {
  /// What a service returns or writes, by its name. None: a null pointer, or nothing written.
  std::map<std::string, std::optional<std::string>> texts;
  /// The result of services that return a number.
  std::map<std::string, int> results;

  long uptime = 0;
  double load = 0.0;
  std::map<std::string, std::string> device_information;  ///< by key
  std::vector<std::uint32_t> ethernet_counters;
  std::vector<std::int32_t> wan_state;
  int wlan_id = 0;

  std::vector<std::string> calls;

  void text(const std::string& service, std::optional<std::string> value) {
    texts[service] = std::move(value);
  }
  void result(const std::string& service, int value) { results[service] = value; }
};

/// The device of the running test. Nothing is set at the start: texts are none, results 0.
[[nodiscard]] ScriptedServices& services();

}  // namespace gwconf::test
