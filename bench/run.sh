#!/usr/bin/env bash
# Measures, in one run, every figure of docs/performance.md and prints its table: bench/run.sh [ROUNDS]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
./scripts/install_missing.sh "${build_packages[@]}" googletest
cmake --preset release >/dev/null
cmake --build --preset release --target get_bench load_bench gwconfd-sandbox >/dev/null
echo "| what | measured | beside | measured | ratio |"
echo "|---|---|---|---|---|"
build/release/get_bench build/release/gwconfd-sandbox models/home-gateway.xml "${1:-40}"
build/release/load_bench "${1:-20}"
