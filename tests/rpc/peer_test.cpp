#include "rpc/peer.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <grp.h>
#include <linux/capability.h>
#include <linux/securebits.h>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "storage/file.h"
#include "tests/rpc/request_fixture.h"
#include "tests/support/sandbox.h"

namespace gwconf {
namespace {

using test::Connection;
using test::Detached;
using test::kStranger;
using test::write_file;

class Peers : public test::RequestTest {};

class Strangers : public Peers {
 protected:
  void SetUp() override {
    if (const char* reason = test::no_strangers()) GTEST_SKIP() << reason;
    Peers::SetUp();
    folder = folder_of_stranger();
  }
  void TearDown() override {
    if (!test::no_strangers()) Peers::TearDown();
  }

  static Peer stranger() {
    return {
        .is_known = true, .user = kStranger, .group = kStranger, .groups = {}, .group_count = 0};
  }

  /// Makes a file of root's with a group and a mode.
  std::string roots_file(gid_t group, mode_t mode) const {
    const std::string path = folder + "/roots";
    write_file(path, "kept");
    EXPECT_EQ(chown(path.c_str(), 0, group), 0);
    EXPECT_EQ(chmod(path.c_str(), mode), 0);
    return path;
  }

  /// What acting for a peer comes to: whether it is in effect, and which modes open a file.
  static std::string opens(const Peer& peer, const std::string& path) {
    const ActingFor acting{peer};
    if (!acting) return "refused";
    std::string modes;
    for (const char* mode : {"r", "r+"})
      if (open_regular(path.c_str(), mode)) modes += mode;
    return modes;
  }

