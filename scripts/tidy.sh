#!/usr/bin/env bash
# Runs clang-tidy over the product's sources as the native build sees them. With --changed, over those alone that have
# changed since they last passed, themselves or a header that they include.
set -euo pipefail
cd "$(dirname "$0")/.."
passed=build/tidy
export passed

cmake --preset host >/dev/null
mkdir -p "$passed"

# Of all that clang-tidy looks at for one source.
fingerprint() {
    g++ -std=c++17 -MM -Isrc -Iinclude -isystem tests/fake_platform/include "$1" | tr -d '\\' | tr ' ' '\n' | sed '1d' |
        grep . | LC_ALL=C sort -u | xargs sha256sum .clang-tidy | sha256sum
}

check() {
    local print
    print=$(fingerprint "$1")
    clang-tidy -quiet -p build/host "$1" && echo "$print" >"$passed/${1//\//_}"
}

has_passed() { [ "$(cat "$passed/${1//\//_}" 2>/dev/null)" = "$(fingerprint "$1")" ]; }
export -f fingerprint check

find src -name '*.cpp' | LC_ALL=C sort | while read -r file; do
    [ "${1:-}" = --changed ] && has_passed "$file" || echo "$file"
done | xargs -r -P 2 -n 1 bash -c 'check "$0"'
