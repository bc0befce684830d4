"""Many changes of a source in one compilation: each is switched on by its number, at run time. See switches.hpp."""
import collections
import re
from pathlib import Path

from changes import tokens

HEADER = Path(__file__).with_name("switches.hpp")
# The operators that "a OP Name{n} OP b" replaces; "&&" and "||" would lose their order of evaluation.
NAMES = {operator: name for name, operator in
         re.findall(r"^VRX_(?:BINARY|ASSIGNMENT)\((\w+), (\S+), ", HEADER.read_text(), re.M)}


def in_loop_heads(source):
    """The places of tokens between the parentheses of for loops."""
    places, open_brackets, before = set(), [], ""
    for _, text, start in tokens(source):
        if "for" in open_brackets:
            places.add(start)
        if text in "([{" or text == "[[":
            open_brackets.append(before if before == "for" else text)
        elif text in ")]}" or text == "]]":
            closed = open_brackets and open_brackets.pop()
            if text == "]]" and closed != "[[" and open_brackets:  # a[b[i]]
                open_brackets.pop()
        before = text
    return places


def switched(source, numbered, header):
    """Return the source with those of the changes {number: change} that can be switched, and their numbers."""
    edits = []  # (start, rank, end, text): first what ends at a place, then what begins there, then replacements
    constants = collections.defaultdict(list)
    done, loop_heads = set(), in_loop_heads(source)
    for number, change in numbered.items():
        if change.kind == "constant":
            if "." in (source[change.start - 1], source[change.end]):  # a part of a floating-point number
                continue
            constants[change.start, change.end].append((number, change.new))
        elif change.kind in ("statement", "wiping"):
            if change.start in loop_heads:
                continue
            edits += [(change.start, 1, change.start, f"{{ if (!vrx_mutant::on({number})) "),
                      (change.end, 0, change.end, " }")]
        elif change.kind == "condition" and change.old == "!":
            edits.append((change.start, 2, change.end, f"vrx_mutant::Not{{{number}}} ^ "))
        elif change.kind == "condition":
            edits += [(change.start, 1, change.start, f"vrx_mutant::on({number}) != static_cast<bool>("),
                      (change.end, 0, change.end, ")")]
        elif change.old in NAMES:
            edits.append((change.start, 2, change.end,
                          f"{change.old} vrx_mutant::{NAMES[change.old]}{{{number}}} {change.old}"))
        else:
            continue
        done.add(number)
    for (start, end), values in constants.items():
        text = "".join(f", {number}, {new}" for number, new in values)
        edits.append((start, 2, end, f"vrx_mutant::constant({source[start:end]}{text})"))
    text, at = "", 0
    for start, _, end, new in sorted(edits):
        text += source[at:start] + new
        at = end
    return f'#include "{header}"\n#line 1\n' + text + source[at:], done


def lines_of(messages, files):
    """The places {(file, line)} of a compiler's errors in the files: of syntax errors first, since others follow."""
    def places(lines):
        named = re.findall(r"([\w./+-]+\.[ch]pp):(\d+)", "\n".join(lines))
        return {(file, int(line)) for path, line in named for file in files if path.endswith("/" + file)}

    lines = messages.splitlines()
    errors = [line for line in lines if " error: " in line]
    return places(line for line in errors if " expected " in line) or places(errors) or places(lines)
