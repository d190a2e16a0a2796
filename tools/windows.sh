#!/usr/bin/env bash
# Builds the library and the program for 64-bit Windows and tests them under Wine, against the build "dev"
# for this system. With "32" the library for 32-bit Windows is built and looked at, too (package
# g++-mingw-w64-i686-posix), but not run: Debian's 64-bit Wine lacks that half. Installs nothing; the source of the
# pictures' library comes by apt once and stays in the build folder.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
step() { echo; echo "== Windows: $* (after $((SECONDS / 60)) min $((SECONDS % 60)) s)"; }

# lodepng for this system is a binary package; for another it is compiled from the same package's source.
lodepng=$PWD/build/lodepng
fetch_lodepng() {
  [ -f "$lodepng/lodepng.cpp" ] && return
  local version work parts
  version=$(dpkg-query -W -f '${source:Version}' liblodepng-dev)
  work=$(mktemp -d)
  trap 'rm -rf "$work"' RETURN
  mkdir -p "$work"/{lists/partial,cache/archives/partial,parts} "$lodepng"
  for parts in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ -f "$parts" ] && sed -n 's/^deb /deb-src /p' "$parts" >"$work/parts/$(basename "$parts" .list).list"
  done
  for parts in /etc/apt/sources.list.d/*.sources; do
    [ -f "$parts" ] && sed 's/^Types:.*/Types: deb-src/' "$parts" >"$work/parts/$(basename "$parts")"
  done
  local own=(-qq -o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$work/parts"
             -o Dir::State::Lists="$work/lists" -o Dir::Cache="$work/cache" -o APT::Sandbox::User="$(id -un)")
  apt-get "${own[@]}" update
  (cd "$work" && apt-get "${own[@]}" source --download-only "lodepng=$version")
  tar -xf "$work"/lodepng_*.orig.tar.* -C "$work" --wildcards --strip-components=1 '*/lodepng.cpp' '*/lodepng.h'
  cmp "$work/lodepng.h" /usr/include/lodepng.h # of the package that is installed
  cp "$work"/lodepng.{cpp,h} "$lodepng"
}

# What belongs to Wine lives in the build folder and ends with this script. Its services are started
# beforehand: a test that started them would count as running as long as they do.
start_wine() { # preset
  export WINEPREFIX=$PWD/build/$1/wine WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml,winemenubuilder.exe=' LC_ALL=C.UTF-8
  unset DISPLAY
  mkdir -p "$WINEPREFIX"
  PATH=$PATH:/usr/lib/wine
  server=$(command -v wineserver64 || command -v wineserver)
  trap '"$server" --kill' EXIT
  "$server" --persistent
  "$(command -v wine64 || command -v wine)" wineboot >/dev/null 2>&1 </dev/null
}

build() { # preset, targets
  step "build: $1"
  cmake --preset "$1" -G Ninja "${launcher[@]}" -DQMX_IC_LODEPNG_SOURCE="$lodepng" \
    -DQMX_IC_PAGE_PACKAGES="$PWD/build/dev/report/packages" >/dev/null
  cmake --build --preset "$1" --target "${@:2}" -- --quiet
}

rooms=(base events numeric logs toolkit geometry selection measure_statistics compaction spot_tests coverage
       semivariogram boundary properties memory host_world)
library=(QMX_IC example_statistics random_lots "${rooms[@]/#/test_}")

step "build for this system, to compare with"
[ -f build/dev/build.ninja ] || cmake --preset dev -G Ninja "${launcher[@]}" >/dev/null
cmake --build --preset dev --target qmx-ic-plain random_lots -- --quiet
fetch_lodepng
build windows qmx-ic pages notices_library notices_program "${library[@]}"
step "tests under Wine"
start_wine windows
ctest --preset windows
if [ "${1:-}" = 32 ]; then
  build windows-32 QMX_IC example_statistics random_lots
  ctest --preset windows-32 -R windows/library
fi
