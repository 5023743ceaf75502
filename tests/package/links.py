#!/usr/bin/env python3
"""links.py FOLDER: follows every link of every .md file below FOLDER to files and headings; prints those that lead nowhere.

A link may not leave FOLDER. Links into the Internet are not followed.
"""
import pathlib
import re
import sys

FENCED = re.compile(r"^```.*?^```$", re.MULTILINE | re.DOTALL)
CODE = re.compile(r"`[^`\n]*`")
LINK = re.compile(r"\]\(([^)\s]+)\)")
HEADING = re.compile(r"^#+ +(.*)$", re.MULTILINE)


def prose(page):
    return FENCED.sub("", page.read_text(encoding="utf-8"))


def anchors(page):
    """The names by which a page's headings are linked to: lower case, hyphens for spaces, no punctuation."""
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in HEADING.findall(prose(page))}


def leads_somewhere(root, page, link):
    path, _, anchor = link.partition("#")
    target = (page.parent / path).resolve() if path else page
    if not target.exists() or not target.is_relative_to(root):
        return False
    return not anchor or (target.suffix == ".md" and anchor in anchors(target))


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    followed, dead = 0, []
    for page in sorted(root.rglob("*.md")):
        for link in LINK.findall(CODE.sub("", prose(page))):
            if re.match(r"[a-z]+:", link):
                continue
            followed += 1
            if not leads_somewhere(root, page, link):
                dead.append(f"{page.relative_to(root)}: {link}")
    print(f"{followed} links followed, {len(dead)} lead nowhere", *dead, sep="\n")
    sys.exit(bool(dead) or followed == 0)


main()
