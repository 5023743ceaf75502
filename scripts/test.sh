#!/usr/bin/env bash
# From a bare Debian machine to all tests passed. The last line is "N passed, N failed".
#
# Builds for Windows and runs everything under Wine; then builds the same sources natively, over a fake platform,
# with AddressSanitizer and UndefinedBehaviorSanitizer (asan) and with ThreadSanitizer (tsan), and runs
# that; last, each fuzz target runs for a moment (fuzz). With some of these named, they alone: `scripts/test.sh windows`.
# While the programs under Wine run, which wait more than they work, the others are built, and clang-tidy looks at what of
# the product has changed since it last passed.
#
# `scripts/test.sh quick` is for the moments in between: the layout, the unit tests natively, and clang-tidy.
set -uo pipefail
cd "$(dirname "$0")/.."

known=(windows asan tsan fuzz host)
quick=
if [ "$*" = quick ]; then quick=yes; set -- host; fi
presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(windows asan tsan fuzz)
for preset in "${presets[@]}"; do
    if [[ " ${known[*]} " != *" $preset "* ]]; then
        echo "usage: scripts/test.sh [quick | ${known[*]}]    (without names: ${known[*]:0:4})" >&2
        exit 2
    fi
done

total_passed=0
total_failed=0

fail() {
    echo "$1"
    total_failed=$((total_failed + 1))
}

# What has begun, and after how many seconds.
announce() {
    echo "$1 (${SECONDS} s)"
}

count() {
    total_passed=$((total_passed + $1))
    total_failed=$((total_failed + $2))
}

# compile PRESET: the part of it that is tested here.
compile() {
    local target=()
    [ "$1" != fuzz ] || target=(--target fuzz_targets)
    [ -z "$quick" ] || target=(--target unit_tests)
    cmake --preset "$1" && cmake --build --preset "$1" "${target[@]}"
}

# Builds what is named, one after the other, and gives all other programs the way: those under Wine have little time for
# some answers. Prints the name of each when it is through; whoever needs it asks by its own build whether it is good.
compile_beside() {
    local preset
    for preset in "$@"; do
        nice -n 19 bash -c "$(declare -f compile); quick=; compile $preset" >"build/$preset-beside.log" 2>&1
        echo "$preset"
    done
    nice -n 19 scripts/tidy.sh --changed --product >/dev/null 2>&1
    echo tidy
}

# wait_for_build PRESET: until compile_beside is through with it, if that is at work.
wait_for_build() {
    local built
    [ -n "${beside:-}" ] || return 0
    while read -r -u "$beside" built; do
        [ "$built" != "$1" ] || return 0
    done
}

build() {
    local preset=$1 log=build/$1.log
    announce "Building: $preset"
    mkdir -p build
    wait_for_build "$preset"
    compile "$preset" >"$log" 2>&1 && return
    tail -n 40 "$log"
    fail "The build of $preset has failed; all of its output is in $log."
    return 1
}

# run_programs PRESET ARGUMENTS...: the test programs, all that they say going on at the end of the log.
run_programs() {
    local preset=$1
    shift
    # Under Wine most programs wait; of those that keep the machine busy, one runs at a time.
    local jobs=$(($(nproc) + 1))
    [ "$preset" != windows ] || jobs=$(($(nproc) + 2))
    [ -z "$quick" ] || set -- "$@" -L unit
    ctest --preset "$preset" -V -j "$jobs" "$@" >>"build/$preset-tests.log" 2>&1
}

# Wine gives a process one second for its end and kills it then, which is too short on a busy machine; and programs are
# killed when Wine's server has crashed under them. A program that was killed before it had a failure to tell is run once
# more, and said to be. One that has failed, or has not come to an end, has failed.
run_killed_again() {
    local log=build/windows-tests.log killed
    killed=$(awk -v killed=1 -f scripts/count_tests.awk "$log" | paste -s -d '|')
    [ -n "$killed" ] || return
    echo "  Killed by Wine, and run once more: ${killed//|/, }"
    run_programs windows -R "^($killed)$"
}

run_under_wine() {
    scripts/wine.sh --start
    scripts/wine.sh --end-orphans &
    run_programs windows
    run_killed_again
    scripts/wine.sh --stop
    wait $!
}

run() {
    local preset=$1 log=build/$1-tests.log passed failed
    announce "Testing: $preset"
    : >"$log"
    if [ "$preset" = windows ]; then
        run_under_wine
    else
        run_programs "$preset"
    fi
    read -r passed failed < <(awk -f scripts/count_tests.awk "$log")
    grep -aE '^ *[0-9]+/[0-9]+ Test +#' "$log" | sed 's/^ */  /'
    [ "$failed" -eq 0 ] || awk -f scripts/show_failures.awk "$log" | head -n 200
    [ "$passed" -gt 0 ] || fail "No test of $preset has run; see $log."
    count "$passed" "$failed"
}

fuzz() {
    local log=build/fuzz-tests.log passed failed
    announce "Building and running the fuzz targets"
    mkdir -p build
    wait_for_build fuzz
    scripts/fuzz.sh --seconds 5 2>&1 | tee "$log"
    read -r passed failed < <(sed -n '$s/ passed, \([0-9]*\) failed$/ \1/p' "$log")
    if [ -n "${failed:-}" ]; then
        count "$passed" "$failed"
    else
        fail "The fuzz targets have not run; see $log."
    fi
}

tidy() {
    announce "Running clang-tidy on what has changed"
    wait_for_build tidy
    if scripts/tidy.sh --changed --product >build/tidy.log 2>&1; then
        count 1 0
    else
        grep -aE ': (error|warning): ' build/tidy.log | sort -u | head -n 20
        fail "clang-tidy has something to say; all of it is in build/tidy.log."
    fi
}

echo "Installing what is missing"
scripts/setup.sh || fail "What the tests need is not all there; see above."
echo "Checking the layout of the sources"
scripts/format.sh --check || fail "Some files are not laid out as .clang-format says; scripts/format.sh does it."
scripts/layers.py || fail "Some files include a layer above their own, see above."
scripts/test_names.py || fail "Some tests are not named like the others, see above."
for preset in "${presets[@]}"; do
    if [ "$preset" = fuzz ]; then
        fuzz
        continue
    fi
    build "$preset" || continue
    # From here on the machine has time for the others.
    if [ "$preset" = windows ] && [ ${#presets[@]} -gt 1 ]; then
        exec {beside}< <(compile_beside "${presets[@]:1}")
    fi
    run "$preset"
done
if [ -n "$quick" ] || [ ${#presets[@]} -gt 1 ]; then tidy; fi

announce "All done"
echo "$total_passed passed, $total_failed failed"
[ "$total_failed" -eq 0 ]
