#!/usr/bin/env bash
# Builds the fuzz targets and runs each for a while, beginning with its seeds and with what earlier runs have found
# (build/fuzz/corpus). The last line is "N passed, N failed": each target is one.
usage='Usage: scripts/fuzz.sh MINUTES [target ...]     (in all)   or   scripts/fuzz.sh --seconds N [target ...]   (each)'
set -euo pipefail
cd "$(dirname "$0")/.."

each=0
if [ "${1:-}" = --seconds ]; then each=1; shift; fi
if ! [[ ${1:-} =~ ^[1-9][0-9]{0,5}$ ]]; then echo "$usage" >&2; exit 2; fi
amount=$1
shift

echo "Building the fuzz targets"
mkdir -p build
if ! { cmake --preset fuzz && cmake --build --preset fuzz --target fuzz_targets -j2; } >build/fuzz-build.log 2>&1; then
    tail -n 20 build/fuzz-build.log
    echo "The fuzz targets cannot be built; all of the output is in build/fuzz-build.log."
    echo "0 passed, 1 failed"
    exit 1
fi

names=()
declare -A folder inputs seconds_left
while read -r name path; do
    if [ $# -gt 0 ] && [[ " $* " != *" $name "* ]]; then continue; fi
    names+=("$name")
    folder[$name]=$path
    inputs[$name]=0
done <build/fuzz/fuzz_targets.txt
if [ ${#names[@]} -eq 0 ]; then
    echo "There is no such target; there are: $(cut -d' ' -f1 build/fuzz/fuzz_targets.txt | tr '\n' ' ')" >&2
    exit 2
fi
for name in "${names[@]}"; do
    if [ $each = 1 ]; then seconds_left[$name]=$amount; else seconds_left[$name]=$((amount * 60 / ${#names[@]})); fi
    # libFuzzer takes 0 for "without end".
    [ "${seconds_left[$name]}" -gt 0 ] || seconds_left[$name]=1
done

# One run of a target; adds up its inputs. False when it has found a fault.
run() {
    local name=$1 seconds=$2 log=build/fuzz/$1.log corpus=build/fuzz/corpus/$1 good=0
    local options=(-max_total_time="$seconds" -max_len=4096 -timeout=20 -print_final_stats=1
                   -artifact_prefix="build/fuzz/$name-")
    if [ -f "${folder[$name]}/dictionary.txt" ]; then options+=(-dict="${folder[$name]}/dictionary.txt"); fi
    mkdir -p "$corpus"
    build/fuzz/bin/"$name" "${options[@]}" "$corpus" "${folder[$name]}/seeds" >"$log" 2>&1 || good=1
    inputs[$name]=$((inputs[$name] + $(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | grep . || echo 0)))
    return $good
}

# In turns, so that every target has had its share whenever this is broken off. A turn is short also because the
# fake platform never uses a handle's value twice, and has sixteen million of them.
turn=300
failed=()
running=("${names[@]}")
while [ ${#running[@]} -gt 0 ]; do
    next=()
    for name in "${running[@]}"; do
        seconds=$((seconds_left[$name] < turn ? seconds_left[$name] : turn))
        seconds_left[$name]=$((seconds_left[$name] - seconds))
        if ! run "$name" "$seconds"; then
            echo "$name: FAULT after ${inputs[$name]} inputs; see build/fuzz/$name.log, and its input in build/fuzz/$name-*"
            failed+=("$name")
        elif [ "${seconds_left[$name]}" -gt 0 ]; then
            next+=("$name")
        else
            echo "$name: no fault in ${inputs[$name]} inputs"
        fi
    done
    running=("${next[@]}")
done

total=0
for name in "${names[@]}"; do total=$((total + inputs[$name])); done
echo "All together: $total inputs"
echo "$((${#names[@]} - ${#failed[@]})) passed, ${#failed[@]} failed"
[ ${#failed[@]} -eq 0 ]
