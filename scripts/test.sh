#!/usr/bin/env bash
# Installs what is missing, builds everything, runs every test, and says how many passed: scripts/test.sh
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
./scripts/install_missing.sh "${build_packages[@]}" "${test_packages[@]}" "${cross_packages[@]}"

mkdir -p build
passed=0
failed=0

# The first number that an attribute of a test report has: count REPORT ATTRIBUTE.
count() {
  sed -n "s/.*\b$2=\"\([0-9]*\)\".*/\1/p;T;q" "$1"
}

# Configures and builds, and ends everything when that fails: build PRESET [CMAKE-OPTION...]
build() {
  local preset=$1
  echo "== $preset"
  { cmake --preset "$@" && cmake --build --preset "$preset" -j "$(nproc)"; } >"build/$preset.log" 2>&1 ||
    { tail -n 100 "build/$preset.log"; exit 1; }
}

# Builds, tests and counts: run_preset PRESET [CMAKE-OPTION...]
run_preset() {
  build "$@"
  local preset=$1
  local log="build/$preset.log"
  local report="$PWD/build/$preset/report.xml"
  rm -f "$report"
  # Twice as many as there are processors: some wait more than they work.
  ctest --preset "$preset" -j "$((2 * $(nproc)))" --output-junit "$report" --no-tests=error >"$log" 2>&1 ||
    grep -vE '^ *(Start +[0-9]+:|[0-9]+/[0-9]+ Test .* Passed )' "$log" || true
  local run bad
  run=$(($(count "$report" tests) - $(count "$report" skipped) - $(count "$report" disabled)))
  bad=$(count "$report" failures)
  echo "$((run - bad)) of $run passed after $SECONDS s"
  passed=$((passed + run - bad))
  failed=$((failed + bad))
}

# The daemon as a device has it, to stand beside this machine's. scripts/test_cross.sh runs all tests there.
./scripts/cross_zlib.sh mips-linux-gnu build/sysroot/mips-linux-gnu
build device
run_preset release -DGWCONF_DEVICE_DAEMON="$PWD/build/device/gwconfd-sandbox"
run_preset asan

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
