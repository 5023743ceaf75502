#!/usr/bin/env bash
# headers.sh INCLUDE_FOLDER: each header compiles by itself, with each compiler and all warnings as errors; with a
# standard that is too old it says what it needs.
set -u
include=$1
passed=0
failed=0

check() { # NAME COMMAND...
    local name=$1 && shift
    if "$@"; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1)) && echo "[  FAILED  ] XmlHelpersHeaders.$name"
    fi
}

compile() { # COMPILER STANDARD HEADER
    echo "#include <wpk/$3>" |
        "$1" -std="$2" -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -fsyntax-only -I"$include" -x c++ -
}

says_what_it_needs() { # COMPILER
    [[ $(compile "$1" c++14 xml_helpers.h 2>&1) == *"wpk/xml_helpers.h needs C++17"* ]]
}

for compiler in g++ clang++; do
    if ! command -v "$compiler" >/dev/null; then
        echo "$compiler is not installed and is left out"
        continue
    fi
    for header in "$include"/wpk/xml_helpers.h "$include"/wpk/xml_helpers/*.h; do
        header=${header#"$include"/wpk/}
        check "${header}_with_$compiler" compile "$compiler" c++17 "$header"
    done
    check "whole_as_cpp20_with_$compiler" compile "$compiler" c++20 xml_helpers.h
    check "as_cpp14_with_$compiler" says_what_it_needs "$compiler"
done
echo "[==========] $((passed + failed)) tests ran."
echo "[  PASSED  ] $passed tests."
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
