#!/usr/bin/env bash
# From a bare Debian machine to messages that travel: builds the library, a server and a client, starts the server under
# Wine and sends it messages with the client. Its last line says whether all went as expected.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ $# -gt 0 ]; then
    echo "usage: scripts/demo.sh" >&2
    exit 2
fi

build=build/windows
programs=$build/bin
work=$(mktemp -d)
server_pid=
trace_pid=
client_pid=

# Ends what this script has started, and nothing else, however it ends.
clean_up() {
    [ -z "$client_pid" ] || kill -KILL "$client_pid" 2>/dev/null || true
    [ -z "$trace_pid" ] || kill -KILL "$trace_pid" 2>/dev/null || true
    [ -z "$server_pid" ] || kill -KILL "$server_pid" 2>/dev/null || true
    rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 130' INT TERM

step() { echo; echo "== $1"; }

give_up() {
    echo
    echo "Not as expected: $1"
    exit 1
}

build() {
    local log=build/demo.log tests=()
    # The tests need more packages. Where they are built already, leaving them out would remove them.
    grep -qs '^WPK_TESTS:BOOL=ON$' "$build/CMakeCache.txt" || tests=(-DWPK_TESTS=OFF)
    mkdir -p build || give_up "the folder build/ cannot be written."
    { cmake --preset windows "${tests[@]}" && cmake --build --preset windows --target message_server wpk_send wpk_trace; } \
        >"$log" 2>&1 && return
    tail -n 40 "$log"
    give_up "the build has failed; all of its output is in $log. If $build was made elsewhere or broken off, remove it."
}

# wait_for_line DESCRIPTOR TEXT: the first line that holds the text, without its line end.
wait_for_line() {
    local line
    while IFS= read -r -t 120 -u "$1" line; do
        line=${line%$'\r'}
        if [[ $line == *"$2"* ]]; then
            echo "$line"
            return
        fi
    done
    return 1
}

start_server() {
    exec {server_output}< <(exec scripts/wine.sh "$programs/message_server.exe" --port 0 </dev/null 2>"$work/server.log")
    server_pid=$!
    local line
    if ! line=$(wait_for_line "$server_output" "listening on"); then
        cat "$work/server.log"
        give_up "the server has not started. (WINEDEBUG=err+all scripts/demo.sh tells more.)"
    fi
    echo "The server says: $line"
    port=${line##*:}
}

start_trace() {
    exec {trace_output}< <(exec scripts/wine.sh "$programs/wpk_trace.exe" --listen 0 --to "127.0.0.1:$port" \
        </dev/null 2>"$work/trace.log")
    trace_pid=$!
    local line
    echo "\$ wpk_trace --listen 0 --to 127.0.0.1:$port"
    if ! line=$(wait_for_line "$trace_output" "listening on"); then
        cat "$work/trace.log"
        give_up "wpk_trace has not started."
    fi
    echo "$line"
    line=${line%%,*}
    port=${line##*:}
}

# What wpk_trace says of the connection, up to its end.
show_trace() {
    local line
    while IFS= read -r -t 120 -u "$trace_output" line; do
        echo "${line%$'\r'}" | tee -a "$work/trace"
        [[ $line != *" over: "* ]] || return 0
    done
    give_up "wpk_trace has not shown the whole connection."
}

# Shows a call of the client as one would type it.
show_call() {
    local word call="\$ wpk_send --port $port"
    for word in "$@"; do
        [[ $word =~ ^[A-Za-z0-9_./-]+$ ]] || word="'$word'"
        call+=" $word"
    done
    echo "$call"
}

# On a busy machine, Wine's server kills a program that takes longer than a second to end, after it has done its work.
# at_most_twice COMMAND...: sets status to how the command ends, which is given once more after such an end.
at_most_twice() {
    status=0
    "$@" || status=$?
    [ "$status" -eq 137 ] || return 0
    echo "(Wine has killed the client, as it does when the machine is very busy. Once more.)"
    status=0
    "$@" || status=$?
}

run_client() {
    scripts/wine.sh "$programs/wpk_send.exe" --port "$port" "$@" </dev/null >"$work/reply" 2>"$work/said"
}

# send EXPECTED_STATUS ARGUMENTS...: one message; shows what the client writes, which $work/reply and $work/said keep.
# The client's streams lead to files, so that all is the same with and without a terminal.
send() {
    local expected=$1 status
    shift
    show_call "$@"
    at_most_twice run_client "$@"
    tr -d '\r' <"$work/said"
    if [ -s "$work/reply" ]; then
        cat "$work/reply"
        # A reply need not end with a line end; the screen looks better with one.
        [ -z "$(tail -c 1 "$work/reply")" ] || echo
    fi
    [ "$status" -eq "$expected" ] || give_up "the exit status is $status instead of $expected."
}

expect_reply() { [ "$(cat "$work/reply")" = "$1" ] || give_up "the reply is not \"$1\"."; }

expect_said() { grep -qF -- "$1" "$work/said" || give_up "the client has not said \"$1\"."; }

# Presses Ctrl-C as soon as the client says that its message is on its way.
interrupt_client() {
    exec {client_output}< <(exec scripts/wine.sh "$programs/wpk_send.exe" --port "$port" "$@" </dev/null 2>&1)
    client_pid=$!
    wait_for_line "$client_output" "Sent" || give_up "the client has not sent its message."
    echo "^C"
    kill -INT "$client_pid"
    wait_for_line "$client_output" "cancelled" || give_up "the client has not said that the request was cancelled."
    local ended=0
    wait "$client_pid" || ended=$?
    client_pid=
    return "$ended"
}

send_and_interrupt() {
    local status
    show_call "$@"
    at_most_twice interrupt_client "$@"
    [ "$status" -eq 14 ] || give_up "the exit status is $status instead of 14."
}

step "Installing what is missing"
scripts/setup.sh demo || give_up "what is missing could not be installed."

step "Building the library, the message server and its client for Windows ($build)"
build

step "Starting the message server under Wine (the first start takes half a minute)"
start_server

step "Sending a message to the service Echo, which replies with the same"
send 0 Echo "hello, server"
expect_reply "hello, server"

step "Asking the service Generate for a reply of 64 MiB, with progress"
send 0 --progress --output "$work/large" Generate 67108864
expect_said "100 % (64.0 MiB of 64.0 MiB)"
[ "$(stat -c %s "$work/large")" -eq 67108864 ] || give_up "the reply has another length."
echo "The reply is in a file of $(stat -c %s "$work/large") bytes."

step "Sending an XML message to the service Lookup, and taking a field out of its XML reply"
send 0 Lookup "<request><name>iron</name></request>"
send 0 --field symbol Lookup "<request><name>iron</name></request>"
expect_reply "Fe"

step "Sending a message to a service that the server does not have"
send 16 Nonsense "anybody there?"
expect_said "no service of that name"

step "Sending a message to the service Sleep, and pressing Ctrl-C while it sleeps"
send_and_interrupt --verbose Sleep 60000

step "Looking at the wire: a message goes through wpk_trace, which says in words what passes"
start_trace
send 0 Echo "hello, server"
show_trace
grep -qF "WPK_ServiceData, 13 bytes: hello, server" "$work/trace" || give_up "wpk_trace has not shown the message."

echo
echo "All went as expected."
