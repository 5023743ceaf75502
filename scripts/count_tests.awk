# Sums up what the programs of a `ctest -V` log say of themselves ("[  PASSED  ] 12 tests."). A program that ends badly
# without having counted a failure (a crash, a time-out) counts as one failed test. Prints "passed failed".

# "3: [  PASSED  ] 12 tests.": of several such lines of one program the last one counts, for child processes may print
# theirs before it.
/^[0-9]+: \[  (PASSED|FAILED)  \] [0-9]+ tests?[.,]/ {
    program = $1 + 0
    count = $5 + 0
    if ($0 ~ /PASSED/) {
        passed[program] = count
    } else {
        failed[program] = count
    }
}

# " 3/12 Test  #3: threadlib_tests ...***Failed    0.20 sec"
/^ *[0-9]+\/[0-9]+ Test +#[0-9]+: / {
    program = $0
    sub(/^.*Test +#/, "", program)
    program += 0
    # What is skipped is neither; ctest's list names it.
    if ($0 ~ /\*\*\*Skipped/) next
    ended[program] = ($0 ~ /Passed +[0-9.]+ sec/) ? "well" : "badly"
    # A program that passes when it is run once more has nothing failed any more.
    if (ended[program] == "well") failed[program] = 0
}

END {
    for (program in ended) {
        total_passed += passed[program]
        total_failed += failed[program]
        if (ended[program] == "badly" && failed[program] == 0) total_failed += 1
    }
    print total_passed + 0, total_failed + 0
}
