#!/usr/bin/env bash
# Tries the Debian packages in a throw-away root folder; needs root and a Debian mirror:
#   scripts/package.sh && tests/packaging/try_packages.sh [--systemd] [FOLDER_OF_PACKAGES]
# First without systemd, by the init script; with --systemd also in a container that systemd boots. The root folder's own
# /etc, /tmp and /dev stand in for the device's; those of this machine are not touched.
set -euo pipefail
cd "$(dirname "$0")/../.."
with_systemd=
[ "${1-}" != --systemd ] || { with_systemd=yes; shift; }
packages=$(realpath "${1:-build/package}")
./scripts/install_missing.sh debootstrap ${with_systemd:+systemd-container}

work=$(mktemp -d)
root=$work/root
groups=()
clean_up() {
  local group
  for group in "${groups[@]}"; do
    find "$group" -depth -type d -exec rmdir {} + 2>/dev/null || true
  done
  rm -rf --one-file-system "$work"
}
trap clean_up EXIT
chmod 755 "$work"

echo "making a Debian 12 in $root"
debootstrap --variant=minbase --include=busybox,gcc,libc6-dev,pkg-config bookworm "$root" >"$work/log" 2>&1 ||
  { tail "$work/log"; exit 1; }
cp /etc/resolv.conf "$root/etc/resolv.conf"
mkdir "$root/packages"
cp "$packages"/*.deb tests/packaging/*.sh "$root/packages/"

echo "without systemd"
# Mounts and processes end with the namespaces.
unshare --mount --pid --fork --kill-child \
  sh -c "mount -t proc proc '$root/proc' && mount -t devpts devpts '$root/dev/pts' &&
    exec chroot '$root' sh /packages/in_root_folder.sh"
[ "$with_systemd" ] || exit 0

echo "with systemd"
chroot "$root" apt-get install -y -qq --no-install-recommends systemd systemd-sysv >"$work/log" 2>&1 ||
  { tail "$work/log"; exit 1; }
rm -rf --one-file-system "$root"/tmp/* "$root"/dev/mtd*
cp tests/packaging/trial.service "$root/etc/systemd/system/"
ln -s ../trial.service "$root/etc/systemd/system/multi-user.target.wants/"
# The kernel's messages are part of what is tried.
container=(systemd-nspawn -q -D "$root" --console=read-only --capability=CAP_SYSLOG --system-call-filter=syslog)
if [ ! -d /run/systemd/system ]; then
  # Nobody else here gives the container control groups of its own.
  container+=(--register=no --keep-unit)
  for hierarchy in /sys/fs/cgroup /sys/fs/cgroup/unified /sys/fs/cgroup/systemd; do
    [ ! -e "$hierarchy/cgroup.procs" ] || groups+=("$hierarchy/gwconf-trial")
  done
  mkdir -p "${groups[@]}"
fi
(
  for group in "${groups[@]}"; do echo $BASHPID >"$group/cgroup.procs"; done
  exec timeout 180 "${container[@]}" --boot
) >"$work/log" 2>&1 </dev/null || true
cat "$root/var/log/trial.log" || tail "$work/log"
[ "$(tail -n 1 "$root/var/log/trial.log")" = '== all is well' ]
