#!/bin/sh
# fuzz/run.sh SECONDS [TARGET ...]: builds the fuzz targets and runs each for that long from its seeds and from every
# input that once failed. New finds stay in build/fuzz/findings.
cd "$(dirname "$0")/.." || exit 1
seconds=$1
shift
[ -f build/fuzz/build.ninja ] || cmake --preset fuzz >/dev/null || exit 1
cmake --build --preset fuzz >/dev/null || exit 1
mkdir -p build/fuzz/findings
status=0
for target in "${@:-document diagram recording text}"; do
    for name in $target; do
        corpus=build/fuzz/corpus/$name
        mkdir -p "$corpus" "fuzz/seeds/$name"
        dictionary=""
        [ -f "fuzz/$name.dict" ] && dictionary="-dict=fuzz/$name.dict"
        echo "== $name"
        # shellcheck disable=SC2086 # absent or one word
        "build/fuzz/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -print_final_stats=1 \
            -artifact_prefix=build/fuzz/findings/ $dictionary "$corpus" "fuzz/seeds/$name" >"build/fuzz/$name.log" 2>&1 ||
            { status=1; tail -n 40 "build/fuzz/$name.log"; }
        grep -E 'stat::(number_of_executed_units|average_exec_per_sec|peak_rss_mb)' "build/fuzz/$name.log"
    done
done
exit $status
