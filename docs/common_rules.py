#!/usr/bin/env python3
"""Prepares a C header for the site, where each function stands alone. Usage: common_rules.py HEADER

Puts each function of the library into the group of its tier. The section that contains a function gives its tier; a
section begins with a line such as

    /* ---- Building blocks: bits ---- */

The description of each function ends with a link to the rules at the top of its header.
"""
import re
import sys
from pathlib import Path

COMMENT = re.compile(r"/\*\*(?!<)(?:(?!\*/).)*\*/", re.S)
PROTOTYPE = re.compile(r"\s*VRX_API\s+(?!extern)[^;{]*?\b(?!__)(?P<name>\w+)\((?P<arguments>[^;{]*)\)\s*;", re.S)
SECTION = re.compile(r"^/\* ---- ([^:\n]*?)(?:: [^\n]*?)? -+ \*/$", re.M)
TIERS = {"Use these": "vrx_use", "Building blocks": "vrx_blocks", "Older names": "vrx_older"}


def first_comment(path):
    found = COMMENT.search(path.read_text(encoding="utf-8"))
    return found[0] if found else ""


def arguments_of(prototype):
    """The names of the arguments."""
    for argument in prototype["arguments"].split(","):
        name = re.search(r"(\w+)(?:\[[^]]*\])?\s*$", argument)[1]
        if name != "void":
            yield name


def tier_at(text, position):
    """The group of the section that a position in a header belongs to, or None."""
    sections = [match[1] for match in SECTION.finditer(text, 0, position)]
    return TIERS[sections[-1]] if sections else None


def completed(comment, group, header):
    lines = [f"@ingroup {group}"] if group else []
    lines.append(f"@par In common\nFor the rules that all functions of {header} have in common, such as overlap, "
                 "threads and allocation, see the top of that file.")
    return comment[:-2].rstrip() + "\n\n" + "\n".join(lines) + "\n */"


def main():
    path = Path(sys.argv[1])
    text = path.read_text(encoding="utf-8")
    out, done = [], 0
    for comment in COMMENT.finditer(text):
        prototype = PROTOTYPE.match(text, comment.end())
        out.append(text[done:comment.start()])
        out.append(completed(comment[0], tier_at(text, comment.start()), path.name) if prototype else comment[0])
        done = comment.end()
    sys.stdout.write("".join(out) + text[done:])


if __name__ == "__main__":
    main()
