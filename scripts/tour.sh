# A short tour through every kind of command; sourced by run.sh when there is no terminal.

show() {
  echo "\$ gwctl $*"
  gwctl "$@"
}

server=InternetGatewayDevice.ManagementServer
time=InternetGatewayDevice.Time

show get $time.NTPServer1
show set $time.NTPServer1=ntp.example.net $server.PeriodicInformInterval=600
show commit

echo "restarting the daemon"
stop_daemon
start_daemon
show get $time.NTPServer1 $server.PeriodicInformInterval
[ "$(gwctl get $time.NTPServer1)" = ntp.example.net ]
