#include "daemon/startup.h"

#include <cstdio>
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include "core/deleted_defaults.h"
#include "core/paths.h"
#include "core/tree.h"
#include "rpc/peer.h"
#include "rpc/server.h"
#include "xml/loader.h"
#include "xml/merge.h"

namespace gwconf {
namespace {

/// Lays the saved settings over the live tree. False when there is no memory for their root.
bool merge_saved_settings() {
  const NodePtr cml_reduced_root = new_node();
  if (!cml_reduced_root) return false;
  // Without saved settings the daemon runs on the defaults.
  if (CM_XML2RAM(cml_reduced_root.get(), nullptr) == CM_OK)
    ignore(CM_Node_Merge2Root(cml_reduced_root.get()));
  return true;
}

/// The smallest stack that a device gives. Arguments and environment take up to a quarter of it.
constexpr std::size_t kStackOfDevice = 256 * 1024;

/// A function of its own: its frame is all the room, and may be entered only where there is as
/// much.
[[gnu::noinline]] void touch_stack() {
  // One touch at the far end takes the room for all in between, but no memory for it.
  [[maybe_unused]] volatile char room[kStackOfDevice * 5 / 8];
  room[0] = 0;
}

}  // namespace

int start_up(const char* argument) {
  cml_root = new_node().release();
  if (!cml_root) return CM_NO_MEMORY;
  if (argument) {
    const int result = CM_XML2RAM(cml_root, argument);
    if (result == CM_OK) return CM_OK;
    if (result != CM_UNUSABLE) {
      ignore(CM_UTL_FreeNode(cml_root));
      cml_root = nullptr;
      return result;
    }
  }
  const char* defaults = paths().defaults;
  if (const int result = CM_XML2RAM(cml_root, defaults)) return result;
  std::printf("[%s]read config %s success\n", "main", defaults);
  if (!merge_saved_settings()) return CM_NO_MEMORY;
  // The record of deleted instances lies in the tree and came with the saved settings. A tree need
  // not have one.
  ignore(CM_CORE_MergeDeletedInstances());
  return CM_OK;
}

void CM_CORE_Terminate(int /*signal*/) {
  resume_own_user();  // the rights of a client whose file is open may not remove the socket
  remove_own_socket();
  _exit(1);
}

void install_termination_handler() {
  struct sigaction action {};
  action.sa_handler = CM_CORE_Terminate;
  sigemptyset(&action.sa_mask);
  for (const int signal : {SIGTERM, SIGHUP, SIGINT, SIGQUIT})
    sigaction(signal, &action, nullptr);
}

void reserve_stack() {
  rlimit limit;
  if (getrlimit(RLIMIT_STACK, &limit) == 0 && limit.rlim_cur >= kStackOfDevice) touch_stack();
}

void occupy_standard_descriptors() {
  int fd = open("/dev/null", O_RDWR);
  while (fd >= 0 && fd <= STDERR_FILENO)
    fd = open("/dev/null", O_RDWR);
  if (fd >= 0) close(fd);
}

}  // namespace gwconf
