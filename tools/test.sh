#!/usr/bin/env bash
# Sets up and passes the tests: both compilers with warnings as errors, the sanitizers, both BLAS
# libraries, the program without GDAL, the package for Python, packages for Debian, the builds for Windows
# under Wine, hosts in other languages. QMX_IC_DATA may name a folder with real data files; the tests that
# read it are skipped without it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

tools/install-packages.sh
export CTEST_OUTPUT_ON_FAILURE=1 QMX_IC_NEEDS_BROWSER=1 QMX_IC_NEEDS_HOSTS=1

step() { echo; echo "== $* (after $((SECONDS / 60)) min $((SECONDS % 60)) s)"; }
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
build() { # preset; several files are compiled as one, which saves a third of the time
  step "build: $1"
  cmake --preset "$1" -G Ninja "${launcher[@]}" -DCMAKE_UNITY_BUILD=ON >/dev/null
  cmake --build --preset "$1" -- --quiet
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
tools/packages.sh # packages for Debian and archives, of this build
tools/python.sh wheel # the package for Python, of this build as well
step "the package's tests, beside those of the builds for Windows"
mkdir -p build/python
tools/python.sh tests >build/python/tests.log 2>&1 &
python_tests=$!
trap 'kill "$python_tests" 2>/dev/null' EXIT
tools/windows.sh
wait "$python_tests" || { cat build/python/tests.log; exit 1; }
trap - EXIT
cat build/python/tests.log
suite dev openblas-pthread
suite dev blas -LE '^(study|app|report|without_gdal|docs|examples|faults|fuzz|properties|memory|host_world)$' # what calls the library directly