  std::string folder;
};

std::vector<gid_t> own_groups() {
  std::vector<gid_t> groups(static_cast<std::size_t>(getgroups(0, nullptr)));
  EXPECT_EQ(getgroups(static_cast<int>(groups.size()), groups.data()),
            static_cast<int>(groups.size()));
  return groups;
}

// --- Who it is ---

TEST_F(Peers, TheKernelTellsTheUserAndTheGroup) {
  const Connection connection;
  const Peer peer = peer_of(connection.server());
  EXPECT_TRUE(peer.is_known);
  EXPECT_EQ(peer.user, geteuid());
  EXPECT_EQ(peer.group, getegid());
  EXPECT_TRUE(peer.is_trusted());
}

TEST_F(Peers, WhatHasNoPeerIsUnknown) {
  const int file = open("/dev/null", O_RDONLY);
  const int unconnected = socket(AF_UNIX, SOCK_STREAM, 0);
  for (const int fd : {-1, file, unconnected}) {
    const Peer peer = peer_of(fd);
    EXPECT_FALSE(peer.is_known) << fd;
    EXPECT_FALSE(peer.is_trusted());
    EXPECT_FALSE(peer.owns(getpid()));
    EXPECT_FALSE(ActingFor{peer});
  }
  close(unconnected);
  close(file);
}

TEST_F(Strangers, TheClientsUserAndGroupsAreToldAsTheyWereWhenItConnected) {
  const std::vector<gid_t> before = own_groups();
  const gid_t groups[] = {70001, 70002};
  ASSERT_EQ(setgroups(2, groups), 0);
  const Connection connection{kStranger};
  const Peer peer = peer_of(connection.server());
  ASSERT_EQ(setgroups(before.size(), before.data()), 0);
  EXPECT_TRUE(peer.is_known);
  EXPECT_FALSE(peer.is_trusted());
  EXPECT_EQ(peer.user, kStranger);
  EXPECT_EQ(peer.group, kStranger);
  if (peer.group_count == 0) GTEST_SKIP() << "a kernel that tells no supplementary groups";
  EXPECT_EQ(peer.group_count, 2u);
  EXPECT_EQ(peer.groups[0], 70001u);
  EXPECT_EQ(peer.groups[1], 70002u);
}

TEST_F(Strangers, MoreGroupsThanAreKeptCountAsNone) {
  const std::vector<gid_t> before = own_groups();
  std::vector<gid_t> many;
  for (gid_t group = 70000; group < 70065; ++group)
    many.push_back(group);
  ASSERT_EQ(setgroups(many.size(), many.data()), 0);
  const Connection connection;
  ASSERT_EQ(setgroups(before.size(), before.data()), 0);
  const Peer peer = peer_of(connection.server());
  EXPECT_TRUE(peer.is_known);
  EXPECT_EQ(peer.group_count, 0u);
}

// --- Files ---

TEST_F(Strangers, OpenWhatTheirOwnRightsAllow) {
  const Peer peer = stranger();
  EXPECT_EQ(opens(peer, roots_file(0, 0600)), "");
  EXPECT_EQ(opens(peer, roots_file(0, 0660)), "");
  EXPECT_EQ(opens(peer, roots_file(0, 0604)), "r");
  EXPECT_EQ(opens(peer, roots_file(0, 0606)), "rr+");
  EXPECT_EQ(opens(peer, roots_file(kStranger, 0640)), "r");
  EXPECT_EQ(opens(peer, roots_file(kStranger, 0660)), "rr+");
}

TEST_F(Strangers, TheirGroupsCountAndTheServicesDoNot) {
  const std::vector<gid_t> before = own_groups();
  const gid_t services = 70001;
  ASSERT_EQ(setgroups(1, &services), 0);
  Peer peer = stranger();
  EXPECT_EQ(opens(peer, roots_file(services, 0660)), "");
  peer.groups[0] = 70002;
  peer.group_count = 1;
  EXPECT_EQ(opens(peer, roots_file(70002, 0660)), "rr+");
  EXPECT_EQ(own_groups(), std::vector<gid_t>{services});
  ASSERT_EQ(setgroups(before.size(), before.data()), 0);
}

TEST_F(Strangers, WhatIsMadeIsTheirs) {
  const std::string path = folder + "/made";
  {
    const ActingFor acting{stranger()};
    ASSERT_TRUE(acting);
    EXPECT_TRUE(open_regular(path.c_str(), "w+"));
  }
  struct stat made {};
  ASSERT_EQ(stat(path.c_str(), &made), 0);
  EXPECT_EQ(made.st_uid, kStranger);
  EXPECT_EQ(made.st_gid, kStranger);
}

TEST_F(Strangers, AllRightsComeBack) {
  const std::vector<gid_t> groups = own_groups();
  const std::string path = roots_file(0, 0);
  EXPECT_EQ(opens(stranger(), path), "");
  EXPECT_TRUE(open_regular(path.c_str(), "r+"));
  EXPECT_EQ(own_groups(), groups);
  const std::string made = sandbox("/tmp/made");
  write_file(made, "");
  struct stat file {};
  ASSERT_EQ(stat(made.c_str(), &file), 0);
  EXPECT_EQ(file.st_uid, 0u);
  EXPECT_EQ(file.st_gid, getegid());
}

TEST_F(Strangers, ASignalHandlerTakesTheUserBack) {
  const std::string path = roots_file(0, 0);
  const ActingFor acting{stranger()};
  EXPECT_FALSE(open_regular(path.c_str(), "r+"));
  resume_own_user();
  EXPECT_TRUE(open_regular(path.c_str(), "r+"));
}

TEST_F(Strangers, ForRootNothingChanges) {
  Peer root = stranger();
  root.user = 0;
  EXPECT_EQ(opens(root, roots_file(0, 0)), "rr+");
}

TEST_F(Strangers, AServiceThatIsNotRootsActsForItsOwnUserAndRootAlone) {
  const std::string path = roots_file(0, 0600);
  ASSERT_EQ(chown(path.c_str(), kStranger, kStranger), 0);
  Detached service{[&] {
    if (setgroups(0, nullptr) != 0 || setgid(kStranger) != 0 || setuid(kStranger) != 0)
      return std::string{"still root"};
    Peer other = stranger();
    other.user = kStranger - 1;
    Peer root = stranger();
    root.user = 0;
    return opens(stranger(), path) + " " + opens(root, path) + " " + opens(other, path);
  }};
  EXPECT_EQ(service.text(), "rr+ rr+ refused");
}

/// Gives up one capability, for a process of its own.
void give_up(int capability) {
  __user_cap_header_struct self{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3] = {};
  ASSERT_EQ(syscall(SYS_capget, &self, sets), 0);
  sets[0].effective &= ~(1U << capability);
  sets[0].permitted &= ~(1U << capability);
  ASSERT_EQ(syscall(SYS_capset, &self, sets), 0);
}

TEST_F(Strangers, ASwitchThatTakesNoEffectOpensNothing) {
  const std::string path = roots_file(kStranger, 0666);
  const std::vector<std::function<void()>> obstacles = {
      test::heed_file_modes,
      [] { give_up(CAP_SETUID); },
      [] { give_up(CAP_SETGID); },
      [] { ASSERT_EQ(prctl(PR_SET_SECUREBITS, SECBIT_NO_SETUID_FIXUP), 0); },
      [] { ASSERT_EQ(setgroups(65, std::vector<gid_t>(65, 70000).data()), 0); },
  };
  for (const auto& obstacle : obstacles) {
    Detached service{[&] {
      obstacle();
      const std::vector<gid_t> groups = own_groups();
      const std::string opened = opens(stranger(), path);
      // What was switched on the way is back.
      const std::string made = sandbox("/tmp/made");
      std::filesystem::remove(made);
      write_file(made, "");
      struct stat file {};
      const bool own =
          stat(made.c_str(), &file) == 0 && file.st_uid == 0 && file.st_gid == getegid();
      return opened + (own && own_groups() == groups ? "" : ", not back");
    }};
    EXPECT_EQ(service.text(), "refused") << &obstacle - obstacles.data();
  }
  EXPECT_EQ(opens(stranger(), path), "rr+");
}

TEST_F(Strangers, NoUserIsNobodyToActFor) {
  Peer peer = stranger();
  peer.user = static_cast<uid_t>(-1);
  EXPECT_EQ(opens(peer, roots_file(0, 0666)), "refused");
}

// --- Processes ---

/// A process with these user ids, which the sandbox's proc shows.
class Other {
 public:
  Other(uid_t real, uid_t effective, uid_t saved) {
    int ready[2];
    EXPECT_EQ(pipe(ready), 0);
    id_ = fork();
    if (id_ == 0) {
      const bool changed = setresuid(real, effective, saved) == 0;
      if (!changed || write(ready[1], "x", 1) != 1) _exit(1);
      pause();
      _exit(0);
    }
    char byte = 0;
    EXPECT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
    close(ready[1]);
    const std::string number = std::to_string(id_);
    std::filesystem::create_directory_symlink("/proc/" + number,
                                              test::sandbox_root() + "/proc/" + number);
  }
  ~Other() { end(); }
  Other(const Other&) = delete;
  Other& operator=(const Other&) = delete;

