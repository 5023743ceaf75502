#!/usr/bin/env bash
# run.sh WINE SERVER PROGRAM EXPECTED [ARGUMENT ...]: runs a program against the sample server and compares what it prints
# with the file EXPECTED. The server's port takes the place of the argument PORT; the programs of the pages have no other.
set -euo pipefail
wine=$1 server=$2 program=$3 expected=$4
arguments=("${@:5}")
[ ${#arguments[@]} -gt 0 ] || arguments=(PORT)

exec {said}< <(exec "$wine" "$server" --port 0 </dev/null 2>/dev/null)
server_pid=$!
trap 'kill -KILL "$server_pid" 2>/dev/null || true' EXIT

port=
while IFS= read -r -t 60 -u "$said" line; do
    line=${line%$'\r'}
    [[ $line == *"listening on"* ]] && port=${line##*:} && break
done

printed=$("$wine" "$program" "${arguments[@]/#PORT/$port}" </dev/null 2>/dev/null | tr -d '\r')
if [ "$printed" = "$(cat "$expected")" ]; then
    echo "[  PASSED  ] 1 test."
else
    echo "Printed \"$printed\" instead of \"$(cat "$expected")\"."
    echo "[  FAILED  ] 1 test."
    exit 1
fi
