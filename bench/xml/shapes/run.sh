#!/usr/bin/env bash
# Measures documents of many shapes, once with the heap as the system has it and once told to keep its pages, then
# edited trees. Usage: bench/xml/shapes/run.sh [option of xml_shapes ...]      (--seed=N for documents of your own)
# With WPK_BASELINE=folder another checkout of this project is measured in the same run.
set -euo pipefail
root=$(cd "$(dirname "$0")/../../.." && pwd)
core=${WPK_BENCH_CORE:-$(($(nproc) - 1))}
cd "$root"

cmake --preset bench -DWPK_XML_BASELINE="${WPK_BASELINE:-}" >/dev/null
cmake --build --preset bench --target xml_shapes >/dev/null
echo "The heap told to keep its pages"
taskset -c "$core" build/bench/bin/xml_shapes --keep-pages "$@"
echo "The heap as the system has it"
taskset -c "$core" build/bench/bin/xml_shapes "$@"
echo "Edited trees, beside an edited one elsewhere"
taskset -c "$core" build/bench/bin/xml_shapes --keep-pages --edited "$@"
