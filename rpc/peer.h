#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <sys/types.h>

namespace gwconf {

/// Who is at the other end of a connection, as the kernel tells: the effective user and groups that
/// the client had when it connected. Nobody until it is told.
struct Peer {
  /// More supplementary groups than these count as none, and so do those of a kernel that does not
  /// tell them (before 4.13): a right too few, never one too many.
  static constexpr std::size_t kGroupsMax = 64;

  bool is_known = false;
  uid_t user = 0;
  gid_t group = 0;
  std::array<gid_t, kGroupsMax> groups = {};
  std::size_t group_count = 0;

  /// Whether the service acts for it with its own rights: for root, and for its own user.
  [[nodiscard]] bool is_trusted() const;
  /// Whether a process may be told to listen on its behalf: any for a trusted peer, otherwise one
  /// that is there and whose real, effective and saved user are the peer's. A program that runs
  /// with another's rights is not its starter's.
  [[nodiscard]] bool owns(std::int32_t process) const;
};

/// The peer of a connected socket; an unknown one when the kernel does not tell.
[[nodiscard]] Peer peer_of(int fd);

/// While it lives, files are opened, made and written with the rights of a peer: its user, its
/// groups, and no capability that passes over the modes of files. For a trusted peer nothing
/// changes. One at a time.
class ActingFor {
 public:
  explicit ActingFor(const Peer& peer);
  ~ActingFor();
  ActingFor(const ActingFor&) = delete;
  ActingFor& operator=(const ActingFor&) = delete;

  /// False when the peer's rights could not be taken, as by a service that is not root's: no file
  /// must be opened then.
  [[nodiscard]] explicit operator bool() const { return in_effect_; }

 private:
  std::array<gid_t, Peer::kGroupsMax> own_groups_ = {};
  int own_group_count_ = -1;  ///< below 0: nothing was changed
  bool in_effect_ = false;
};

/// Takes the service's own user for files again, for a signal handler that may have interrupted
/// work for a peer and does not return.
void resume_own_user();

}  // namespace gwconf
