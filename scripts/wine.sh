#!/usr/bin/env bash
# Runs a Windows program under Wine, in a prefix below build/ that is made on first use and belongs to this checkout.
#
# --start keeps Wine's server and services running until --stop: programs then start at once, and no program is the one
# that they were started by, whose output they would hold open.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX="${WINEPREFIX:-$root/build/wine}"
export WINEDEBUG="${WINEDEBUG:--all}"
export WINEDLLOVERRIDES="${WINEDLLOVERRIDES:-mscoree,mshtml=}"

if [ ! -f "$WINEPREFIX/.ready" ]; then
    mkdir -p "$(dirname "$WINEPREFIX")"
    # Several tests may start at once on a fresh checkout: the first one makes the prefix, the others wait for it.
    (
        flock 9
        if [ ! -f "$WINEPREFIX/.ready" ]; then
            wine wineboot --init >/dev/null 2>&1
            # The signs on the buttons of windows, for pictures of them.
            cp /usr/share/wine/fonts/marlett.ttf "$WINEPREFIX/drive_c/windows/Fonts/" 2>/dev/null || true
            touch "$WINEPREFIX/.ready"
        fi
    ) 9>"$WINEPREFIX.lock"
fi
case "$1" in
    --start)
        wineserver -p </dev/null >/dev/null 2>&1 || true
        wine cmd /c exit </dev/null >/dev/null 2>&1
        ;;
    --stop) wineserver -k </dev/null >/dev/null 2>&1 || true ;;
    *) exec wine "$@" ;;
esac
