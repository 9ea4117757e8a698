#!/usr/bin/env bash
# Runs clang-tidy over the daemon and the client library: scripts/check_tidy.sh BUILD_FOLDER
set -euo pipefail
build=$(realpath "$1")
cd "$(dirname "$0")/.."
find protocol core platform storage xml rpc daemon client -name '*.cpp' -print0 |
  xargs -0 -P "$(nproc)" -n 4 clang-tidy -p "$build" --quiet --extra-arg=-Wno-unknown-warning-option 2>/dev/null
