#!/usr/bin/env python3
# Prints a page as the reference's generator wants it: headings with ids, links that lead to those ids.
# Usage: scripts/reference_page.py PAGE.md     (called by doxygen, see docs/Doxyfile)
# SPDX-License-Identifier: MIT
import pathlib
import re
import sys


def page_id(page):
    """Pages called README are told apart by their folders."""
    if page.stem != "README":
        return page.stem.lower()
    return page.resolve().parent.name if (page.resolve().parent / "../docs").is_dir() else "readme"


def heading_id(page, heading):
    """As the forges that show the pages make it, after the page's own: ids are the same everywhere in the reference."""
    words = re.sub(r"[^\w\- ]", "", heading.strip().lower())
    return f"{page_id(page)}-{words.replace(' ', '-')}"


def linked(page, target):
    """What stands between the parentheses of a link."""
    name, _, anchor = target.partition("#")
    if name and not name.endswith(".md"):
        header = re.search(r"include/(wpk/.*\.h)$", name)
        return f"@ref {pathlib.Path(header[1]).name}" if header else target
    other = page_id(page.parent / name if name else page)
    if anchor:
        return f"@ref {other}-{anchor}"
    return "@ref " + ("mainpage" if other == "readme" else other)


def converted(page, line):
    if line.startswith("# "):
        return f"{line} {{#{'mainpage' if page_id(page) == 'readme' else page_id(page)}}}"
    heading = re.match(r"##+ (.*)", line)
    if heading:
        return f"{line} {{#{heading_id(page, heading[1])}}}"
    # A quotation mark as code would have doxygen look for its other half down the page.
    line = line.replace("`'`", "<code>&apos;</code>").replace('`"`', "<code>&quot;</code>")
    return re.sub(r"\]\(((?!https?:)[^()\s]+)\)", lambda link: f"]({linked(page, link[1])})", line)


def main():
    page = pathlib.Path(sys.argv[1])
    fenced = False
    for line in page.read_text(encoding="utf-8").split("\n"):
        fence = line.lstrip().startswith("```")
        fenced = fenced != fence
        print(line if fenced or fence or line.startswith("    ") else converted(page, line))


main()
