#!/usr/bin/env bash
# Makes qmx-ic.html, the page that computes, and tests it against the build "dev" for this system: the library's
# numbers and the program's documents as a module in Node and in a browser, and the page driven as a person
# would. With "build" it is made alone; the file is build/wasm/qmx-ic.html then. Installs nothing: compiler
# and sources come once, from the package indexes that this machine uses, and stay in build/wasm-tools.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
step() { echo; echo "== page: $* (after $((SECONDS / 60)) min $((SECONDS % 60)) s)"; }

step "compiler for WebAssembly"
tools/wasm-tools.sh
step "build"
packages=$PWD/build/page-packages
[ -f build/dev/report/packages/fetched ] && packages=$PWD/build/dev/report/packages
cmake --preset wasm -G Ninja "${launcher[@]}" -DQMX_IC_PAGE_PACKAGES="$packages" >/dev/null
cmake --build --preset wasm -- --quiet
[ "${1:-}" = build ] && exit
step "build for this system, to compare with"
[ -f build/dev/build.ninja ] || cmake --preset dev -G Ninja "${launcher[@]}" >/dev/null
cmake --build --preset dev --target qmx-ic-plain random_lots -- --quiet
step "tests"
ctest --preset wasm
