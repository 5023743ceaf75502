#!/usr/bin/env bash
# Makes the archives that a release consists of: build/package/wpk-VERSION-win64.zip, with everything that
# `cmake --install` lays out, the reference as HTML and the checksums of it all in SHA256SUMS, and
# wpk-VERSION-win64-debug.zip, with the DLL's debug symbols. The same sources give the same bytes.
# Usage: scripts/package.sh [BUILD_FOLDER]    (a configured `windows` build; default: one of its own is made)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# No member of the archive may depend on who made it.
umask 022
export TZ=UTC

give_up() {
    echo "package.sh: $1" >&2
    exit 1
}

if [ $# -gt 1 ] || [[ ${1:-} == -* ]]; then
    echo "usage: scripts/package.sh [BUILD_FOLDER]" >&2
    exit 2
fi
for tool in cmake ninja x86_64-w64-mingw32-g++-posix llvm-dlltool doxygen zip; do
    command -v "$tool" >/dev/null || give_up "$tool is missing; scripts/setup.sh installs it."
done

build=$(realpath -m "${1:-$root/build/package/tree}")
cd "$root"
log=build/package/package.log
mkdir -p build/package || give_up "the folder build/package cannot be written."
: >"$log"

logged() {
    "$@" >>"$log" 2>&1 && return
    tail -n 40 "$log" >&2
    give_up "'$*' has failed; all of its output is in $log."
}

cache_holds() { grep -qE "^$1:[A-Z]+=$2\$" "$build/CMakeCache.txt"; }

# An archive of another kind of build would work, or seem to.
refuse_other_builds() {
    [ -f "$build/CMakeCache.txt" ] ||
        give_up "$1 is not a build folder; run 'cmake --preset windows' first, or name none and one is made."
    grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$build/CMakeCache.txt" ||
        give_up "$1 builds other sources than those in $root."
    { cache_holds CMAKE_BUILD_TYPE Release && cache_holds CMAKE_TOOLCHAIN_FILE '.*/cmake/mingw-w64\.cmake' &&
        cache_holds WPK_EXAMPLES ON && cache_holds WPK_COVERAGE OFF && cache_holds WPK_SANITIZE ''; } ||
        give_up "$1 is not a build of the preset 'windows'; name such a one, or none and one is made."
}

if [ $# -eq 0 ]; then
    echo "Building in ${build#"$root/"}"
    logged cmake --preset windows -B "$build" -DWPK_TESTS=OFF
else
    refuse_other_builds "$1"
fi
logged cmake --build "$build" --target wpk wpk_msvc_import_library wpk_xml message_server wpk_send wpk_trace desktop c_send

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
name=wpk-$version-win64
contents=$(mktemp -d "$root/build/package/contents.XXXXXX")
trap 'rm -rf "$contents"' EXIT

# pack FOLDER ARCHIVE: FOLDER with the name of the release, as build/package/ARCHIVE. An archive remembers times, owners
# and the order of its members: all of them are pinned.
pack() {
    local archive=$root/build/package/$2
    find "$1/$name" -exec touch -d '1980-01-01 00:00:00' {} +
    rm -f "$archive"
    (cd "$1" && find "$name" -type f | LC_ALL=C sort | zip -q -X -D -9 "$archive" -@)
    (cd "${archive%/*}" && sha256sum "$2" | tee "$2.sha256")
}

release=$contents/release symbols=$contents/symbols
logged cmake --install "$build" --prefix "$release/$name"
logged scripts/reference.sh
cp -r build/reference/html "$release/$name/share/doc/wpk/reference"
(cd "$release/$name" && find . -type f ! -name SHA256SUMS -printf '%P\n' | LC_ALL=C sort | xargs -d '\n' sha256sum >SHA256SUMS)
pack "$release" "$name.zip"

# Unpacked in the same place, the symbols come to stand beside the DLL, where debuggers look for them.
logged cmake --install "$build" --prefix "$symbols/$name" --component debug_symbols
pack "$symbols" "$name-debug.zip"