  void end() {
    if (id_ == 0) return;
    kill(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
    ended_ = std::exchange(id_, 0);
  }
  [[nodiscard]] pid_t id() const { return id_ == 0 ? ended_ : id_; }

 private:
  pid_t id_;
  pid_t ended_ = 0;
};

TEST_F(Strangers, OwnTheProcessesThatRunAsTheyDo) {
  const Peer peer = stranger();
  EXPECT_TRUE(peer.owns(Other{kStranger, kStranger, kStranger}.id()));
  EXPECT_FALSE(peer.owns(Other{0, 0, 0}.id()));
  EXPECT_FALSE(peer.owns(Other{kStranger - 1, kStranger - 1, kStranger - 1}.id()));
  // A program with another's rights that they started, and one with theirs that another started.
  EXPECT_FALSE(peer.owns(Other{kStranger, 0, 0}.id()));
  EXPECT_FALSE(peer.owns(Other{kStranger, kStranger, 0}.id()));
  EXPECT_FALSE(peer.owns(Other{0, kStranger, kStranger}.id()));
}

TEST_F(Strangers, OwnNoProcessThatIsNotThere) {
  Other other{kStranger, kStranger, kStranger};
  EXPECT_TRUE(stranger().owns(other.id()));
  other.end();
  EXPECT_FALSE(stranger().owns(other.id()));
  EXPECT_FALSE(stranger().owns(0));
  EXPECT_FALSE(stranger().owns(-1));
}

TEST_F(Strangers, OwnTheirProcessesAlsoWhileTheirRightsAreInEffect) {
  const Other other{kStranger, kStranger, kStranger};
  const Peer peer = stranger();
  const ActingFor acting{peer};
  EXPECT_TRUE(peer.owns(other.id()));
}

TEST_F(Strangers, RootOwnsEveryProcess) {
  Peer root = stranger();
  root.user = 0;
  EXPECT_TRUE(root.owns(Other{kStranger, kStranger, kStranger}.id()));
  EXPECT_TRUE(root.owns(0));
}

TEST_F(Strangers, AStatusWithoutAUserIsNobodys) {
  write_file(sandbox("/proc/77/status"), "Name:\tother\nUid\t65534\t65534\t65534\t65534\n");
  EXPECT_FALSE(stranger().owns(77));
  write_file(sandbox("/proc/77/status"), "Uid:\t655341\t65534\t65534\t65534\n");
  EXPECT_FALSE(stranger().owns(77));
  write_file(sandbox("/proc/77/status"), "Name:\tone\nUid:\t65534\t65534\t65534\t65534\nGid:\t0\n");
  EXPECT_TRUE(stranger().owns(77));
}

}  // namespace
}  // namespace gwconf
