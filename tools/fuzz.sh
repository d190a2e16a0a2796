#!/usr/bin/env bash
# Fuzzing: builds the targets of fuzz/ with libFuzzer, runs them, and keeps count of what was done.
#
#     tools/fuzz.sh run [TARGET [EXECUTIONS]]...   without a target each one up to the number it is to reach
#     tools/fuzz.sh report                         executions and findings of each target so far
#     tools/fuzz.sh keep [TARGET]...               the corpus found so far, minimised, into fuzz/corpus/
#     tools/fuzz.sh find TARGET INPUT              one input once, with all that the sanitizers have to say
#
# One core is used, at low priority. A run goes on where the last one ended: inputs found are kept in
# build/fuzz/inputs/, the counts in build/fuzz/executions.tsv. An input that breaks a property is left in
# build/fuzz/findings/TARGET/, and the target goes on.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

build=build/fuzz
counts=$build/executions.tsv
slice=${QMX_IC_FUZZ_SLICE:-100000} # executions between two entries of the counts
export ASAN_OPTIONS=quarantine_size_mb=1:thread_local_quarantine_size_kb=64:malloc_context_size=1:detect_stack_use_after_return=0:allocator_may_return_null=1
export UBSAN_OPTIONS=print_stacktrace=1

# Longest input and executions to be reached.
declare -A longest=() wanted=()
target() { longest[$1]=$2 wanted[$1]=$3; }
target icdata_stats 250 10000000
target compact_curve 160 10000000
target polycurvefit 160 10000000
target points_in_circle 200 10000000
target points_in_polygon 250 10000000
target pointsdata_stats 300 10000000
target coverage 300 10000000
target semivariogram 500 1000000
target delimited_text 700 250000
target number_text 80 250000
target unit_text 60 250000
target polygon_text 500 250000
target job_file 600 250000
target filter_expression 160 250000
order=(icdata_stats compact_curve polycurvefit points_in_circle points_in_polygon pointsdata_stats coverage
  semivariogram delimited_text number_text unit_text polygon_text job_file filter_expression)

prepare() { # unless the targets are built already
  [[ -n ${QMX_IC_FUZZ_BUILT:-} ]] && return
  [[ -f $build/build.ninja ]] || cmake --preset fuzz -G Ninja >/dev/null
  nice cmake --build --preset fuzz --target fuzz_targets -- --quiet
}
done_by() { # executions so far
  [[ -f $counts ]] || { echo 0; return; }
  awk -F'\t' -v name="$1" '$1 == name { sum += $2 } END { printf "%d\n", sum }' "$counts"
}
findings_of() { find "$build/findings/$1" -type f 2>/dev/null | wc -l; }

run() { # target, executions to be reached
  local name=$1 goal=$2 seen=$build/inputs/$1 found=$build/findings/$1 log now start
  mkdir -p "$seen" "$found" "fuzz/corpus/$name" "fuzz/regressions/$name"
  log=$build/$name.log
  while now=$(done_by "$name") && ((now < goal)); do
    start=$SECONDS
    local runs=$((goal - now < slice ? goal - now : slice)) dictionary=()
    [[ -f fuzz/dictionaries/$name.dict ]] && dictionary=("-dict=fuzz/dictionaries/$name.dict")
    # A finding ends the slice with a code of its own; what it did counts all the same.
    nice -n "${QMX_IC_FUZZ_NICE:-10}" "$build/fuzz/fuzz_$name" "${dictionary[@]}" -runs="$runs" -max_len="${longest[$name]}" -timeout=20 \
      -rss_limit_mb=2048 -print_final_stats=1 -entropic=0 -artifact_prefix="$found/" \
      "$seen" "fuzz/corpus/$name" "fuzz/regressions/$name" >"$log" 2>&1 || true
    local executed
    executed=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
    [[ -n $executed ]] || { tail -20 "$log" >&2; return 1; }
    printf '%s\t%d\t%d\t%s\n' "$name" "$executed" "$((SECONDS - start))" "$(git rev-parse --short HEAD)" >>"$counts"
    if (($(findings_of "$name") >= 20)); then
      echo "$name: 20 findings; look at them in $found first" >&2
      return 1
    fi
  done
}

report() {
  printf '%-20s %12s %12s %10s %9s\n' target executions "to reach" "a second" findings
  local name
  for name in "${order[@]}"; do
    local rate=0
    [[ -f $counts ]] && rate=$(awk -F'\t' -v name="$name" '$1 == name { sum += $2; time += $3 }
      END { printf "%d", time ? sum / time : 0 }' "$counts")
    printf '%-20s %12d %12d %10d %9d\n' "$name" "$(done_by "$name")" "${wanted[$name]}" "$rate" "$(findings_of "$name")"
  done
}

keep() { # target: what reaches more than the corpus does, the smallest first, as many as the project carries
  local name=$1 fresh
  fresh=$(mktemp -d)
  mkdir -p "$build/inputs/$name" "fuzz/corpus/$name"
  cp -r "fuzz/corpus/$name/." "$fresh"
  "$build/fuzz/fuzz_$name" -merge=1 -max_len="${longest[$name]}" "$fresh" "$build/inputs/$name" >"$build/$name.merge.log" 2>&1
  # What stands there stays: it may be all that reaches some property.
  local room=$((${QMX_IC_FUZZ_KEPT:-100} - $(find "fuzz/corpus/$name" -type f | wc -l)))
  find "$fresh" -type f -size -4k -printf '%s %f\n' | sort -n | cut -d' ' -f2 | while read -r input; do
    ((room-- > 0)) || break
    [ -e "fuzz/corpus/$name/$input" ] && { ((++room)); continue; }
    cp "$fresh/$input" "fuzz/corpus/$name/"
  done
  rm -rf "$fresh"
}

command=${1:-run}
(($# > 0)) && shift
case $command in
run)
  prepare
  if (($# == 0)); then
    for name in "${order[@]}"; do run "$name" "${wanted[$name]}"; done
  fi
  while (($# > 0)); do
    name=$1
    [[ -n ${wanted[$name]:-} ]] || { echo "there is no target $name" >&2; exit 2; }
    goal=${wanted[$name]}
    shift
    if [[ ${1:-} =~ ^[0-9]+$ ]]; then
      goal=$1
      shift
    fi
    run "$name" "$goal"
  done
  report
  ;;
report) report ;;
keep)
  prepare
  (($# > 0)) || set -- "${order[@]}"
  for name in "$@"; do keep "$name"; done
  ;;
find) "$build/fuzz/fuzz_$1" "$2" ;;
*) sed -n '2,12s/^# \{0,1\}//p' "$0"; exit 2 ;;
esac
