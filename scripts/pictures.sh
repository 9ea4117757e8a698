#!/usr/bin/env bash
# Draws the pictures of README.md anew, from what the programs print: scripts/pictures.sh [BUILD-FOLDER]
# Without a folder it builds one. Run it after a change of what gwctl prints; docs.pictures tells when it is due.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
./scripts/install_missing.sh "${picture_packages[@]}"

build=${1:-build/run}
if [ $# = 0 ]; then
  ./scripts/install_missing.sh "${build_packages[@]}"
  cmake --preset release -DGWCONF_BUILD_TESTS=OFF -DGWCONF_BUILD_BENCH=OFF -B "$build" >/dev/null
  cmake --build "$build" -j "$(nproc)"
fi

# Debian's own interpreter, which its packages are for.
/usr/bin/python3 -B scripts/pictures.py "$build" docs/pictures
