#!/usr/bin/env python3
"""extract.py PAGE FOLDER USER...: takes the code of a page apart, for the tests to compile it as it stands there.

Above every ```cpp block of the page stands "<!-- sample: NAME -->". Its code becomes FOLDER/NAME.inc, for a source file
to #include where it fits: a whole program, or statements inside of a test. A block (of any language) below
"<!-- output: NAME -->" becomes FOLDER/NAME.txt as it stands, and FOLDER/NAME.out as a C++ string literal; below
"<!-- file: NAME -->" it becomes FOLDER/NAME as it stands, for tests/package to use. Spaces in names become underscores.

Of a C header all code in its first comment, which is what is indented by four there, is the sample "program", and what
it prints stands in the sentence below.

It is an error when a block bears no mark, a mark has no block, or no USER (a source file) includes a sample.
"""
import pathlib
import re
import sys

FENCE = re.compile(r"^```(\w*)$")
MARK = re.compile(r"^<!-- (sample|output|file): ([\w. ]+) -->$")


def fail(page, number, message):
    sys.exit(f"{page}:{number}: {message}")


def blocks(page):
    """Yields kind, name, number of the first line, text."""
    lines = page.read_text(encoding="utf-8").split("\n")
    number = 0
    while number < len(lines):
        mark = MARK.match(lines[number])
        if mark:
            number += 1
        fence = FENCE.match(lines[number])
        if mark and not fence:
            fail(page, number, f"the mark {mark[2]} has no block below it")
        number += 1
        if not fence:
            continue
        end = number
        while end < len(lines) and lines[end] != "```":
            end += 1
        if end == len(lines):
            fail(page, number, "the block has no end")
        if mark:
            yield mark[1], mark[2].replace(" ", "_"), number + 1, "\n".join(lines[number:end])
        elif fence[1] == "cpp":
            fail(page, number, 'write "<!-- sample: NAME -->" above the block, and include it in a test')
        number = end + 1


def header_blocks(header):
    """The same for a header."""
    lines = header.read_text(encoding="utf-8").split("\n")
    comment = [line[3:] for line in lines[: lines.index(" */")]]
    code = [number for number, line in enumerate(comment) if line.startswith("    ")]
    text = [line[4:] for line in comment[code[0] : code[-1] + 1]]
    yield "sample", "program", code[0] + 1, "\n".join(text)
    yield "output", "program", code[-1] + 1, re.search(r'it prints "(.*)"', " ".join(comment))[1]


def write(path, text):
    """Leaves a file alone that has not changed: nothing is compiled again then."""
    data = text.encode("utf-8")
    if not path.exists() or path.read_bytes() != data:
        path.write_bytes(data)


def main():
    page, folder = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    users = "".join(pathlib.Path(user).read_text(encoding="utf-8") for user in sys.argv[3:])
    folder.mkdir(parents=True, exist_ok=True)
    seen = set()
    for kind, name, number, text in header_blocks(page) if page.suffix == ".h" else blocks(page):
        if (kind, name) in seen:
            fail(page, number, f"there are two of the name {name}")
        seen.add((kind, name))
        if kind == "file":
            write(folder / name, text + "\n")
            continue
        if kind == "output":
            write(folder / f"{name}.txt", text + "\n")
            write(folder / f"{name}.out", f'R"~({text})~"\n')
            continue
        if f'"{folder.name}/{name}.inc"' not in users:
            fail(page, number, f'no test says #include "{folder.name}/{name}.inc"')
        write(folder / f"{name}.inc", f'#line {number} "{page.as_posix()}"\n{text}\n')
    if not seen:
        fail(page, 1, "nothing is marked")


main()
