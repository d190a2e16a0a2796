#!/usr/bin/env bash
# Installs what is needed, builds the release, makes a sample lot and its report.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

program=${QMX_IC_PROGRAM:-} # one that is built already, or none
if [ -z "$program" ]; then
  tools/install-packages.sh demo
  cmake --preset release -G Ninja -DQMX_IC_BUILD_TESTS=OFF >build-demo.log 2>&1 &&
    cmake --build --preset release >>build-demo.log 2>&1 || { cat build-demo.log; exit 1; }
  rm build-demo.log
  program=build/release/qmx-ic
fi
lot=build/sample-lot
run() { echo; echo "\$ $*"; "$@"; }
run "$program" generate --points 60000 --seed 1 --force "$lot"
run "$program" report "$lot.csv" --tests "$lot-spots.csv" --area "$lot-alignment.csv" --target 50 \
  --title "Sample lot" -o build/sample-report.html
echo
echo "Open build/sample-report.html in a browser."
