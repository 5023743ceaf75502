#!/usr/bin/env bash
# Measures documents of many shapes, once with the heap as the system has it and once told to keep its pages, then
# edited trees; with --wine first, the same built for Windows and run under Wine, where pugixml, which Debian does not
# build for Windows, takes no part.
# Usage: bench/xml/shapes/run.sh [--wine] [option of xml_shapes ...]      (--seed=N for documents of your own)
# With WPK_BASELINE=folder another checkout of this project is measured in the same run.
set -euo pipefail
root=$(cd "$(dirname "$0")/../../.." && pwd)
core=${WPK_BENCH_CORE:-$(($(nproc) - 1))}
cd "$root"

if [ "${1:-}" = --wine ]; then
    shift
    build=build/bench-windows
    cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" \
        -DWPK_BENCH=ON -DWPK_TESTS=OFF -DWPK_EXAMPLES=OFF -DWPK_XML_BASELINE="${WPK_BASELINE:-}" >/dev/null
    measure=(scripts/wine.sh "$build/bin/xml_shapes.exe")
else
    build=build/bench
    cmake --preset bench -DWPK_XML_BASELINE="${WPK_BASELINE:-}" >/dev/null
    measure=("$build/bin/xml_shapes")
fi
cmake --build "$build" --target xml_shapes >/dev/null
measure=(taskset -c "$core" "${measure[@]}")
echo "The heap told to keep its pages, where it can be told"
"${measure[@]}" --keep-pages "$@"
echo "The heap as the system has it"
"${measure[@]}" "$@"
echo "Edited trees, beside an edited one elsewhere"
"${measure[@]}" --keep-pages --edited "$@"
