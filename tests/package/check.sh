# Sourced by tests: check NAME COMMAND ... runs one, with $work/log for what it prints; check_done ends the program.
passed=0 failed=0

check() {
    local what=$1
    shift
    if ("$@") >"$work/log" 2>&1; then
        echo "[       OK ] $what"
        passed=$((passed + 1))
    else
        echo "[  FAILED  ] $what"
        tail -n 30 "$work/log"
        failed=$((failed + 1))
    fi
}

check_done() {
    [ $passed -eq 0 ] || echo "[  PASSED  ] $passed tests."
    [ $failed -eq 0 ] || { echo "[  FAILED  ] $failed tests." && exit 1; }
    exit 0
}
