#!/usr/bin/env bash
# Makes the archive that a release consists of: build/package/wpk-VERSION-win64.zip, with everything that
# `cmake --install` lays out and the checksums of it in SHA256SUMS. The same sources give the same bytes.
# Usage: scripts/package.sh [BUILD_FOLDER]    (a configured `windows` build; default: one of its own is made)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(realpath -m "${1:-$root/build/package/tree}")
cd "$root"

if [ $# -eq 0 ]; then
    echo "Building in ${build#"$root/"}"
    cmake --preset windows -B "$build" -DWPK_TESTS=OFF -DWPK_EXAMPLES=OFF >/dev/null
elif [ ! -f "$build/CMakeCache.txt" ]; then
    echo "package.sh: $1 is not a build folder; run 'cmake --preset windows' first, or leave it out." >&2
    exit 2
fi
cmake --build "$build" --target wpk wpk_xml >/dev/null

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
name=wpk-$version-win64
output=$(dirname "$build")/$(basename "$build").zip.d
rm -rf "$output"
cmake --install "$build" --prefix "$output/$name" >/dev/null
(cd "$output/$name" && find . -type f ! -name SHA256SUMS -printf '%P\n' | LC_ALL=C sort | xargs -d '\n' sha256sum >SHA256SUMS)

# An archive remembers times, owners and the order of its members: all of them are pinned.
export TZ=UTC
find "$output/$name" -exec touch -d '1980-01-01 00:00:00' {} +
archive=$root/build/package/$name.zip
mkdir -p "${archive%/*}"
rm -f "$archive"
(cd "$output" && find "$name" -type f | LC_ALL=C sort | zip -q -X -D -9 "$archive" -@)
rm -rf "$output"
(cd "${archive%/*}" && sha256sum "$name.zip" | tee "$name.zip.sha256")
