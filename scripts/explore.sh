#!/usr/bin/env bash
# Runs the scenarios of tests/native/explore/ with their threads in ever other orders. Ends with 0 when nothing fails.
# Usage: scripts/explore.sh MINUTES [--seed NUMBER] [SCENARIO]     (those whose names contain the text)
#        scripts/explore.sh --schedule "41:1 60:2" SCENARIO        (one schedule again)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
mkdir -p build
{ cmake --preset host && cmake --build --preset host --target explore; } >build/explore-build.log 2>&1 || {
    echo "The build has failed; all of its output is in build/explore-build.log." >&2
    exit 1
}
exec build/host/bin/explore "$@"
