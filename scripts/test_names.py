#!/usr/bin/env python3
"""Checks that names of tests are of one style: a suite stands in one file, so that a filter means one thing; names of
suites and tests are words in UpperCamelCase; files with tests are called *_test.cpp.

Usage: scripts/test_names.py [FOLDER]     (prints what is not so; the exit status is 0 when there is nothing)
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

TEST = re.compile(r"^[ \t]*(?:TYPED_)?TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\)", re.MULTILINE)
# One whose name is a macro's parameter.
IN_MACRO = re.compile(r"^[ \t]*TEST\(\s*(\w+),\s*name\)[^\n]*\\$", re.MULTILINE)
NAME = re.compile(r"(?:[A-Z][a-z0-9]*)+")


def tests_of(text):
    """The pairs of suite and name in a source; the name is empty for those that a macro makes."""
    return [(suite, "") for suite in IN_MACRO.findall(text)] + TEST.findall(IN_MACRO.sub("", text))


def complaints(files):
    file_of = {}
    for file, text in files:
        tests = tests_of(text)
        if tests and not file.name.endswith("_test.cpp"):
            yield f"{file} has tests, but is not called *_test.cpp"
        for suite, name in tests:
            for part in filter(None, (suite, name)):
                if not NAME.fullmatch(part):
                    yield f"{file}: {part} is not in UpperCamelCase"
        for suite in sorted({suite for suite, _ in tests}):
            if file_of.setdefault(suite, file) != file:
                yield f"{file}: the suite {suite} is in {file_of[suite]} as well"


def main():
    folder = pathlib.Path(sys.argv[1]).resolve() if len(sys.argv) > 1 else ROOT / "tests"
    sources = sorted(folder.rglob("*.cpp"))
    found = list(complaints((file.relative_to(folder), file.read_text(encoding="utf-8")) for file in sources))
    for line in found or ([] if sources else [f"There are no sources in {folder}."]):
        print(line)
    return 1 if found or not sources else 0


if __name__ == "__main__":
    sys.exit(main())
