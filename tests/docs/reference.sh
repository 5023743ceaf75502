#!/usr/bin/env bash
# Makes the API reference; any warning is a failure.
if "$(dirname "$0")/../../scripts/reference.sh"; then
    echo "[  PASSED  ] 1 test."
else
    echo "[  FAILED  ] 1 test."
    exit 1
fi
