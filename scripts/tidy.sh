#!/usr/bin/env bash
# Runs clang-tidy over the product's sources, and its rules for names over the tests, as the native build sees them. With
# --changed, over those alone that have changed since they last passed, themselves or a header that they include; with
# --product, without the tests.
# Usage: scripts/tidy.sh [--changed] [--product]
set -euo pipefail
cd "$(dirname "$0")/.."
passed=build/tidy
export passed

cmake --preset host >/dev/null
mkdir -p "$passed"
# Each source once, although several programs may be built from it. Headers that another compiler has translated
# beforehand are of no use.
python3 - build/host/compile_commands.json "$passed/compile_commands.json" <<'END'
import json, re, sys
with open(sys.argv[1]) as built:
    commands = {entry["file"]: entry for entry in reversed(json.load(built))}
for entry in commands.values():
    entry["command"] = re.sub(r" -Winvalid-pch -include \S*cmake_pch\.hxx", "", entry["command"])
with open(sys.argv[2], "w") as once:
    json.dump(list(commands.values()), once, indent=0)
END

# Of all that clang-tidy looks at for one source.
fingerprint() {
    local test=/usr/src/googletest
    g++ -std=c++17 -MM -Isrc -Iinclude -Itests -Iexamples -Ibuild/host/page_samples -isystem tests/fake_platform/include \
        -isystem $test/googletest/include -isystem $test/googlemock/include "$1" | tr -d '\\' | tr ' ' '\n' | sed '1d' |
        grep . | LC_ALL=C sort -u | xargs sha256sum .clang-tidy tests/.clang-tidy | sha256sum
}

check() {
    local print
    print=$(fingerprint "$1")
    clang-tidy -quiet -p "$passed" "$1" && echo "$print" >"$passed/${1//\//_}"
}

has_passed() { [ "$(cat "$passed/${1//\//_}" 2>/dev/null)" = "$(fingerprint "$1")" ]; }
export -f fingerprint check

asked_for() { [[ " $arguments " == *" $1 "* ]]; }
arguments=$*

sources() {
    find src -name '*.cpp' | LC_ALL=C sort
    if asked_for --product; then return; fi
    # The tests that are not compiled here are for Windows alone.
    find tests -name '*.cpp' | LC_ALL=C sort | while read -r file; do
        if grep -qF "/$file\"" "$passed/compile_commands.json"; then echo "$file"; fi
    done
}

sources | while read -r file; do
    asked_for --changed && has_passed "$file" || echo "$file"
done | xargs -r -P 2 -n 1 bash -c 'check "$0"'
