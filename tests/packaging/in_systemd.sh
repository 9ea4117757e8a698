#!/bin/sh
# What try_packages.sh runs inside of the root folder under systemd: installs /packages, lives with the unit, removes
# them.
set -eu
# shellcheck source=tests/packaging/expect.sh
. /packages/expect.sh

value_is() { [ "$(gwctl get "$server" 2>/dev/null)" = "$1" ]; }
# until COMMAND...: fails when it does not come true within ten seconds
wait_until() {
  tries=100
  until "$@"; do
    tries=$((tries - 1))
    [ "$tries" -gt 0 ] || fail "in vain: $*"
    sleep 0.1
  done
}
is_other_process() { [ "$(systemctl show -P MainPID gwconfd)" != "$1" ] && [ "$(systemctl show -P MainPID gwconfd)" != 0 ]; }
state() { systemctl show -P ActiveState gwconfd; }
is_in_state() { [ "$(state)" = "$1" ]; }

say 'install: the unit starts'
dpkg -i /packages/*.deb >/dev/null
expect enabled enabled "$(systemctl is-enabled gwconfd)"
expect active active "$(state)"
wait_until gwctl get "$server" >/dev/null
expect socket '660 root gwconf' "$(stat -c '%a %U %G' /tmp/Vantrel_cm_socket)"

say 'set, commit, restart'
gwctl set "$server=ntp.example.net"
gwctl commit
systemctl restart gwconfd
wait_until value_is ntp.example.net

say 'what the unit lets it write and read'
expect 'save below /tmp' 0 "$(status_of gwctl save /tmp/saved.xml)"
expect 'a saved configuration' '660 root gwconf' "$(stat -c '%a %U %G' /tmp/saved.xml)"
expect 'save below /var/lib/gwconf' 0 "$(status_of gwctl save /var/lib/gwconf/saved.xml)"
expect 'save below /etc' 1 "$(status_of gwctl save /etc/saved.xml)"
cp /tmp/saved.xml /root/
expect 'restore from a home' 1 "$(status_of gwctl restore /root/saved.xml)"
expect 'restore from /tmp' 0 "$(status_of gwctl restore /tmp/saved.xml)"
wait_until value_is ntp.example.net
expect 'export' 0 "$(status_of gwctl export InternetGatewayDevice.Time.)"

say 'what the unit bounds'
limits=/proc/$(systemctl show -P MainPID gwconfd)/limits
expect core 0 "$(sed -n 's/^Max core file size *\([^ ]*\).*/\1/p' "$limits")"
expect stack 1048576 "$(sed -n 's/^Max stack size *\([^ ]*\).*/\1/p' "$limits")"
expect memory 268435456 "$(sed -n 's/^Max address space *\([^ ]*\).*/\1/p' "$limits")"

say 'live values'
info=InternetGatewayDevice.DeviceInfo
[ "$(gwctl get $info.UpTime)" -gt 0 ] || fail 'no uptime'
[ "$(gwctl get $info.MemoryStatus.Total)" -gt 0 ] || fail 'no memory'
echo "uptime $(gwctl get $info.UpTime), memory $(gwctl get $info.MemoryStatus.Total)"
[ -n "$(gwctl get $info.DeviceLog)" ] || fail 'no system log'
echo "the log has $(gwctl get $info.DeviceLog | wc -c) bytes"

say 'a listener of another user'
useradd engineer
adduser --quiet engineer gwconf >/dev/null
cat >/tmp/listen.sh <<'LISTENER'
umask 077
mkdir /tmp/listener
: >/tmp/listener/changes
trap 'cat /tmp/listener/changes >/tmp/listener/heard; exit' USR1
gwctl raw 33 $$ 10 /tmp/listener/changes
: >/tmp/listener/ready
while :; do sleep 0.1; done
LISTENER
su engineer -s /bin/sh /tmp/listen.sh &
wait_until [ -e /tmp/listener/ready ]
gwctl set "$server=other.example.net"
wait_until [ -s /tmp/listener/heard ]
expect heard "$server,None" "$(cat /tmp/listener/heard)"
gwctl set "$server=ntp.example.net"

say 'the rights of another user'
expect 'save over a file of root' 1 "$(status_of su engineer -s /bin/sh -c 'gwctl save /etc/gwconf-trial')"
chmod 640 /tmp/saved.xml
expect 'save over a file that the group may read' 1 "$(status_of su engineer -s /bin/sh -c 'gwctl save /tmp/saved.xml')"
expect 'restore a file that the group may read' 0 "$(status_of su engineer -s /bin/sh -c 'gwctl restore /tmp/saved.xml')"
expect 'save below /var/lib/gwconf' 0 "$(status_of su engineer -s /bin/sh -c 'gwctl save /var/lib/gwconf/own.xml')"
expect 'its file' 'engineer' "$(stat -c %U /var/lib/gwconf/own.xml)"
expect 'register the init process' 1 "$(status_of su engineer -s /bin/sh -c 'gwctl raw 33 1 10 /tmp/engineers')"

say 'a crash'
before=$(systemctl show -P MainPID gwconfd)
kill -KILL "$before"
wait_until is_other_process "$before"
wait_until value_is ntp.example.net

say 'a termination signal'
kill -TERM "$(systemctl show -P MainPID gwconfd)"
wait_until is_in_state inactive
sleep 2
expect 'after a while' inactive "$(state)"

say 'defaults that do not load'
mv /etc/default.xml /etc/default.kept
systemctl start gwconfd
wait_until is_in_state failed
sleep 2
expect 'after a while' failed "$(state)"
expect restarts 0 "$(systemctl show -P NRestarts gwconfd)"
mv /etc/default.kept /etc/default.xml

say 'a socket that cannot be had for a while'
mkdir -p /tmp/Vantrel_cm_socket/full
systemctl reset-failed gwconfd
systemctl start gwconfd
sleep 1.5
rm -r /tmp/Vantrel_cm_socket
wait_until value_is ntp.example.net

say 'install anew, disabled'
systemctl disable -q gwconfd
before=$(systemctl show -P MainPID gwconfd)
dpkg -i /packages/gwconf-daemon_*.deb >/dev/null
is_other_process "$before" || fail 'the old daemon runs on'
expect enabled disabled "$(systemctl is-enabled gwconfd || true)"
systemctl enable -q gwconfd

say 'the init script hands over to systemd'
/etc/init.d/gwconfd stop >/dev/null
expect active inactive "$(state)"
/etc/init.d/gwconfd start >/dev/null
expect active active "$(state)"

say 'exposure'
systemd-analyze security --no-pager gwconfd | tail -n 1

say 'remove, purge'
dpkg -r gwconf-daemon >/dev/null
[ -z "$(pidof gwconfd)" ] || fail 'the daemon survived'
dpkg -P gwconf-daemon gwconf-tools libgwconf-dev libgwconf1 >/dev/null 2>&1
systemctl status gwconfd >/dev/null 2>&1 || expect 'status of the unit' 4 $?
[ ! -e /var/lib/gwconf ] || fail '/var/lib/gwconf is left over'
say 'all is well'
