#!/usr/bin/env bash
# What is run once before a release, and takes hours: everything that the test command has no time for.
#
#   tools/long-tests.sh            all parts
#   tools/long-tests.sh PART...    some of them, by the names below
#
# Ends with 1 if a part fails, after the others were run; what each said stands in build/long/PART.log.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

tools/install-packages.sh long || exit 1
parts=(levels 32-bit memory-sanitizer thread-sanitizer valgrind analysers coverage fuzz faults properties load quantiles)
work=$PWD/build/long
mkdir -p "$work"
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
calls=24000 # of random_lots, all of which are hashed

# Builds some targets of the library alone, with its own BLAS: nothing in it comes from elsewhere.
library() { # name, targets; further settings in the array `settings`
  cmake -S . -B "$work/$1" -G Ninja "${launcher[@]}" -DQMX_IC_BUILD_APP=OFF -DQMX_IC_BLAS=OWN \
    -DQMX_IC_WARNINGS_AS_ERRORS=OFF "${settings[@]}" >/dev/null &&
    cmake --build "$work/$1" --target "${@:2}" -- --quiet
}
hash_of() { "$@" "$calls" | sha256sum | cut -d' ' -f1; }
same_bytes() { # build folder; as the build dev gives, and the stored hashes
  local here there
  here=$(hash_of build/dev/tests/random_lots) && there=$(hash_of "$1/tests/random_lots") || return 1
  [ "$here" = "$there" ] || { echo "$1: other bytes than build/dev: tests/windows/compare_lots.py shows them"; return 1; }
  [ ! -e "$1/tests/test_boundary" ] || "$1/tests/test_boundary" --gtest_brief=1 --gtest_filter='StoredCalls.*' || return 1
  echo "$1: $calls random calls have the bytes of build/dev"
}
dev() { # targets
  [ -f build/dev/build.ninja ] || cmake --preset dev -G Ninja "${launcher[@]}" >/dev/null || return 1
  cmake --build --preset dev --target "$@" -- --quiet
}

# Both compilers at each level of optimisation give the same bytes.
levels() {
  dev random_lots || return 1
  local compiler level
  for compiler in g++ clang++-14; do
    for level in 0 1 2 3; do
      settings=(-DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="-O$level")
      library "$compiler-O$level" random_lots test_boundary && same_bytes "$work/$compiler-O$level" || return 1
    done
  done
}

# 32 bits with SSE2 arithmetic: a C host, and the same bytes.
32-bit() {
  dev random_lots example_statistics || return 1
  local flags="-m32 -msse2 -mfpmath=sse"
  cmake -S /usr/src/googletest -B "$work/googletest-32" -G Ninja -DBUILD_GMOCK=OFF -DCMAKE_CXX_FLAGS="$flags" \
    -DCMAKE_INSTALL_PREFIX="$work/googletest-32/installed" >/dev/null &&
    cmake --build "$work/googletest-32" --target install -- --quiet >/dev/null || return 1
  settings=(-DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_PREFIX_PATH="$work/googletest-32/installed")
  library 32-bit QMX_IC random_lots test_boundary example_statistics && same_bytes "$work/32-bit" &&
    diff <("$work"/32-bit/examples/example_statistics) <(build/dev/examples/example_statistics)
}

# Values that were never written, of the library: its callers are instrumented, too.
memory-sanitizer() {
  settings=(-DCMAKE_CXX_COMPILER=clang++-14 -DCMAKE_C_COMPILER=clang-14 -DQMX_IC_SANITIZE=memory
            -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="-O1 -g1 -fsanitize-memory-track-origins")
  library memory random_lots && "$work/memory/tests/random_lots" "$calls" | tail -1
}

# Calls one at a time from many threads.
thread-sanitizer() {
  settings=(-DCMAKE_CXX_COMPILER=clang++-14 -DCMAKE_C_COMPILER=clang-14 -DQMX_IC_SANITIZE=thread
            -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="-O1 -g1")
  library thread test_host_world &&
    "$work/thread/tests/host_world/test_host_world" --gtest_brief=1 --gtest_filter='HostThreads.TakeTurns'
}

valgrind() {
  dev random_lots test_memory || return 1
  command valgrind -q --error-exitcode=1 --leak-check=full build/dev/tests/random_lots 400 | tail -1
}

# Each exception stands with its reason: in .clang-tidy, in tools/cppcheck-exceptions.txt, or at its line.
analysers() {
  [ -f build/dev/build.ninja ] || cmake --preset dev -G Ninja "${launcher[@]}" >/dev/null || return 1
  cmake --preset sanitize -G Ninja "${launcher[@]}" -B "$work/analysed" -DQMX_IC_SANITIZE= -DCMAKE_UNITY_BUILD=OFF \
    >/dev/null || return 1
  # The headers are read as text: nothing has to be built first.
  sed -i 's/-Xclang -include-pch -Xclang [^ ]*\.pch //' "$work/analysed/compile_commands.json"
  local failed=0
  git ls-files 'src/*.cpp' 'study/*.cpp' 'apps/*.cpp' | grep -v '_libmd' | # of builds for WebAssembly alone
    xargs -P "$(nproc)" -n 1 clang-tidy-14 -p "$work/analysed" --quiet 2>/dev/null || failed=1
  cppcheck --quiet --std=c++20 --language=c++ -j "$(nproc)" --error-exitcode=1 --inline-suppr \
    --enable=warning,performance,portability --suppressions-list=tools/cppcheck-exceptions.txt \
    -I include -I src -I . src study apps || failed=1
  return $failed
}

# Lines and branches, without those that only a throw takes.
coverage() { tools/coverage.sh; }

fuzz() { tools/fuzz.sh; }
faults() { dev all && QMX_IC_LONG=1 ctest --preset dev -L '^faults$'; }
properties() { dev test_properties && QMX_IC_PROPERTIES=40 build/dev/tests/test_properties --gtest_brief=1; }
load() {
  cmake --preset release -G Ninja "${launcher[@]}" >/dev/null &&
    cmake --build --preset release --target load -- --quiet && build/release/bench/load
}

# Every f32 probability there is.
quantiles() {
  dev test_numeric &&
    build/dev/tests/test_numeric --gtest_also_run_disabled_tests --gtest_filter='*EveryF32*'
}

failed=()
for part in "$@"; do
  [[ " ${parts[*]} " = *" $part "* ]] || { echo "There is no part $part; they are: ${parts[*]}" >&2; exit 2; }
done
[ $# -gt 0 ] && parts=("$@")
for part in "${parts[@]}"; do
  began=$SECONDS
  if "$part" >"$work/$part.log" 2>&1; then
    echo "$part: passed after $((SECONDS - began)) s; $(tail -1 "$work/$part.log")"
  else
    failed+=("$part")
    echo "$part: FAILED after $((SECONDS - began)) s"
    tail -40 "$work/$part.log"
  fi
done
[ ${#failed[@]} -eq 0 ] || { echo "failed: ${failed[*]}"; exit 1; }
