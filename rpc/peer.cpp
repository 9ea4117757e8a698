#include "rpc/peer.h"

#include <cstdio>
#include <linux/capability.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "core/paths.h"
#include "platform/line_reader.h"

namespace gwconf {
namespace {

// The C libraries of devices do not all have functions for these. Where the kernel has two calls,
// the older one knows numbers of 16 bits only.
#ifdef SYS_setfsuid32
constexpr long kSetFileUser = SYS_setfsuid32;
constexpr long kSetFileGroup = SYS_setfsgid32;
constexpr long kSetGroups = SYS_setgroups32;
#else
constexpr long kSetFileUser = SYS_setfsuid;
constexpr long kSetFileGroup = SYS_setfsgid;
constexpr long kSetGroups = SYS_setgroups;
#endif

/// No user and no group: what the kernel tells of a socket without a peer, and what changes nothing
/// when it is set.
constexpr uid_t kNoId = static_cast<uid_t>(-1);

/// Sets the user, or the group, that counts for files. The call itself tells no failure; asking it
/// once more does.
bool set_file_id(long call, uid_t id) {
  if (id == kNoId) return false;
  syscall(call, id);
  return static_cast<uid_t>(syscall(call, kNoId)) == id;
}

bool set_groups(const gid_t* groups, std::size_t count) {
  return syscall(kSetGroups, count, groups) == 0;
}

/// Whether this process passes over the modes of files. The kernel takes those capabilities away
/// while root acts for another user, and gives them back; not when it is told to leave them alone,
/// nor to a service that has them without being root.
bool passes_over_file_modes() {
  __user_cap_header_struct self{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
  __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3] = {};
  constexpr std::uint32_t kOfFiles =
      1U << CAP_DAC_OVERRIDE | 1U << CAP_DAC_READ_SEARCH | 1U << CAP_FOWNER;
  return syscall(SYS_capget, &self, sets) != 0 || (sets[0].effective & kOfFiles) != 0;
}

}  // namespace

bool Peer::is_trusted() const {
  return is_known && (user == 0 || user == geteuid());
}

bool Peer::owns(std::int32_t process) const {
  if (is_trusted()) return true;
  if (!is_known) return false;
  char path[280];
  std::snprintf(path, sizeof path, "%s/%d/status", paths().proc, process);
  char owner[64];  // real, effective, saved
  std::snprintf(owner, sizeof owner, "Uid:\t%u\t%u\t%u\t", user, user, user);
  LineReader<sizeof owner> status{path};
  while (status.next())
    if (status.line().starts_with("Uid:")) return status.line().starts_with(owner);
  return false;
}

Peer peer_of(int fd) {
  Peer peer;
  ucred credentials;
  socklen_t size = sizeof credentials;
  if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) return peer;
  if (credentials.uid == kNoId || credentials.gid == kNoId) return peer;
  peer.is_known = true;
  peer.user = credentials.uid;
  peer.group = credentials.gid;
#ifdef SO_PEERGROUPS
  size = sizeof peer.groups;
  if (getsockopt(fd, SOL_SOCKET, SO_PEERGROUPS, peer.groups.data(), &size) == 0)
    peer.group_count = size / sizeof peer.groups[0];
#endif
  return peer;
}

ActingFor::ActingFor(const Peer& peer) {
  if (peer.is_trusted()) {
    in_effect_ = true;
    return;
  }
  if (!peer.is_known) return;
  own_group_count_ = getgroups(Peer::kGroupsMax, own_groups_.data());
  if (own_group_count_ < 0) return;
  in_effect_ = set_groups(peer.groups.data(), peer.group_count) &&
               set_file_id(kSetFileGroup, peer.group) && set_file_id(kSetFileUser, peer.user) &&
               !passes_over_file_modes();
}

ActingFor::~ActingFor() {
  if (own_group_count_ < 0) return;
  resume_own_user();
  set_file_id(kSetFileGroup, getegid());
  set_groups(own_groups_.data(), static_cast<std::size_t>(own_group_count_));
}

void resume_own_user() {
  set_file_id(kSetFileUser, geteuid());
}

}  // namespace gwconf
