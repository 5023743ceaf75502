#!/usr/bin/env python3
"""Checks that every file of the product includes only its own layer and lower ones.

Usage: scripts/layers.py     (prints each include that points upward; the exit status is 0 when there is none)
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# What the files below a folder may include, beside the folder itself and the standard library.
ALLOWED = {
    "include/wpk/xml": [],
    "include/wpk/xml_helpers": ["wpk/xml", "wpk/xml.h"],
    "include/wpk/client": ["wpk/wpk.h", "wpk/error_text.h"],
    "src/threadlib": [],
    "src/transport": ["threadlib", "wpk/wpk.h"],
    "src/service": ["threadlib", "transport", "wpk/wpk.h"],
    "src/env": ["threadlib", "transport", "service", "wpk/wpk.h"],
    "src/library": ["threadlib", "transport", "service", "env", "wpk/wpk.h"],
    "src/xml": ["wpk/xml", "wpk/xml.h"],
}
INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"\s]+)"|<(wpk/[^>\s]+)>)', re.MULTILINE)


def name_of(folder):
    """The folder as an include names it."""
    return folder.split("/", 1)[1]


def is_within(included, place):
    return included == place or included.startswith(place + "/")


def upward_includes(folder, allowed):
    for file in sorted((ROOT / folder).rglob("*")):
        if file.suffix not in (".h", ".cpp"):
            continue
        for match in INCLUDE.finditer(file.read_text(encoding="utf-8")):
            included = match[1] or match[2]
            if not any(is_within(included, place) for place in [name_of(folder), *allowed]):
                yield f"{file.relative_to(ROOT)} includes {included}"


def main():
    missing = [folder for folder in ALLOWED if not (ROOT / folder).is_dir()]
    found = [line for folder, allowed in ALLOWED.items() for line in upward_includes(folder, allowed)]
    for line in [f"There is no folder {folder}." for folder in missing] + found:
        print(line)
    return 1 if missing or found else 0


if __name__ == "__main__":
    sys.exit(main())
