#!/usr/bin/env bash
# refused.sh HEADER LINE COMPILER ARGUMENT...: a program that includes the header does not compile in that way, and is
# told why in one line. After it comes only the end of the compilation.
set -euo pipefail
header=$1 line=$2
shift 2

fail() {
    printf '%s\n%s\n[  FAILED  ] 1 test.\n' "$1" "$said"
    exit 1
}

if said=$("$@" -fsyntax-only -x c++ - 2>&1 <<<"#include <$header>"); then
    fail "It compiles."
fi
errors=$(grep 'error:' <<<"$said")
grep -qF "$line" <<<"${errors%%$'\n'*}" || fail "The first error is not \"$line\"."
[ "$(wc -l <<<"$errors")" -le 2 ] || fail "More errors follow."
echo "[  PASSED  ] 1 test."
