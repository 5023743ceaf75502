#!/usr/bin/env bash
# Plants faults in the sources, one at a time, and lets the native tests look for each: a condition turned, a constant
# shifted, a statement or lock taken out, two statements swapped, an operator changed. Prints the score, and the faults
# that got past. Ends with 0 when none did.
# Usage: scripts/mutate.sh [N] [FOLDER] [--seed NUMBER] [--again] [--preset host|asan|tsan] [--workers 1|2]
#
# Without a seed (or WPK_MUTATE_SEED) there are others each time; a run that was broken off goes on with its seed, with a
# larger N as well. --again tries only those that got past before. Faults that change nothing are listed, with the
# reason, in tests/mutation/equivalent.txt. The sources themselves are left alone: copies in build/mutation are changed.
set -euo pipefail
cd "$(dirname "$0")/.."
exec python3 -B tests/mutation/mutate.py "$@"
