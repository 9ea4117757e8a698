#!/usr/bin/env bash
# Fuzzes every harness for a while, from its corpus on: scripts/fuzz.sh [SECONDS_EACH]
# What crashes stays below build/fuzz/; once it is mended, it belongs into the corpus.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
./scripts/install_missing.sh "${build_packages[@]}" "${test_packages[@]}" clang libclang-rt-14-dev
cmake --preset fuzz >/dev/null
for harness in tests/fuzz/*_fuzz.cpp; do
  name=$(basename "$harness" _fuzz.cpp)
  cmake --build --preset fuzz -j "$(nproc)" --target "${name}_fuzz" >/dev/null
  mkdir -p "build/fuzz/found/$name"
  echo "== $name"
  build/fuzz/"${name}_fuzz" -close_fd_mask=1 -max_total_time="${1:-60}" -artifact_prefix="build/fuzz/$name-" \
    "build/fuzz/found/$name" "tests/fuzz/corpus/$name"
done
