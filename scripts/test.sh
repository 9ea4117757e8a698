#!/usr/bin/env bash
# Installs what is missing, builds everything, runs every test, and says how many passed: scripts/test.sh
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
./scripts/install_missing.sh "${build_packages[@]}" "${test_packages[@]}"

mkdir -p build
passed=0
failed=0

# Runs one build of the matrix: configure, build, test, count.
run_preset() {
  local preset=$1
  echo "== $preset"
  cmake --preset "$preset" >"build/$preset.log" 2>&1 || { cat "build/$preset.log"; exit 1; }
  cmake --build --preset "$preset" -j "$(nproc)" >>"build/$preset.log" 2>&1 || { tail -n 100 "build/$preset.log"; exit 1; }
  local results="build/$preset/results.xml"
  rm -f "$results"
  ctest --preset "$preset" -j "$(nproc)" --output-junit "$PWD/$results" --no-tests=error || true
  local run bad
  run=$(grep -o ' tests="[0-9]*"' "$results" | head -n 1 | tr -dc 0-9)
  bad=$(grep -o ' failures="[0-9]*"' "$results" | head -n 1 | tr -dc 0-9)
  passed=$((passed + run - bad))
  failed=$((failed + bad))
}

run_preset release
run_preset asan

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
