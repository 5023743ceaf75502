#!/usr/bin/env bash
# Installs the Debian packages that building, testing and measuring need; says and does nothing when all are there.
# Usage: scripts/setup.sh [demo]     (demo: only what the library and the examples are built and run with)
set -euo pipefail
cd "$(dirname "$0")/.."

give_up() {
    echo "setup.sh: $1" >&2
    exit 1
}

packages=(cmake ninja-build g++-mingw-w64-x86-64-posix wine wine64 libcli11-dev)
# Their packages would start them, now and with every start of the machine. The tests start their own.
servers=(squid nginx haproxy)
everything=(
    git g++ fonts-wine xvfb googletest libbenchmark-dev
    clang libclang-rt-14-dev clang-format clang-tidy gcovr python3 valgrind
    libpugixml-dev librapidxml-dev libtinyxml2-dev libxml2-dev libexpat1-dev iso-codes shared-mime-info xkb-data
    tinyproxy-bin "${servers[@]}" util-linux
    llvm lld g++-mingw-w64-x86-64-win32 pkg-config mono-mcs mono-runtime zip unzip doxygen
)
case "$#,${1:-}" in
    0,) packages+=("${everything[@]}") ;;
    1,demo) ;;
    *)
        echo "usage: scripts/setup.sh [demo]" >&2
        exit 2
        ;;
esac

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    give_up "this needs Debian 12 (or a relative with apt). Elsewhere, install what these packages hold by hand: ${packages[*]}"
fi

missing=()
for package in "${packages[@]}"; do
    # Reads to the end: an early end of grep would be dpkg-query's failure.
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep 'ok installed' >/dev/null || missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ]; then
    exit 0
fi

by_hand="apt-get update && apt-get install --no-install-recommends ${missing[*]}"
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null ||
        give_up "Debian packages are missing, and there is no sudo. Run as root: $by_hand"
    as_root=(sudo)
fi

log=build/setup.log
{ mkdir -p build && : >"$log"; } 2>/dev/null || log=$(mktemp --suffix=-setup.log)

# sudo does not hand variables on; env behind it sets this one.
apt() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get "$@" </dev/null >>"$log" 2>&1
}

# While this file is there, installing a server does not start it. One that is there already is somebody's own.
policy=/usr/sbin/policy-rc.d
policy_is_ours=
allow_starts() {
    [ -z "$policy_is_ours" ] || "${as_root[@]}" rm -f "$policy"
    policy_is_ours=
}
refuse_starts() {
    [ ! -e "$policy" ] || return 0
    trap allow_starts EXIT
    trap 'exit 130' INT TERM
    policy_is_ours=yes
    printf '#!/bin/sh\nexit 101\n' | "${as_root[@]}" tee "$policy" >/dev/null
    "${as_root[@]}" chmod 755 "$policy"
}

new_servers=()
for server in "${servers[@]}"; do
    if [[ " ${missing[*]} " == *" $server "* ]]; then new_servers+=("$server"); fi
done

echo "Installing Debian packages: ${missing[*]}"
# Without the option, lists that could not be fetched are a success.
lists=
apt update -o APT::Update::Error-Mode=any || lists=" The package lists could not be fetched: is there a network?"
[ ${#new_servers[@]} -eq 0 ] || refuse_starts
if ! apt install -y --no-install-recommends "${missing[@]}"; then
    tail -n 20 "$log" >&2
    system=$(sed -n 's/^PRETTY_NAME="\(.*\)"/\1/p' /etc/os-release 2>/dev/null || true)
    give_up "apt-get has failed, see above and $log.$lists The packages are those of Debian 12; this is \
${system:-an unknown system}. This command as root does the same by hand: $by_hand"
fi
if [ ${#new_servers[@]} -gt 0 ] && command -v systemctl >/dev/null; then
    "${as_root[@]}" systemctl disable "${new_servers[@]}" >>"$log" 2>&1 ||
        echo "setup.sh: ${new_servers[*]} may start with the machine; 'systemctl disable ${new_servers[*]}' as root prevents it." >&2
fi
