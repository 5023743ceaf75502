#!/usr/bin/env bash
# Counts the instructions that each library takes for a document, which other work on the machine does not change.
# Usage: bench/xml/shapes/instructions.sh [DOCUMENT ...]      (names as xml_shapes prints them; five of 20 KB if none)
# With WPK_BASELINE=folder another checkout of this project is counted too.
set -euo pipefail
cd "$(dirname "$0")/../../.."
[ $# -gt 0 ] || set -- records_20KB attributes_20KB references_20KB nested_20KB flags_20KB

cmake --preset bench -DWPK_XML_BASELINE="${WPK_BASELINE:-}" >/dev/null
cmake --build build/bench --target xml_instructions >/dev/null
libraries=(wpk pugixml)
[ -z "${WPK_BASELINE:-}" ] || libraries=(wpk baseline pugixml)

# of LIBRARY WORK DOCUMENT TIMES
of() {
    valgrind --tool=callgrind --callgrind-out-file=/dev/null build/bench/bin/xml_instructions "$@" 2>&1 |
        awk '/Collected/ { print $4 }'
}

for document in "$@"; do
    for work in parse raw; do
        printf '%-20s %-6s' "$document" "$work"
        # What the beginning takes is in both counts.
        for library in "${libraries[@]}"; do
            printf ' %s %d' "$library" $((($(of "$library" "$work" "$document" 22) - $(of "$library" "$work" "$document" 2)) / 20))
        done
        echo
    done
done
