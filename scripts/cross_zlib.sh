#!/usr/bin/env bash
# Builds a static zlib for another machine from Debian's source package: scripts/cross_zlib.sh TRIPLE PREFIX
set -euo pipefail
triple=$1
prefix=$(realpath -m "$2")
[ ! -e "$prefix/lib/libz.a" ] || exit 0

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
chmod 755 "$work"
mkdir -p "$work"/{parts,lists/partial,archives/partial}

# The machine's own package sources, asked for sources instead of binaries.
for list in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
  [ ! -e "$list" ] || sed -n 's/^deb /deb-src /p' "$list" >>"$work/parts/sources.list"
done
for list in /etc/apt/sources.list.d/*.sources; do
  [ ! -e "$list" ] || sed 's/^Types:.*/Types: deb-src/' "$list" >"$work/parts/$(basename "$list")"
done
apt=(apt-get -qq -o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts="$work/parts"
  -o Dir::State::lists="$work/lists" -o Dir::Cache::archives="$work/archives"
  -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache= -o APT::Sandbox::User="$(id -un)")
"${apt[@]}" update
(cd "$work" && "${apt[@]}" source --download-only zlib && tar -xf zlib_*.orig.tar.*)
cd "$work"/zlib-*/
export CC=$triple-gcc AR=$triple-ar RANLIB=$triple-ranlib CFLAGS=-O2
./configure --static --prefix="$prefix" >/dev/null
make -j "$(nproc)" libz.a >/dev/null
make install >/dev/null 2>&1
