#!/bin/sh
# fuzz/run.sh SECONDS [TARGET ...]: runs fuzz targets (all, if none is named), as many at a time as there are
# processors, each for that long from its seeds and from what once failed; fails when one of them does. The targets
# come from the build folder in FUZZ_BUILD, or else from build/fuzz, which is brought up to date. Their logs, what they
# learnt (corpus) and the inputs that failed (findings) are in the folder fuzz-runs there.
cd "$(dirname "$0")/.." || exit 1
seconds=$1
shift
if [ -z "$FUZZ_BUILD" ]; then
    FUZZ_BUILD=build/fuzz
    [ -f $FUZZ_BUILD/build.ninja ] || cmake --preset fuzz >/dev/null || exit 1
    cmake --build --preset fuzz >/dev/null || exit 1
fi
runs=$PWD/$FUZZ_BUILD/fuzz-runs
mkdir -p "$runs/findings"
[ $# -gt 0 ] || for program in "$FUZZ_BUILD"/fuzz/fuzz_*; do set -- "$@" "${program##*/fuzz_}"; done
export FUZZ_BUILD runs seconds

# shellcheck disable=SC2016 # expanded by the inner shell
printf '%s\n' "$@" | xargs -P "$(nproc)" -n 1 sh -c '
    corpus=$runs/corpus/$1 log=$runs/$1.log
    mkdir -p "$corpus"
    set -- "$1" "$corpus" "fuzz/seeds/$1"
    [ -d "fuzz/regressions/$1" ] && set -- "$@" "fuzz/regressions/$1"
    [ -f "fuzz/$1.dict" ] && set -- "$@" "-dict=fuzz/$1.dict"
    name=$1
    shift
    # Long inputs from the beginning: a diagram with few bytes has few nodes.
    UBSAN_OPTIONS=print_stacktrace=1 "$FUZZ_BUILD/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=20 \
        -rss_limit_mb=2048 -len_control=0 -print_funcs=0 -print_final_stats=1 \
        -artifact_prefix="$runs/findings/$name-" "$@" >"$log" 2>&1
    status=$?
    statistic() { sed -n "s/^stat::$1: *//p" "$log"; }
    if [ $status -eq 0 ]; then verdict=passed; else verdict=FAILED; fi
    printf "%-10s %s: %s runs, %s a second, %s MB\n" "$name" "$verdict" "$(statistic number_of_executed_units)" \
        "$(statistic average_exec_per_sec)" "$(statistic peak_rss_mb)"
    [ $status -eq 0 ] || { tail -n 60 "$log"; exit 1; }
' run
