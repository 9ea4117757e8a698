#!/usr/bin/env bash
# Builds for 32-bit MIPS and runs the tests there, under emulation: scripts/test_cross.sh [mips|mipsel]
# mips has the highest byte first, as the device may have it; the host has the lowest.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
arch=${1:-mips}
./scripts/install_missing.sh "${build_packages[@]}" "${test_packages[@]}" "${cross_packages[@]/g++-mips-/g++-$arch-}"
./scripts/cross_zlib.sh "$arch-linux-gnu" "build/sysroot/$arch-linux-gnu"
cmake --preset "$arch" >/dev/null
cmake --build --preset "$arch" -j "$(nproc)" >/dev/null
ctest --preset "$arch" -j "$(nproc)" --no-tests=error
