# shellcheck shell=sh
# What both trials share.
export DEBIAN_FRONTEND=noninteractive LC_ALL=C
export server=InternetGatewayDevice.Time.NTPServer1

say() { printf '\n== %s\n' "$*"; }
fail() {
  echo "FAILED: $*" >&2
  exit 1
}
# expect WHAT WANTED FOUND
expect() {
  [ "$2" = "$3" ] || fail "$1: $3 instead of $2"
  echo "$1: $3"
}
# status_of COMMAND...: prints its exit status and nothing else
status_of() { "$@" >/dev/null 2>&1 && echo 0 || echo $?; }
