#!/usr/bin/env python3
"""links.py FOLDER REPOSITORY: follows every link of every .md file below FOLDER to files and headings; prints those that
lead nowhere, and every file of the REPOSITORY that a page names and FOLDER lacks.

A link may not leave FOLDER. Links into the Internet are not followed.
"""
import pathlib
import re
import sys

FENCED = re.compile(r"^```.*?^```$", re.MULTILINE | re.DOTALL)
CODE = re.compile(r"`[^`\n]*`")
LINK = re.compile(r"\]\(([^)\s]+)\)")
# As one writes it in a sentence or a command, from where one may stand.
PATH = re.compile(r"(?<![\w./-])(?:\.\./)*([\w.-]+(?:/[\w.-]+)*/?[\w-])(?![\w/])")
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


def names_nothing_here(root, repository, page, name):
    """Whether the name is that of a file of the repository, and of none here: one is in the page's folder, or further up."""
    if "/" not in name or not (repository / name).exists():
        return False
    return not any((folder / name).exists() for folder in page.parents if folder.is_relative_to(root))


def main():
    root, repository = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
    followed, dead = 0, []
    for page in sorted(root.rglob("*.md")):
        for name in sorted(set(PATH.findall(page.read_text(encoding="utf-8")))):
            if names_nothing_here(root, repository, page, name):
                dead.append(f"{page.relative_to(root)}: names {name}")
        for link in LINK.findall(CODE.sub("", prose(page))):
            if re.match(r"[a-z]+:", link):
                continue
            followed += 1
            if not leads_somewhere(root, page, link):
                dead.append(f"{page.relative_to(root)}: {link}")
    print(f"{followed} links followed, {len(dead)} lead nowhere", *dead, sep="\n")
    sys.exit(bool(dead) or followed == 0)


main()
