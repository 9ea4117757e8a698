#!/usr/bin/env bash
# Runs all tests, those of the tools too, under the address and undefined behaviour sanitizers: scripts/test_asan.sh
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
./scripts/install_missing.sh "${build_packages[@]}" "${test_packages[@]}"
cmake --preset asan-all >/dev/null
cmake --build --preset asan-all -j "$(nproc)" >/dev/null
ctest --preset asan-all -j "$((2 * $(nproc)))" --no-tests=error
