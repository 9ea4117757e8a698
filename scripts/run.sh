#!/usr/bin/env bash
# From a clone to a living gateway: installs what is missing, builds, starts the daemon over a folder of its own with
# the sample model, and opens a shell on it. Without a terminal it runs a short tour instead: scripts/run.sh [FOLDER]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
./scripts/install_missing.sh "${build_packages[@]}"

cmake --preset release -DGWCONF_BUILD_TESTS=OFF -DGWCONF_BUILD_BENCH=OFF -B build/run >/dev/null
echo "building (a minute the first time)"
cmake --build build/run -j "$(nproc)" >build/run/build.log 2>&1 || { tail -n 50 build/run/build.log; exit 1; }

sandbox=${1:-$PWD/.sandbox}
mkdir -p "$sandbox"/{etc,dev,tmp}
[ -e "$sandbox/etc/default.xml" ] || cp models/home-gateway.xml "$sandbox/etc/default.xml"
touch "$sandbox/dev/mtd9" "$sandbox/dev/mtd10"  # flash, as plain files
export GWCONF_SANDBOX=$sandbox
export GWCONF_SOCKET=$sandbox/tmp/Vantrel_cm_socket
export PATH=$PWD/build/run:$PATH

daemon=
start_daemon() {
  gwconfd-sandbox &
  daemon=$!
  for _ in $(seq 100); do
    gwctl get InternetGatewayDevice.DeviceSummary >/dev/null 2>&1 && return
    sleep 0.05
  done
  echo "the daemon does not answer" >&2
  exit 1
}
stop_daemon() {
  [ -z "$daemon" ] || kill "$daemon" 2>/dev/null || true
  wait "$daemon" 2>/dev/null || true
  daemon=
}
trap stop_daemon EXIT

start_daemon
if [ -t 0 ] && [ -t 1 ]; then
  echo "gwconfd serves $GWCONF_SOCKET; 'help' lists the verbs, Ctrl-D leaves"
  gwctl shell
else
  . scripts/tour.sh
fi
