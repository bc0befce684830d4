#!/usr/bin/env python3
"""Completes the comments of a C header for the site, where each function stands alone. Usage: common_rules.py HEADER

A header says at its top, once, what holds for all its functions. Its list of common arguments, lines such as

    * - table  in: a deployed table

(further lines are indented, `in: ...; out: ...` tells what it is where it is written to), gives the functions those that
their own comments leave out, `return` among them. Where the top says "rules of other.h" the list of that header counts,
too. Each function that the library exports gets a pointer to the rest: overlap, threads, allocation, source.
"""
import re
import sys
from pathlib import Path

COMMENT = re.compile(r"/\*\*(?!<).*?\*/", re.S)
PROTOTYPE = re.compile(r"\s*VRX_API\s+(?!extern)[^;{]*?\b(?!__)(?P<name>\w+)\((?P<arguments>[^;{]*)\)\s*;", re.S)


def first_comment(path):
    found = COMMENT.search(path.read_text(encoding="utf-8"))
    return found[0] if found else ""


def common_arguments(path):
    """(Name, direction) to text, of the lines `- name  in: text` at the top of a header."""
    top = "\n".join(re.sub(r"^ \* ?", "", line) for line in first_comment(path).splitlines())
    rules = {}
    for other in re.findall(r"rules of (\w+\.h)", top):
        rules |= common_arguments(path.parent / other)
    for names, rule in re.findall(r"^- (\w+(?:, \w+)*)  +(\S.*(?:\n  .*)*)", top, re.M):
        for part in re.split(r"(?<=[;.]) (?=(?:in-)?out: )", re.sub(r"\s+", " ", rule)):
            direction = "in" if names == "return" or part.startswith("in:") else "out"
            for name in names.split(", "):
                rules[name, direction] = part
    return rules


def arguments_of(prototype):
    """Name and direction of each: what is no pointer, and what a pointer to const leads to, goes in."""
    for argument in prototype["arguments"].split(","):
        name = re.search(r"(\w+)(?:\[[^]]*\])?\s*$", argument)[1]
        if name != "void":
            yield name, "out" if re.search(r"[*\[]", argument) and "const" not in argument else "in"


def completed(comment, prototype, rules, header):
    described = re.findall(r"@param\s+(\w+)", comment)
    lines = [f"@param {name}  {rules[name, direction]}" for name, direction in arguments_of(prototype)
             if (name, direction) in rules and name not in described]
    if "@return" not in comment and ("return", "in") in rules:
        lines.append(f"@return {rules['return', 'in']}")
    lines.append(f"@par In common\nFor overlap, threads, allocation and all else that the functions of {header} have in "
                 "common see the top of that file.")
    return comment[:-2].rstrip() + "\n\n" + "\n".join(lines) + "\n */"


def main():
    path = Path(sys.argv[1])
    text = path.read_text(encoding="utf-8")
    rules = common_arguments(path)
    out, done = [], 0
    for comment in COMMENT.finditer(text):
        prototype = PROTOTYPE.match(text, comment.end())
        out.append(text[done:comment.start()])
        out.append(completed(comment[0], prototype, rules, path.name) if prototype else comment[0])
        done = comment.end()
    sys.stdout.write("".join(out) + text[done:])


if __name__ == "__main__":
    main()
