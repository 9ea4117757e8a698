#include "tools/output.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <iostream>

#include "gwconf/client.h"

namespace gwconf::tool {

Exit worse(Exit one, Exit other) {
  for (const Exit exit : {Exit::kUnreachable, Exit::kWrongUse, Exit::kRefused, Exit::kFindings})
    if (one == exit || other == exit) return exit;
  return Exit::kDone;
}

Json json_of(int code) {
  return {{"code", code}, {"meaning", gwconf_strerror(code)}};
}

void Output::line(std::string_view text) const {
  std::cout << text << '\n';
}

void Output::document(const Json& content) const {
  std::cout << content.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

Exit Output::failure(std::string_view subject, int code) const {
  const int reason = errno;
  std::cerr << "gwctl: " << subject << ": " << code << " (" << gwconf_strerror(code);
  if (code == GWCONF_E_CONNECT) std::cerr << " at " << socket_path_;
  if (code == GWCONF_E_CONNECT || code == GWCONF_E_SYSTEM)
    std::cerr << ": " << std::strerror(reason);
  std::cerr << ")\n";
  if (code == GWCONF_E_ARGUMENT) return Exit::kWrongUse;
  return code < GWCONF_E_ARGUMENT && code > -2000 ? Exit::kUnreachable : Exit::kRefused;
}

void Output::complaint(std::string_view subject, std::string_view text) const {
  std::cerr << "gwctl: " << subject << ": " << text << '\n';
}

}  // namespace gwconf::tool
