#!/usr/bin/env bash
# Fails when a program needs a shared library that a device need not have: scripts/check_needed.sh PROGRAM
# Where the guard of the stack is no part of the thread, the loader has it (ld).
set -euo pipefail
needed=$(LC_ALL=C readelf -d "$1" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p')
echo "$needed"
! grep -vE '^(libc|libz|libixml|ld|ld-linux[-a-z0-9_]*|ld-uClibc)\.so' <<<"$needed"
