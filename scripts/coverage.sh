#!/usr/bin/env bash
# Builds natively with coverage, runs all native tests and prints how much of the product they run, folder by folder.
# The report, file by file and line by line, is build/coverage/report/index.html.
# Usage: scripts/coverage.sh
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/coverage

command -v gcovr >/dev/null || { echo "gcovr is missing; scripts/setup.sh installs it."; exit 1; }
mkdir -p "$build/report"
echo "Building: coverage"
if ! { cmake --preset coverage && cmake --build --preset coverage; } >"$build.log" 2>&1; then
    tail -n 40 "$build.log"
    echo "The build has failed; all of its output is in $build.log."
    exit 1
fi
# What earlier runs have noted would be added to.
find "$build" -name '*.gcda' -delete
echo "Testing: coverage"
if ! ctest --preset coverage -j 2 >"$build-tests.log" 2>&1; then
    tail -n 40 "$build-tests.log"
    echo "Tests have failed, see $build-tests.log; the figures below are of what has run."
fi

# Branches that only an exception takes out of a call are the compiler's, not ours. The explorer has the sources built in
# its own way, with other branches, which would count as not taken.
gcovr --root . --filter src/ --filter include/ --exclude-throw-branches --exclude-unreachable-branches \
    --exclude-directories '.*/explore/.*' --gcov-ignore-parse-errors --csv "$build/report/files.csv" \
    --html-details "$build/report/index.html" "$build"

awk -F, '
    NR == 1 { for (i = 1; i <= NF; ++i) column[$i] = i; next }
    {
        folder = $column["filename"]
        if (!sub(/\/[^\/]*$/, "", folder)) folder = "."
        for (f = 0; f < 2; ++f) {
            name = f ? "total" : folder
            lines[name] += $column["line_total"]; run[name] += $column["line_covered"]
            branches[name] += $column["branch_total"]; taken[name] += $column["branch_covered"]
        }
    }
    function row(name) {
        return sprintf("%-18s %6d of %6d  %5.1f %%   %6d of %6d  %5.1f %%", name, run[name], lines[name],
            100 * run[name] / (lines[name] ? lines[name] : 1), taken[name], branches[name],
            100 * taken[name] / (branches[name] ? branches[name] : 1))
    }
    END {
        printf "%-18s %16s  %7s   %16s  %7s\n", "", "lines", "", "branches", ""
        for (name in lines) if (name != "total") print row(name) | "sort"
        close("sort")
        print row("total")
    }' "$build/report/files.csv"
echo "Line by line: $build/report/index.html"
