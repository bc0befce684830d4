"""Mutations of a C++ source file, each a change at one place that some test should detect.

The source must have this project's format: spaces around binary operators, and template heads on separate lines.
"""
import re
from dataclasses import dataclass

TOKEN = re.compile(r"""
    (?P<nothing>  \s+ | //[^\n]* | /\*.*?\*/
                | ^\#(?:[^\\\n]|\\.)*                        # a preprocessor line
                | ^[ ]*(?:template[ ]<|requires[ ]|concept[ ])[^\n]* )
  | (?P<text>     R"\(.*?\)" | "(?:[^"\\]|\\.)*" | '(?:[^'\\]|\\.)*' )
  | (?P<number>   (?:0[xX][0-9A-Fa-f']+ | 0[bB][01']+ | [0-9][0-9']*)[uUlLzZ]* )
  | (?P<word>     [A-Za-z_]\w* )
  | (?P<symbol>   <=> | <<= | >>= | \[\[ | \]\] | :: | -> | \+\+ | -- | && | \|\| | << | >> | [-+*/%&|^=!<>]= | . )
""", re.VERBOSE | re.MULTILINE | re.DOTALL)

COMPARISONS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
OPERATORS = {
    "+": "-", "-": "+", "*": "+", "/": "*", "%": "/", "<<": ">>", ">>": "<<", "&": "|", "|": "&", "^": "|",
    "&&": "||", "||": "&&", "+=": "-=", "-=": "+=", "*=": "+=", "<<=": ">>=", ">>=": "<<=", "&=": "|=", "|=": "&=",
    "^=": "|=",
}
TRUTHS = {"true": "false", "false": "true"}

# Code that is evaluated at compile time, and instructions for the compiler.
NOT_CHANGED = {"static_assert", "asm", "alignas", "__attribute__", "requires"}
BRACKETS = {"(": ")", "[": "]", "{": "}", "[[": "]]"}

# A statement that can be removed: a call, an assignment, or a jump in a loop, but no declaration.
STATEMENT = re.compile(r"""
    (?!(?:return|using|if|for|while|switch|case|default|do|else|const|constexpr|static|auto|delete)\b)
    (?: (?:break|continue);
      | (?:\*|\+\+|--)? (?P<called>[A-Za-z_]\w* (?: (?:::|\.|->)\w+ | \[[^]]*\] | <[\w:, ]+> )*)
        (?: \( | [ ](?:[-+*/%&|^]|<<|>>)?=[ ] | \+\+ | -- | ; ) )
""", re.VERBOSE)


@dataclass(frozen=True)
class Change:
    """Replaces the octets from start to end of a source by `new`."""
    kind: str
    start: int
    end: int
    old: str
    new: str

    def applied(self, source):
        return source[:self.start] + self.new + source[self.end:]

    def line(self, source):
        return source.count("\n", 0, self.start) + 1

    def __str__(self):
        old, new = " ".join(self.old.split()), " ".join(self.new.split())
        return f"{old} -> {new}" if new not in ("", ";") else f"{old} removed"


def tokens(source):
    """Yield (group, text, start) for all tokens of executable code."""
    return [(m.lastgroup, m[0], m.start()) for m in TOKEN.finditer(source) if m.lastgroup != "nothing"]


def closing(texts):
    """Map each opening bracket to its closing bracket."""
    pairs, open_places = {}, []
    for place, text in enumerate(texts):
        if text in BRACKETS:
            open_places.append(place)
        elif open_places and text == BRACKETS[texts[open_places[-1]]]:
            pairs[open_places.pop()] = place
        elif text == "]]" and len(open_places) > 1:  # a token of two closing brackets, as in a[b[i]]
            pairs[open_places.pop()] = pairs[open_places.pop()] = place
    return pairs


def other_numbers(text):
    """Return the constant plus one and minus one, or a long bit pattern with one bit flipped."""
    digits, suffix = re.fullmatch(r"(0[xX][\dA-Fa-f']+|0[bB][01']+|[\d']+)(\w*)", text).groups()
    digits = digits.replace("'", "")
    base = {"0x": 16, "0b": 2}.get(digits[:2].lower(), 8 if digits[0] == "0" else 10)
    value = int(digits, base)
    if base == 2 or (base == 16 and value > 0xff):
        values = [value ^ 1 << value.bit_length() // 2]
    else:
        values = [value + 1, value - 1][:2 if value else 1]
    return [("0x%x" if base in (2, 16) else "%d") % v + suffix for v in values]


def changes(source):
    """Return all changes of a source, ordered by position."""
    found = []
    items = tokens(source)
    texts = [text for _, text, _ in items] + [""]
    pairs = closing(texts)
    controlled = {pairs[i + 1] for i, text in enumerate(texts) if text in ("if", "for", "while") and i + 1 in pairs}

    def change(kind, start, end, new):
        found.append(Change(kind, start, end, source[start:end], new))

    def between_spaces(start, end):
        return source[start - 1].isspace() and source[end].isspace()

    place = -1
    while place + 1 < len(items):
        place += 1
        group, text, start = items[place]
        end = start + len(text)
        before, after = texts[place - 1] if place else "", texts[place + 1]

        if text == "[[" or text in NOT_CHANGED:
            # Up to the end of the bracketed part.
            opening = place
            while opening not in pairs and texts[opening] not in (";", ""):
                opening += 1
            place = pairs.get(opening, opening)
            continue

        if group == "number":
            for new in other_numbers(text):
                change("constant", start, end, new)
        elif text in TRUTHS:
            change("constant", start, end, TRUTHS[text])
        elif text == "!":
            change("condition", start, end, "")
        elif text in ("if", "while") and after == "(":
            first, last = items[place + 1][2] + 1, items[pairs[place + 1]][2]
            if not re.search(r";| =\s", source[first:last]):
                change("condition", first, last, f"!({source[first:last]})")
        elif before != "operator" and between_spaces(start, end):
            if text in COMPARISONS:
                change("comparison", start, end, COMPARISONS[text])
            elif text in OPERATORS:
                change("operator", start, end, OPERATORS[text])

        if before in (";", "{", "}", "else") or place - 1 in controlled:
            if match := STATEMENT.match(source, start):
                last = place
                while texts[last] not in (";", ")", "]", "}", ""):
                    last = pairs.get(last, last) + 1
                if texts[last] == ";" and texts[last - 1] not in ("default", "delete"):
                    kind = "wiping" if re.search("wipe|clear", match["called"] or "") else "statement"
                    change(kind, start, items[last][2] + 1, ";")
    return found
