#!/usr/bin/env bash
# Starts real servers and proxies and the sample message server on loopback ports, runs a test program with the ports in
# its environment, and stops everything again.
# Usage: run.sh WINE_SCRIPT TEST_PROGRAM MESSAGE_SERVER
set -euo pipefail
wine=$1 program=$2 server=$3

work=$(mktemp -d)
# Squid gives up root's rights and must still reach its files, and write its logs.
chmod 755 "$work"
touch "$work/squid_access.log" "$work/squid_cache.log"
chmod 666 "$work"/squid_*.log
started=()
logs_shown=40
stop() {
    for pid in "${started[@]}"; do kill "$pid" 2>/dev/null || true; done
    for pid in "${started[@]}"; do wait "$pid" 2>/dev/null || true; done
    rm -rf "$work"
}
trap stop EXIT

tell_what_they_said() {
    echo "$1; the last $logs_shown lines that each of them said:" >&2
    tail -n "$logs_shown" "$work"/*.log >&2
}

give_up() {
    tell_what_they_said "$1"
    exit 1
}

# start NAME COMMAND...: what it says goes to NAME_output.log.
start() {
    "${@:2}" >>"$work/$1_output.log" 2>&1 &
    started+=($!)
}

expect_all_to_run() {
    for pid in "${started[@]}"; do
        kill -0 "$pid" 2>/dev/null || give_up "A server or proxy has ended by itself (process $pid)"
    done
}

await() {
    for _ in $(seq 300); do
        if (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; then return; fi
        expect_all_to_run
        sleep 0.1
    done
    give_up "Nobody listens on port $1"
}

# All held at once, so that no two are the same, and let go before anybody uses them; below those that the system gives
# to connections, or one of these might take one meanwhile. "backend" is for a peer in the test program itself.
names=(backend server tinyproxy tinyproxy_password squid nginx nginx_front nginx_server nginx_unbuffered nginx_own_name
       nginx_strict haproxy haproxy_server haproxy_strict)
read -ra numbers < <(python3 -c '
import random, socket, sys
held = {}
while len(held) < len(sys.argv) - 1:
    port = random.randrange(10000, 32768)
    try:
        held[port] = held.get(port) or socket.create_server(("127.0.0.1", port))
    except OSError:
        pass
print(*held)' "${names[@]}")
declare -A port
for i in "${!names[@]}"; do
    port[${names[$i]}]=${numbers[$i]}
    export "WPK_TEST_${names[$i]^^}_PORT=${numbers[$i]}"
done

. "$(dirname "$0")/settings.sh"
tinyproxy_settings "${port[tinyproxy]}" >"$work/tinyproxy.conf"
{ tinyproxy_settings "${port[tinyproxy_password]}"; echo "BasicAuth user pass"; } >"$work/tinyproxy_password.conf"
squid_settings "${port[squid]}" >"$work/squid.conf"
python3 -W ignore -c 'import crypt; print("user:" + crypt.crypt("pass", "$1$wpktests$"))' >"$work/passwords"
nginx_settings >"$work/nginx.conf"
haproxy_settings >"$work/haproxy.cfg"

# A machine under full load may be slow, but must not seem dead to the server.
start server "$wine" "$server" --port "${port[server]}" --timeout 600 --log
start tinyproxy tinyproxy -d -c "$work/tinyproxy.conf"
start tinyproxy_password tinyproxy -d -c "$work/tinyproxy_password.conf"
start squid squid -N -f "$work/squid.conf"
start nginx nginx -c "$work/nginx.conf" -e "$work/nginx.log"
start haproxy haproxy -db -f "$work/haproxy.cfg"
for name in "${names[@]}"; do
    [ "$name" = backend ] || await "${port[$name]}"
done

status=0
"$wine" "$program" || status=$?
[ "$status" -eq 0 ] || tell_what_they_said "The tests have failed (status $status)"
exit "$status"
