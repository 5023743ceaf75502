#!/usr/bin/env bash
# Runs a Windows program under Wine, in a prefix below build/ that is made on first use and belongs to this checkout.
# Usage: scripts/wine.sh PROGRAM [ARGUMENT ...] | --start | --stop | --end-orphans
#
# --start keeps a new server of Wine's and its services running until --stop: programs then start at once, and no program
# is the one that they were started by, whose output they would hold open. Programs of an earlier server end.
#
# --end-orphans waits until the server is gone and kills the programs that it has left behind: when it crashes, they wait
# for its answers for ever.
#
# WPK_WINEPREFIX names another prefix. WINEPREFIX does not: it may be one with a user's own programs, which --stop ends.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

give_up() {
    echo "wine.sh: $1" >&2
    exit 1
}

if [ $# -eq 0 ] || [ "$1" = --help ]; then
    echo "usage: scripts/wine.sh PROGRAM [ARGUMENT ...] | --start | --stop | --end-orphans" >&2
    exit 2
fi
command -v wine >/dev/null || give_up "Wine is missing; scripts/setup.sh demo installs it."

WINEPREFIX=$(realpath -m "${WPK_WINEPREFIX:-$root/build/wine}")
export WINEPREFIX
export WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"

# Wine can say that it has made a prefix when half of it is missing, on a full disk for one.
make_prefix() {
    local log=$WINEPREFIX.log kernel=drive_c/windows/system32/kernel32.dll
    if ! WINEDEBUG=err+all,fixme-all wine wineboot --init </dev/null >"$log" 2>&1 || [ ! -s "$WINEPREFIX/$kernel" ]; then
        tail -n 20 "$log" >&2
        give_up "Wine cannot set up $WINEPREFIX; its last words are above and in $log. Is the disk full? \
Mend what is wrong, remove the folder, and run this again."
    fi
    # The signs on the buttons of windows, for pictures of them.
    cp /usr/share/wine/fonts/marlett.ttf "$WINEPREFIX/drive_c/windows/Fonts/" 2>/dev/null || true
    touch "$WINEPREFIX/.ready"
}

end_orphans() {
    local process
    wineserver -w </dev/null >/dev/null 2>&1 || true
    for process in /proc/[0-9]*; do
        if grep -qzxF "WINEPREFIX=$WINEPREFIX" "$process/environ" 2>/dev/null; then kill -9 "${process#/proc/}" || true; fi
    done
}

if [ -d "$WINEPREFIX" ] && [ ! -O "$WINEPREFIX" ]; then
    give_up "$WINEPREFIX belongs to another user, and Wine refuses that. Remove it, or set WPK_WINEPREFIX to a folder \
of your own."
fi
if [ ! -f "$WINEPREFIX/.ready" ]; then
    mkdir -p "$(dirname "$WINEPREFIX")" || give_up "there is no place for Wine's prefix $WINEPREFIX; WPK_WINEPREFIX names another."
    # Several tests may start at once on a fresh checkout: the first one makes the prefix, the others wait for it. What
    # Wine leaves running must not hold the lock.
    (
        flock 9
        [ -f "$WINEPREFIX/.ready" ] || make_prefix 9>&-
    ) 9>"$WINEPREFIX.lock"
fi
case "$1" in
    --start)
        # A server that runs already, as one does that has just made the prefix, would end with the last of its programs.
        wineserver -k </dev/null >/dev/null 2>&1 || true
        wineserver -p </dev/null >/dev/null 2>&1 || give_up "another program has started Wine in $WINEPREFIX meanwhile."
        wine cmd /c exit </dev/null >/dev/null 2>&1 ||
            give_up "Wine does not start in $WINEPREFIX; WINEDEBUG=err+all wine cmd /c exit tells more."
        ;;
    --stop) wineserver -k </dev/null >/dev/null 2>&1 || true ;;
    --end-orphans) end_orphans ;;
    *) exec wine "$@" ;;
esac
