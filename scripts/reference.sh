#!/usr/bin/env bash
# Makes the API reference from the public headers: build/reference/html/index.html. Fails where a public name has no
# explanation.
set -euo pipefail
cd "$(dirname "$0")/.."
mkdir -p build
doxygen docs/Doxyfile
echo "The reference is in build/reference/html/index.html"
