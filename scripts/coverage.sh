#!/bin/sh
# Builds with coverage, runs the tests and reports which lines and branches they reach: of the parts that read what comes
# from outside, of the library, of the tool. Fails when one of the former loses ground.
cd "$(dirname "$0")/.." || exit 1
. scripts/prepare.sh
# shellcheck disable=SC2086 # a list of words
installMissing $buildPackages $testPackages gcovr || exit 1
build=build/coverage
cmake --preset coverage >/dev/null && cmake --build --preset coverage || exit 1
find $build -name '*.gcda' -delete
KELVANE_COVERAGE=1 ctest --preset coverage --parallel "$(nproc)" -E PackageTest >$build/tests.log 2>&1 ||
    { tail -n 40 $build/tests.log; exit 1; }
# Branches that the compiler makes for exceptions, and for comparisons that it writes itself, are nobody's.
gcovr --root . --object-directory $build --exclude-throw-branches --exclude-unreachable-branches \
    --exclude-lines-by-pattern '.*= default;.*' --filter KelvaneSDK/ --filter tools/ --json $build/coverage.json \
    2>$build/gcovr.log || { cat $build/gcovr.log; exit 1; }

status=0
report() { # NAME LINES BRANCHES FILTER...: the least of both in percent
    name=$1 lines=$2 branches=$3
    shift 3
    for pattern in "$@"; do set -- "$@" --filter "$pattern"; shift; done
    summary=$(gcovr --root . --add-tracefile $build/coverage.json "$@" --print-summary --output $build/report.txt \
        --fail-under-line "$lines" --fail-under-branch "$branches" 2>$build/gcovr.log) || { status=1; cat $build/gcovr.log; }
    printf '%-18s %s\n' "$name" "$(printf '%s' "$summary" | grep -E '^(lines|branches)' | tr '\n' ' ')"
}
report "decoder" 100 94 KelvaneSDK/DiagramData 'KelvaneSDK/FileProcessing/(JsonNumber|JsonReader|PayloadReader)'
report "builder" 100 95 KelvaneSDK/Kelvane/DiagramBuilding
report "checker" 98 92 KelvaneSDK/DiagramCheck/ 'KelvaneSDK/FileProcessing/(JsonScan|TextPlace)'
report "recording reader" 99 92 'KelvaneSDK/FileProcessing/(InputRecording|LineReader|QuickLineReader|Recording)'
report "tool" 90 0 tools/
report "library" 95 0 KelvaneSDK/
cat $build/report.txt
exit $status
