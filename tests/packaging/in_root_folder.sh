#!/bin/sh
# What try_packages.sh runs inside of the root folder without systemd: installs /packages, lives with them, removes them.
set -eu
# shellcheck source=tests/packaging/expect.sh
. /packages/expect.sh

say install
[ ! -e /etc/default.xml ] || fail "this root folder has seen the packages before"
apt-get install -y -qq --no-install-recommends /packages/*.deb >/dev/null
[ ! -e /tmp/Vantrel_cm_socket ] || fail "a daemon was started without systemd"
expect 'gwctl without a daemon' 3 "$(status_of gwctl get "$server")"
expect 'status before' 3 "$(status_of /etc/init.d/gwconfd status)"

say start
/etc/init.d/gwconfd start
expect status 0 "$(status_of /etc/init.d/gwconfd status)"
expect 'start again' 0 "$(status_of /etc/init.d/gwconfd start)"
expect 'one daemon' 1 "$(pidof gwconfd | wc -w)"
expect socket '660 root gwconf' "$(stat -c '%a %U %G' /tmp/Vantrel_cm_socket)"

say 'set, commit, restart'
gwctl set "$server=ntp.example.net"
gwctl commit
/etc/init.d/gwconfd restart
expect "$server" ntp.example.net "$(gwctl get "$server")"
gwctl save /tmp/saved.xml
expect 'a saved configuration' '660 root gwconf' "$(stat -c '%a %U %G' /tmp/saved.xml)"

say 'the group may, others may not'
useradd engineer
useradd other
adduser --quiet engineer gwconf >/dev/null
expect engineer ntp.example.net "$(su engineer -s /bin/sh -c "gwctl get $server")"
expect other 3 "$(status_of su other -s /bin/sh -c "gwctl get $server")"
expect 'save where root only may' 1 "$(status_of su engineer -s /bin/sh -c 'gwctl save /etc/gwconf-trial')"
expect 'save where all may' 0 "$(status_of su engineer -s /bin/sh -c 'gwctl save /tmp/engineers.xml')"
expect 'its file' engineer "$(stat -c %U /tmp/engineers.xml)"

say 'what came along for the tool'
gwctl check /etc/default.xml
gwctl model /usr/share/gwconf/home-gateway.profile | cmp - /usr/share/gwconf/home-gateway.xml

say 'after a crash'
# comes_back: kills the daemon and waits until another serves in its place.
comes_back() {
  before=$(cat /var/run/gwconfd.pid)
  kill -KILL "$before"
  tries=100
  while [ "$(cat /var/run/gwconfd.pid)" = "$before" ] || ! gwctl get "$server" >/dev/null 2>&1; do
    tries=$((tries - 1))
    [ "$tries" -gt 0 ] || fail 'no daemon after ten seconds'
    sleep 0.1
  done
}
comes_back
expect "$server" ntp.example.net "$(gwctl get "$server")"
expect status 0 "$(status_of /etc/init.d/gwconfd status)"
expect 'one daemon' 1 "$(pidof gwconfd | wc -w)"

say 'what it is left'
limits=/proc/$(cat /var/run/gwconfd.pid)/limits
expect core '0 0' "$(sed -n 's/^Max core file size *\([^ ]*\) *\([^ ]*\).*/\1 \2/p' "$limits")"
expect memory 268435456 "$(sed -n 's/^Max address space *\([^ ]*\).*/\1/p' "$limits")"
expect group "$(getent group gwconf | cut -d: -f3)" "$(stat -c %g "/proc/$(cat /var/run/gwconfd.pid)")"

say 'a device with BusyBox'
/etc/init.d/gwconfd stop
mkdir /applets
busybox --install -s /applets
sed 's|^PATH=.*|PATH=/applets|' /etc/init.d/gwconfd >/applets/gwconfd
# A command of another kind that the script calls would not be found.
script() { env -i busybox sh /applets/gwconfd "$@"; }
script start
expect status 0 "$(status_of script status)"
expect 'start again' 0 "$(status_of script start)"
expect socket '660 root gwconf' "$(stat -c '%a %U %G' /tmp/Vantrel_cm_socket)"
comes_back
script restart
expect "$server" ntp.example.net "$(gwctl get "$server")"
script stop
expect status 3 "$(status_of script status)"
expect 'stop again' 0 "$(status_of script stop)"
expect 'wrong use' 2 "$(status_of script)"

say 'defaults that do not load'
mv /etc/default.xml /etc/default.kept
expect start 1 "$(status_of /etc/init.d/gwconfd start)"
expect status 1 "$(status_of /etc/init.d/gwconfd status)"
mv /etc/default.kept /etc/default.xml
/etc/init.d/gwconfd start

say 'the library'
if command -v cc >/dev/null; then
  printf '%s\n' '#include <gwconf/client.h>' '#include <stdio.h>' 'int main(void) {' \
    'gwconf_client *c; char *v;' "if (gwconf_open(0, &c) || gwconf_get_value(c, \"$server\", &v)) return 1;" \
    'puts(v); gwconf_free(v); gwconf_close(c); return 0; }' >/tmp/program.c
  # shellcheck disable=SC2046
  cc -o /tmp/program /tmp/program.c $(pkg-config --cflags --libs gwconf)
  expect program ntp.example.net "$(/tmp/program)"
else
  echo 'no compiler in this root folder'
fi

say 'install anew: an upgrade restarts what ran'
# Debian refuses to restart anything where no init runs, unless this says otherwise.
printf '#!/bin/sh\nexit 0\n' >/usr/sbin/policy-rc.d
chmod 755 /usr/sbin/policy-rc.d
before=$(cat /var/run/gwconfd.pid)
apt-get install -y -qq --reinstall --no-install-recommends /packages/gwconf-daemon_*.deb >/dev/null 2>&1
[ "$(cat /var/run/gwconfd.pid)" != "$before" ] || fail 'the old daemon runs on'
expect "$server" ntp.example.net "$(gwctl get "$server")"

say remove
rm /usr/sbin/policy-rc.d
apt-get remove -y -qq gwconf-daemon >/dev/null
! pidof gwconfd || fail 'the daemon survived'
[ -e /etc/default.xml ] || fail 'the defaults are a configuration file'

say purge
apt-get purge -y -qq gwconf-daemon gwconf-tools libgwconf1 libgwconf-dev >/dev/null
for file in /etc/default.xml /etc/init.d/gwconfd /usr/share/gwconf /usr/share/doc/gwconf /usr/include/gwconf; do
  [ ! -e "$file" ] || fail "$file is left over"
done
! find /etc/rc?.d -name '*gwconfd' | grep . || fail 'links to the init script are left over'
userdel engineer
userdel other
say 'all is well'
