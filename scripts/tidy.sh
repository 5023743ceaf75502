#!/usr/bin/env bash
# Runs clang-tidy over the product's sources as the native build sees them.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake --preset host >/dev/null
git ls-files -z -- 'src/*.cpp' | xargs -0 -P 2 -n 4 clang-tidy -quiet -p build/host
