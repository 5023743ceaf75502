#!/usr/bin/env bash
# Lays out all C and C++ files as .clang-format says; with --check, only tells whether they are.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=(-i)
[ "${1:-}" != --check ] || mode=(--dry-run --Werror)
git ls-files -z -- '*.c' '*.h' '*.cpp' | xargs -0 -r clang-format "${mode[@]}"
