#!/usr/bin/env bash
# Installs what is missing, builds everything, runs every test, and says how many passed: scripts/test.sh
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
./scripts/install_missing.sh "${build_packages[@]}" "${test_packages[@]}"

mkdir -p build
passed=0
failed=0

# The first number that an attribute of a test report has: count REPORT ATTRIBUTE.
count() {
  sed -n "s/.*\b$2=\"\([0-9]*\)\".*/\1/p;T;q" "$1"
}

# Runs one build of the matrix: configure, build, test, count.
run_preset() {
  local preset=$1
  local log="build/$preset.log"
  echo "== $preset"
  { cmake --preset "$preset" && cmake --build --preset "$preset" -j "$(nproc)"; } >"$log" 2>&1 ||
    { tail -n 100 "$log"; exit 1; }
  local report="$PWD/build/$preset/report.xml"
  rm -f "$report"
  ctest --preset "$preset" -j "$(nproc)" --output-junit "$report" --no-tests=error >"$log" 2>&1 ||
    grep -vE '^ *(Start +[0-9]+:|[0-9]+/[0-9]+ Test .* Passed )' "$log" || true
  local run bad
  run=$(($(count "$report" tests) - $(count "$report" skipped) - $(count "$report" disabled)))
  bad=$(count "$report" failures)
  echo "$((run - bad)) of $run passed after $SECONDS s"
  passed=$((passed + run - bad))
  failed=$((failed + bad))
}

run_preset release
run_preset asan

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
