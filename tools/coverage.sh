#!/usr/bin/env bash
# Coverage of lines and branches by the tests, without branches that only a throw or the compiler takes; a
# line or branch of a template counts where any instance reached it (tools/coverage_gaps.py).
# Ends with 1 below what is promised: 100 % of lines and 97 % of branches in src/, 95 and 85 in study/.
# Lists of what is missing: build/coverage/src.txt and study.txt. A line that no test can reach says why,
# behind GCOVR_EXCL_LINE, GCOVR_EXCL_BR_LINE (its branches) or GCOVR_EXCL_START.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
# Several files are compiled as one, which saves time; each line keeps its own file.
cmake --preset coverage -G Ninja "${launcher[@]}" -DCMAKE_UNITY_BUILD=ON >/dev/null
cmake --build --preset coverage -- --quiet
find build/coverage -name '*.gcda' -delete # of an earlier run
# Notes of objects that an earlier build made and this one does not: they would count as never reached.
ninja -C build/coverage -t cleandead >/dev/null
find build/coverage -name '*.gcno' | while read -r notes; do
  [ -e "${notes%.gcno}.o" ] || rm "$notes"
done
# Without what looks at the symbols of a library: this one has those of the counting too.
ctest --preset coverage -LE '^(docs|examples)$' \
  -E '^(report/browser|boundary/(exported_names|fixed_arithmetic|header|contract)|study/fixed_arithmetic)'

# The counts of each instance by itself, as the list of gaps needs them, come with 8.8; older ones, as
# Debian's 5.2, put the instances of a template together wrongly.
needed=8.8
gcovr=gcovr
installed=$(gcovr --version 2>/dev/null | sed -n '1s/^gcovr //p' || true)
if [ "$(printf '%s\n' "$needed" "${installed:-0}" | sort -V | head -n 1)" != "$needed" ]; then
  echo "gcovr ${installed:-is not installed}, $needed is needed: it comes from the package index"
  venv=build/coverage/gcovr
  [ -x $venv/bin/gcovr ] ||
    { python3 -m venv $venv && $venv/bin/pip install -q --disable-pip-version-check gcovr==$needed; }
  gcovr=$venv/bin/gcovr
fi

failed=0
measured() { # folder, least lines, least branches
  echo "== $1"
  # Headers are counted where they are used too: in the tests. Threads count at once without a lock, so that
  # a number may come out wrong, even below 0, and loops within loops run more than 2^32 times.
  $gcovr -r . --filter "$1/" --exclude-unreachable-branches --merge-mode-functions=merge-use-line-min \
    --gcov-ignore-parse-errors=negative_hits.warn --gcov-suspicious-hits-threshold 0 -j 2 \
    --json "build/coverage/$1.json" build/coverage
  tools/coverage_gaps.py "build/coverage/$1.json" "build/coverage/$1.txt" \
    --least-lines "$2" --least-branches "$3" || failed=1
}
measured src 100 97
measured study 95 85
exit $failed
