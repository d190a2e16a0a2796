#!/usr/bin/env bash
# Sets up and passes the tests: both compilers with warnings as errors, the sanitizers, both BLAS
# libraries, the program without GDAL, the package for Python, packages for Debian, hosts in other
# languages. QMX_IC_DATA may name a folder with real data files; the tests that read it are skipped without
# it. Builds for Windows have a command of their own, tools/windows.sh.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

tools/install-packages.sh
export CTEST_OUTPUT_ON_FAILURE=1 QMX_IC_NEEDS_BROWSER=1 QMX_IC_NEEDS_HOSTS=1

step() { echo; echo "== $*"; }
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
build() { # preset, targets (all without any)
  step "build: $*"
  cmake --preset "$1" -G Ninja "${launcher[@]}" >/dev/null
  cmake --build --preset "$1" ${2:+--target "${@:2}"} -- --quiet
}
suite() { # preset, BLAS folder name, further options of ctest
  step "tests: $1, $2"
  local blas
  blas=$(echo /usr/lib/*-linux-gnu/"$2")
  LD_LIBRARY_PATH="$blas" ctest --preset "$1" "${@:3}"
}

step "format"
git ls-files '*.cpp' '*.hpp' '*.h' '*.c' | xargs clang-format-14 --dry-run --Werror

build sanitize
suite sanitize openblas-pthread
step "configure: no-gdal, on a machine without GDAL"
cmake --preset no-gdal -G Ninja -DCMAKE_DISABLE_FIND_PACKAGE_GDAL=ON >/dev/null
build dev # with the program and the tests that know no GDAL
tools/python.sh # the package for Python, made of the objects of this build
tools/packages.sh # packages for Debian and archives, of this build as well
suite dev openblas-pthread
suite dev blas -LE '^(study|app|report|without_gdal|docs|examples)$' # what calls the library directly
