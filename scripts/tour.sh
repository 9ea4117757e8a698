# A short tour through every kind of command; sourced by run.sh when there is no terminal.

show() {
  echo "\$ gwctl $*"
  gwctl "$@"
}

time=InternetGatewayDevice.Time
leases=InternetGatewayDevice.LANDevice.1.LANHostConfigManagement.DHCPStaticAddress
saved=$sandbox/saved.xml

# A tour begins with the factory defaults, whatever an earlier one left behind.
gwctl reset --yes >/dev/null

echo "-- values, stored and live"
show get $time.NTPServer1 InternetGatewayDevice.DeviceInfo.UpTime
show set $time.NTPServer1=ntp.example.net
show describe $time.NTPServer1

echo "-- instances"
show add $leases.
show add $leases.
show insert $leases. 2
show set $leases.1.Yiaddr=192.168.1.10
show ls $leases.
show del $leases.2.
show renumber $leases.
show ls $leases.

echo "-- attributes and export"
show attr $time.NTPServer1 notify-passive=1
show export $time.NTPServer1

echo "-- to flash, and back after a restart"
show tree InternetGatewayDevice. --user-set --values
show commit
stop_daemon
start_daemon
show get $time.NTPServer1 $leases.1.Yiaddr
[ "$(gwctl get $time.NTPServer1)" = ntp.example.net ]

echo "-- to a file, to the factory defaults, and back"
show save "$saved"
show reset --yes
show get $time.NTPServer1
show restore "$saved"
show get $time.NTPServer1
[ "$(gwctl get $time.NTPServer1)" = ntp.example.net ]
