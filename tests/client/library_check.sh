#!/bin/sh
# What a device pays for the shared library and what it binds to.
# library_check.sh LIBRARY LARGEST_STRIPPED_SIZE STRIP READELF
set -eu
library=$1 largest=$2 strip=$3 readelf=$4
stripped=$(mktemp)
trap 'rm -f "$stripped"' EXIT
failed=0

expect() { # what, expected, found
  [ "$2" = "$3" ] && return
  printf '%s: expected\n%s\nfound\n%s\n' "$1" "$2" "$3"
  failed=1
}

"$strip" -o "$stripped" "$library"
size=$(wc -c <"$stripped")
if [ "$size" -gt "$largest" ]; then
  echo "stripped size $size is more than $largest"
  failed=1
fi

dynamic=$("$readelf" -dW "$library")
needed=$(printf '%s\n' "$dynamic" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
case $needed in
libc.so | libc.so.[0-9]*) ;;
*) expect 'needed libraries' 'libc alone' "$needed" ;;
esac
expect SONAME libgwconf.so.1 "$(printf '%s\n' "$dynamic" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')"

expect 'exported symbols' 'gwconf_add_instance
gwconf_add_virtual_instance
gwconf_answers_count
gwconf_answers_free
gwconf_answers_text
gwconf_call
gwconf_check_virtual
gwconf_close
gwconf_commit
gwconf_delete_instance
gwconf_delete_node
gwconf_dump_short_names
gwconf_export_node
gwconf_export_parameter
gwconf_free
gwconf_get_attributes
gwconf_get_enumeration
gwconf_get_max
gwconf_get_min
gwconf_get_name
gwconf_get_path
gwconf_get_type
gwconf_get_value
gwconf_insert_instance
gwconf_insert_virtual_instance
gwconf_list_instances
gwconf_listener_close
gwconf_listener_fd
gwconf_listener_next
gwconf_listener_open
gwconf_move
gwconf_open
gwconf_rearrange
gwconf_register
gwconf_reset
gwconf_restore
gwconf_save
gwconf_set_attribute
gwconf_set_timeout
gwconf_set_value
gwconf_socket_path
gwconf_strerror' "$("$readelf" --dyn-syms -W "$library" |
  awk '$5 == "GLOBAL" && $7 != "UND" && $4 == "FUNC" && sub(/@@GWCONF_1$/, "", $8) {print $8}' | LC_ALL=C sort)"
exit $failed
