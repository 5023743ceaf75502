#!/usr/bin/env bash
# Loads the library with everything going wrong that can, and accounts for every request. Ends with 0 when all adds up.
# Usage: scripts/soak.sh MINUTES|SECONDSs [--seed NUMBER] [--programs FOLDER]     (60 seconds at least)
#
# Builds the programs first, unless a folder with built ones is given. The report is soak.txt beside the programs.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

usage() {
    echo "usage: scripts/soak.sh MINUTES|SECONDSs [--seed NUMBER] [--programs FOLDER]    (60 seconds at least)" >&2
    exit 2
}

[[ ${1:-} =~ ^([0-9]{1,6})(s?)$ ]] || usage
seconds=$((10#${BASH_REMATCH[1]}))
[ -n "${BASH_REMATCH[2]}" ] || seconds=$((seconds * 60))
[ "$seconds" -ge 60 ] || usage
shift
options=(--seconds "$seconds")
programs=
while [ $# -gt 0 ]; do
    [ $# -ge 2 ] || usage
    case "$1" in
        --seed) [[ $2 =~ ^[0-9]+$ ]] || usage; options+=(--seed "$2") ;;
        --programs) programs=$2 ;;
        *) usage ;;
    esac
    shift 2
done

if [ -z "$programs" ]; then
    programs=$root/build/windows/bin
    mkdir -p "$root/build"
    cd "$root"
    { cmake --preset windows && cmake --build --preset windows --target soak; } >build/soak-build.log 2>&1 || {
        echo "The build has failed; all of its output is in build/soak-build.log." >&2
        exit 1
    }
fi
for program in soak.exe message_server.exe wpk.dll; do
    [ -f "$programs/$program" ] || { echo "There is no $program in $programs." >&2; exit 2; }
done
cd "$programs"
exec "$root/scripts/wine.sh" soak.exe "${options[@]}"
