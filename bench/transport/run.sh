#!/usr/bin/env bash
# Measures the library beside two plain sockets programs, all under Wine on one core together with Wine's server and
# the peer, in turn within one run. Prints the figures, their ratios and the target; only an error makes it fail.
# Usage: bench/transport/run.sh [speed [ROUNDS] | calls]      (the core is $WPK_BENCH_CORE, default the last one)
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
program=${1:-speed}
core=${WPK_BENCH_CORE:-$(($(nproc) - 1))}
build=$root/build/bench-windows
cd "$root"

cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" \
    -DWPK_BENCH=ON -DWPK_TESTS=OFF -DWPK_EXAMPLES=OFF >/dev/null
cmake --build "$build" --target transport_speed transport_calls -j2 >/dev/null
g++ -std=c++17 -O2 -Wall -Wextra -Werror -o "$build/bin/peer" bench/transport/peer.cpp

# From here on everything shares the core. Wine's server runs where its first client started it, so the prefix is one
# that nobody else uses.
taskset -cp "$core" $$ >/dev/null
export WPK_WINEPREFIX=$root/build/wine-bench
exec {port_pipe}< <(exec "$build/bin/peer")
peer=$!
trap 'kill "$peer" 2>/dev/null || true' EXIT
read -r -u "$port_pipe" port
cd "$build/bin"
"$root/scripts/wine.sh" "./transport_$program.exe" "$port" "${@:2}"
