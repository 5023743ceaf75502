#!/usr/bin/env python3
# The reference: made without a warning, and every public name has its place in it.
# SPDX-License-Identifier: MIT
"""Usage: reference.py"""
import pathlib
import re
import subprocess
import sys
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
HTML = ROOT / "build" / "reference" / "html"
sys.path.insert(0, str(ROOT / "tests" / "examples"))
from test_run import check, check_equal, run_tests, wanted_tests

# Functions of the XML library and its helpers; classes and enumerations are found in the headers.
FUNCTIONS = ["NullElement", "NullAttribute", "NullComment", "NullPi", "NullCData", "IsNull", "WPK_ErrorText",
             "AppendEscaped", "SetText", "SetAttribute", "FindAttribute", "AttributeOr", "TextOr", "Children", "Add",
             "Remove", "Copy", "Parse", "Load", "Save", "ToString", "Describe"]


def headers():
    return {path: path.read_text(encoding="utf-8") for path in sorted((ROOT / "include").rglob("*.h"))}


def without_internals(text):
    return re.sub(r"^namespace detail \{.*?^\}  // namespace detail", "", text, flags=re.DOTALL | re.MULTILINE)


def public_types():
    """Whatever is declared with a body at the beginning of a line and has an explanation."""
    names = set()
    for text in headers().values():
        names |= set(re.findall(r"^(?:typedef )?(?:class|struct|enum|enum class) (\w+)(?: final)?(?: : [^{;]*)? \{",
                                without_internals(text), re.MULTILINE))
    return names


def exports():
    """But for the two that the library has for itself."""
    lines = (ROOT / "src" / "wpk.def").read_text().split()
    return [name for name in lines if name.startswith("WPK_")]


def enumerators():
    text = (ROOT / "include" / "wpk" / "wpk.h").read_text()
    return re.findall(r"^ +(WPK_\w+) = -?\d+", text, re.MULTILINE) + ["WPK_CREDENTIAL_SIZE"]


def places():
    """The places of each name in the reference: file, and anchor unless the whole page is about it."""
    found = {}
    for compound in xml.etree.ElementTree.parse(ROOT / "build" / "reference" / "wpk.tag").getroot():
        if compound.get("kind") in ("class", "struct", "namespace", "file"):
            found.setdefault(compound.findtext("name").split("::")[-1], []).append((compound.findtext("filename"), ""))
        for member in compound.findall("member"):
            found.setdefault(member.findtext("name"), []).append(
                (member.findtext("anchorfile"), member.findtext("anchor")))
            for value in member.findall("enumvalue"):
                found.setdefault(value.text, []).append((value.get("file"), value.get("anchor")))
    return found


def is_in_the_html(place):
    file, anchor = place
    page = HTML / (file if file.endswith(".html") else file + ".html")
    return page.exists() and (not anchor or f'id="{anchor}"' in page.read_text(encoding="utf-8"))


def test_reference_is_made_without_a_warning():
    result = subprocess.run([ROOT / "scripts" / "reference.sh"], capture_output=True, text=True)
    check_equal((result.returncode, result.stderr), (0, ""))


def test_reference_has_a_place_for_every_public_name():
    known = places()
    names = exports() + enumerators() + sorted(public_types()) + FUNCTIONS + ["WPK_CALLBACK"]
    missing = [name for name in names if not any(is_in_the_html(place) for place in known.get(name, []))]
    check_equal(missing, [])
    check(len(names) > 60, f"only {len(names)} names have been looked for")


def test_reference_has_a_page_for_every_header_and_namespace():
    known = places()
    names = [path.name for path in headers()] + ["wpk", "client", "xml", "AdvXMLParser"]
    check_equal([name for name in names if not any(is_in_the_html(place) for place in known.get(name, []))], [])


def test_reference_holds_the_pages_and_its_links_lead_somewhere():
    for page in [path.stem for path in (ROOT / "docs").glob("*.md")] + ["examples", "index"]:
        check((HTML / f"{page}.html").exists(), f"{page}.html is missing")
    for file in HTML.glob("*.html"):
        for target, anchor in re.findall(r'href="([\w.-]+\.html)(?:#([^"]+))?"', file.read_text(encoding="utf-8")):
            check(is_in_the_html((target, "")), f"{file.name} leads to {target}")


if __name__ == "__main__":
    sys.exit(run_tests("Reference", wanted_tests(globals(), sys.argv[1:])))
