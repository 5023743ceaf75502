#!/usr/bin/env bash
# Lays out all C and C++ files as .clang-format says; with --check, only tells whether they are.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=(-i)
[ "${1:-}" != --check ] || mode=(--dry-run --Werror)
# A source archive has no list of files but its folders.
find . -path ./build -prune -o -type f \( -name '*.c' -o -name '*.h' -o -name '*.cpp' \) -print0 | xargs -0 -r clang-format "${mode[@]}"
