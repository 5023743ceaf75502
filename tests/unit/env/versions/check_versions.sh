#!/usr/bin/env bash
# Runs print_system_information as a program of several Windows versions, which Wine plays for one program by its name,
# and compares what it prints with the registry as another program reads it.
# Usage: check_versions.sh PROGRAM.exe
set -euo pipefail
program=$1
wine=$(cd "$(dirname "$0")/../../../.." && pwd)/scripts/wine.sh
setting="HKCU\\Software\\Wine\\AppDefaults\\$(basename "$program")"
trap '"$wine" reg delete "$setting" /f >/dev/null 2>&1 || true' EXIT

failures=0
fail() {
    echo "FAILED: $*"
    failures=$((failures + 1))
}

# run VERSION: what the program prints there, in $printed
run() {
    "$wine" reg add "$setting" /v Version /d "$1" /f >/dev/null 2>&1 </dev/null
    printed=$("$wine" "$program" 2>/dev/null </dev/null | tr -d '\r')
}
field() { sed -n "s/^$1=//p" <<<"$printed"; }
# expect VERSION FIELD TEXT
expect() {
    local actual
    actual=$(field "$2")
    [ "$actual" = "$3" ] || fail "$1: $2 is '$actual', not '$3'"
}
# registry KEY VALUE: its text, as the system's own tool shows it
registry() { "$wine" reg query "$1" /v "$2" 2>/dev/null </dev/null | tr -d '\r' | sed -n 's/^ *'"$2"' *REG_[A-Z_]* *//p'; }

texts=(tempDirectory windowsDirectory systemDirectory programFilesDirectory userName desktop appData startMenu programs
       startup defaultDesktop defaultPrograms commonDesktop commonStartMenu commonStartup commonPrograms)

# Versions whose folders are not gathered.
while read -r version os; do
    run "$version"
    expect "$version" osVersion "$os"
    expect "$version" isNT 0
    expect "$version" refresh 0
    for name in "${texts[@]}"; do expect "$version" "$name" ""; done
    echo "$version: checked"
done <<'END'
win95 1
win98 1
vista 0
win7 0
win10 0
END

# Versions whose folders are gathered, and where they stand.
current='Software\Microsoft\Windows\CurrentVersion'
shell="$current\\Explorer\\Shell Folders"
places=(
    "programFilesDirectory|HKLM\\$current|ProgramFilesDir"
    "desktop|HKCU\\$shell|Desktop"
    "appData|HKCU\\$shell|AppData"
    "startMenu|HKCU\\$shell|Start Menu"
    "programs|HKCU\\$shell|Programs"
    "startup|HKCU\\$shell|Startup"
    "defaultDesktop|HKU\\.DEFAULT\\$shell|Desktop"
    "defaultPrograms|HKU\\.DEFAULT\\$shell|Programs"
    "commonDesktop|HKLM\\$shell|Common Desktop"
    "commonStartMenu|HKLM\\$shell|Common Start Menu"
    "commonStartup|HKLM\\$shell|Common Startup"
    "commonPrograms|HKLM\\$shell|Common Programs"
)
declare -A expected
for place in "${places[@]}"; do
    IFS='|' read -r name key value <<<"$place"
    expected[$name]=$(registry "$key" "$value")
done
[ -n "${expected[programFilesDirectory]}" ] || fail "the registry shows no ProgramFilesDir"

while read -r version os; do
    run "$version"
    expect "$version" osVersion "$os"
    expect "$version" isNT 1
    expect "$version" refresh 1
    for name in "${!expected[@]}"; do expect "$version" "$name" "${expected[$name]}"; done
    [[ $(field tempDirectory) == ?:\\*\\ ]] || fail "$version: tempDirectory is '$(field tempDirectory)'"
    [[ $(field systemDirectory) == "$(field windowsDirectory)"\\* ]] || fail "$version: systemDirectory"
    [[ -n $(field userName) ]] || fail "$version: userName is empty"
    echo "$version: checked"
done <<'END'
nt351 16
nt40 32
win2k 64
winxp64 64
END

[ "$failures" -eq 0 ] || exit 1
echo "every version behaves"
