# Running a file of tests, with output as GoogleTest's, so that results are counted with the others.
# SPDX-License-Identifier: MIT
import signal
import sys
import time
import traceback


def end_in_order():
    """Ended from outside, the run still leaves its blocks from now on, so that what they have started ends with it."""
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))


def check(condition, text):
    if not condition:
        raise AssertionError(text)


def check_equal(got, expected):
    check(got == expected, f"got {_shown(got)}, expected {_shown(expected)}")


def _shown(value):
    """Some values are megabytes long."""
    text = repr(value)
    return text if len(text) <= 1000 else f"{text[:500]} ... {text[-500:]}"


def wanted_tests(names, wanted):
    """The functions called test_... among the names: all of them, or the wanted ones."""
    tests = [(name[5:], test) for name, test in names.items() if name.startswith("test_")]
    return [(name, test) for name, test in tests if not wanted or name in wanted]


def run_tests(suite, tests):
    """Returns the exit status."""
    failed = []
    for name, test in tests:
        print(f"[ RUN      ] {suite}.{name}", flush=True)
        started = time.monotonic()
        try:
            test()
        except Exception:  # Whatever it is, it is this test's failure, and the others still run.
            traceback.print_exc(file=sys.stdout)
            failed.append(name)
        verdict = "[  FAILED  ]" if name in failed else "[       OK ]"
        print(f"{verdict} {suite}.{name} ({(time.monotonic() - started) * 1000:.0f} ms)", flush=True)
    print(f"[==========] {len(tests)} tests ran.")
    print(f"[  PASSED  ] {len(tests) - len(failed)} tests.")
    if failed:
        print(f"[  FAILED  ] {len(failed)} tests, named above.")
    return 1 if failed else 0
