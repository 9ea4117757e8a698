#include <cstdio>

#include "daemon/startup.h"
#include "rpc/server.h"

int main(int argc, char** argv) {
  gwconf::occupy_standard_descriptors();
  gwconf::reserve_stack();
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);  // termination flushes nothing
  if (const int status = gwconf::start_up(argc > 1 ? argv[1] : nullptr)) return status;
  gwconf::install_termination_handler();
  static_cast<void>(gwconf::CM_RPC_ServerStart());
  return 0;
}
