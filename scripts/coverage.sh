#!/usr/bin/env bash
# Line and branch coverage of src/ by every CTest test, with the window off.
#   scripts/coverage.sh [build folder] [parallel jobs]
#   scripts/coverage.sh --report [build folder]   the figures of the last run again
# Configures a Debug build with --coverage in its own folder (build-coverage), builds it,
# clears the counters of an earlier run, runs every test, and has gcovr (gcov underneath)
# read the counters. Prints one line per part of src/: the core as a whole, each of its
# layers, the window layer and the program's front end. The figures per file are kept in
# BUILD/coverage.csv, the lines and branches not run in BUILD/coverage.json.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
report_only=false
if [[ ${1:-} == --report ]]; then
    report_only=true
    shift
fi
build=$(realpath -m "${1:-$root/build-coverage}")
jobs=${2:-$(nproc)}

status=0
if ! $report_only; then
    cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Debug -DTESSARON_WERROR=ON \
        -DTESSARON_GUI=OFF -DCMAKE_CXX_FLAGS=--coverage -DCMAKE_EXE_LINKER_FLAGS=--coverage
    cmake --build "$build" -j "$jobs"
    find "$build" -name '*.gcda' -delete
    # A failing test still leaves its counters: the figures are printed, then its status.
    (cd "$build" && ctest -j "$jobs" --output-on-failure) || status=$?
    # The counters are looked for in the build folder only.
    gcovr --root "$root" --filter "$root/src/" -j "$jobs" --csv "$build/coverage.csv" \
        --json "$build/coverage.json" "$build" >/dev/null
fi

# coverage.csv: filename,line_total,line_covered,line_percent,branch_total,branch_covered,...
# The core's headers are named by the layers' include folders in the build
# (BUILD/layers/tessaron_engine/engine/X.h is src/core/engine/X.h).
awk -F, '
    BEGIN {
        n = split("src/core/ src/core/platform/ src/core/setfile/|src/core/selection/ " \
                  "src/core/mail/ src/core/engine/ src/ui/ src/app/ src/", parts, " ")
        split("src/core src/core/platform src/core/setfile+selection src/core/mail " \
              "src/core/engine src/ui src/app src", names, " ")
    }
    NR == 1 { next }
    {
        sub(/^.*\/layers\/[^\/]*\//, "src/core/", $1)
        for (i = 1; i <= n; i++) {
            m = split(parts[i], prefixes, "|")
            for (j = 1; j <= m; j++) {
                if (index($1, prefixes[j]) == 1) {
                    lt[i] += $2; lc[i] += $3; bt[i] += $5; bc[i] += $6
                    break
                }
            }
        }
    }
    function pct(c, t) { return t ? sprintf("%5.1f %%", 100 * c / t) : "    - " }
    END {
        printf "%-28s %20s %20s\n", "part", "lines", "branches"
        for (i = 1; i <= n; i++)
            printf "%-28s %s %5d/%-5d %s %5d/%-5d\n", names[i], pct(lc[i], lt[i]), lc[i], lt[i],
                   pct(bc[i], bt[i]), bc[i], bt[i]
    }' "$build/coverage.csv"
if ((status != 0)); then
    echo "coverage: some tests failed (ctest status $status)" >&2
fi
exit "$status"
