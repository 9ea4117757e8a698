#!/usr/bin/env bash
# Formats every source file of ours: scripts/format.sh. With --check it fails on one that it would change, and names it.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=(-i)
[ "${1-}" = --check ] && mode=(--dry-run -Werror)
find protocol core platform storage xml rpc daemon client include tools tests bench \
  \( -name '*.cpp' -o -name '*.h' -o -name '*.hpp' -o -name '*.c' \) -print0 |
  xargs -0 clang-format "${mode[@]}"
