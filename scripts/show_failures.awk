# Prints what the failed programs of a `ctest -V` log say of their failures: each program's lines by themselves, though the
# log mixes those of all. Of a program that says nothing of that kind, its last lines.

# "      Start 12: threadlib_tests": what an earlier run of it has said is over.
/^ +Start +[0-9]+: / {
    program = $2 + 0
    delete failures[program]
    delete wanted[program]
    delete last[program]
}

# "12: tests/unit/threads_test.cpp:30: Failure"
/^[0-9]+: / {
    program = $1 + 0
    if (/: \[  FAILED  \] [A-Z]|: Failure|Error:|ERROR:|MISMATCH|Traceback/) wanted[program] = 12
    if (wanted[program]-- > 0) failures[program] = failures[program] $0 "\n"
    last[program] = last[program] $0 "\n"
    if (split(last[program], lines, "\n") > 21) sub(/^[^\n]*\n/, "", last[program])
}

# " 3/12 Test  #3: threadlib_tests ...***Failed    0.20 sec"
/^ *[0-9]+\/[0-9]+ Test +#[0-9]+: .*\*\*\*/ && !/\*\*\*Skipped/ {
    text = $0
    sub(/^.*Test +#/, "", text)
    program = text + 0
    print
    printf "%s", program in failures ? failures[program] : last[program]
}
