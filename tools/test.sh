#!/usr/bin/env bash
# Sets up and passes the tests: both compilers with warnings as errors, the sanitizers, and both
# BLAS libraries. QMX_IC_DATA may name a folder with real data files; the tests that read it are
# skipped without it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

tools/install-packages.sh
export CTEST_OUTPUT_ON_FAILURE=1

step() { echo; echo "== $*"; }
build() { # preset
  step "build: $1"
  cmake --preset "$1" -G Ninja >/dev/null
  cmake --build --preset "$1" -- --quiet
}
suite() { # preset, BLAS folder name
  step "tests: $1, $2"
  local blas
  blas=$(echo /usr/lib/*-linux-gnu/"$2")
  LD_LIBRARY_PATH="$blas" ctest --preset "$1"
}

step "format"
git ls-files '*.cpp' '*.hpp' '*.h' '*.c' | xargs clang-format-14 --dry-run --Werror

build sanitize
suite sanitize blas
build dev-clang
suite dev-clang openblas-pthread
build dev
suite dev openblas-pthread
suite dev blas
