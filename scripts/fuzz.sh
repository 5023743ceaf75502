#!/usr/bin/env bash
# Builds every fuzz target and runs each for a while, beginning with its seeds. What it learns stays in build/fuzz/corpus.
# Usage: scripts/fuzz.sh [seconds each] [target ...]     (default 60 seconds, all targets)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
shift || true
cd "$root"

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target fuzz_targets -j2 >/dev/null

failed=0
while read -r name folder; do
    if [ $# -gt 0 ] && [[ " $* " != *" $name "* ]]; then continue; fi
    corpus=build/fuzz/corpus/$name
    mkdir -p "$corpus"
    options=(-max_total_time="$seconds" -max_len=4096 -timeout=10 -print_final_stats=1
             -artifact_prefix="build/fuzz/$name-")
    if [ -f "$folder/dictionary.txt" ]; then options+=(-dict="$folder/dictionary.txt"); fi
    if build/fuzz/bin/"$name" "${options[@]}" "$corpus" "$folder/seeds" >"build/fuzz/$name.log" 2>&1; then
        echo "$name: no fault, $(sed -n 's/stat::number_of_executed_units: *//p' "build/fuzz/$name.log") inputs"
    else
        echo "$name: FAULT, see build/fuzz/$name.log and build/fuzz/$name-*"
        failed=1
    fi
done <build/fuzz/fuzz_targets.txt
exit $failed
