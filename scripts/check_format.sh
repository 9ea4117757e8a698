#!/usr/bin/env bash
# Fails on a source file that clang-format would change, and names it.
set -euo pipefail
cd "$(dirname "$0")/.."
find protocol core platform storage xml rpc daemon client include tools tests bench \( -name '*.cpp' -o -name '*.h' -o -name '*.hpp' -o -name '*.c' \) -print0 |
  xargs -0 clang-format --dry-run -Werror
