#!/usr/bin/env bash
# Measures the XML library beside other parsers, on one core, in turn within one run, and prints the ratios.
# Usage: bench/xml/run.sh [repetitions]     (default 9; the core is $WPK_BENCH_CORE, default the last one)
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
repetitions=${1:-9}
core=${WPK_BENCH_CORE:-$(($(nproc) - 1))}
cd "$root"

cmake --preset bench >/dev/null
cmake --build --preset bench --target xml_speed xml_memory >/dev/null

results=$root/build/bench/xml
mkdir -p "$results"
echo "Measuring speed: $repetitions repetitions on core $core ..." >&2
taskset -c "$core" build/bench/bin/xml_speed --benchmark_enable_random_interleaving=true \
    --benchmark_repetitions="$repetitions" --benchmark_min_time=0.05 \
    --benchmark_out="$results/speed.json" --benchmark_out_format=json >/dev/null 2>"$results/speed.log" ||
    { cat "$results/speed.log" >&2; exit 1; }
echo "Measuring memory ..." >&2
build/bench/bin/xml_memory >"$results/memory.txt"
python3 bench/xml/table.py "$results/speed.json" "$results/memory.txt"
