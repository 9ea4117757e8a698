#!/usr/bin/env bash
# Builds the Debian packages and leaves them in the build folder: scripts/package.sh [BUILD_FOLDER]
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/packages.sh
./scripts/install_missing.sh "${build_packages[@]}" dpkg-dev file gzip

build=${1:-build/package}
mkdir -p "$build"
rm -f "$build"/*.deb
umask 022

flags=$(DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --export=sh)
eval "$flags"
export CFLAGS="$CFLAGS $CPPFLAGS" CXXFLAGS="$CXXFLAGS $CPPFLAGS"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
  -DGWCONF_BUILD_TESTS=OFF -DGWCONF_BUILD_BENCH=OFF >"$build/configure.log" 2>&1 ||
  { cat "$build/configure.log"; exit 1; }
echo "building the packages"
cmake --build "$build" -j "$(nproc)" >"$build/build.log" 2>&1 || { tail -n 50 "$build/build.log"; exit 1; }
(cd "$build" && cpack -G DEB >package.log 2>&1) || { cat "$build/package.log"; exit 1; }
ls -1 "$build"/*.deb
