# Sums up what the programs of a `ctest -V` log say of themselves ("[  PASSED  ] 12 tests."). A program that ends badly
# without having counted a failure (a crash, a time-out) counts as one failed test. Prints "passed failed".
#
# With -v killed=1 it prints the programs that were killed from outside and had no failure to tell until then.

# "      Start 12: threadlib_tests": what an earlier run of it has said is over.
/^ +Start +[0-9]+: / {
    program = $2 + 0
    delete passed[program]
    delete failed[program]
    delete ended[program]
}

# "3: [  PASSED  ] 12 tests.": of several such lines of one program the last one counts, for child processes may print
# theirs before it.
/^[0-9]+: \[  (PASSED|FAILED)  \] [0-9]+ tests?[.,:]/ {
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
    # What is skipped is neither; ctest's list names it.
    if ($0 ~ /\*\*\*Skipped/) next
    text = $0
    sub(/^.*Test +#/, "", text)
    program = text + 0
    split(text, words, " ")
    name[program] = words[2]
    if ($0 ~ /Passed +[0-9.]+ sec/) {
        ended[program] = "well"
    } else if ($0 ~ /Subprocess killed/) {
        ended[program] = "killed"
    } else {
        ended[program] = "badly"
    }
}

END {
    for (program in ended) {
        if (killed && ended[program] == "killed" && !(program in failed)) print name[program]
        total_passed += passed[program]
        total_failed += failed[program]
        if (ended[program] != "well" && !failed[program]) total_failed += 1
    }
    if (!killed) print total_passed + 0, total_failed + 0
}
