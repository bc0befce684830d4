#!/usr/bin/env python3
"""Prints the layers as docs/architecture.md shows them. Usage: picture.py [--write]

With --write it replaces the picture in docs/architecture.md.
"""
import sys
import textwrap
from pathlib import Path

from layers import LAYERS

BEGIN = "<!-- Made by tests/layering/picture.py from tests/layering/layers.py. -->\n"
END = "<!-- End of the picture. -->\n"
WIDTHS = (21, 66, 29)


def levels():
    """Return the layers by level. A layer is one level above the highest layer that it may include."""
    level = {}
    for layer in LAYERS:
        level[layer.name] = 1 + max((level[name] for name in layer.below), default=-1)
    return [[layer for layer in LAYERS if level[layer.name] == n] for n in range(max(level.values()), -1, -1)]


def row(*cells):
    """A row of cells, wrapped to the widths of the columns."""
    columns = [textwrap.wrap(cell, width, break_on_hyphens=False) or [""] for cell, width in zip(cells, WIDTHS)]
    height = max(map(len, columns))
    lines = zip(*(column + [""] * (height - len(column)) for column in columns))
    return ["  ".join(cell.ljust(width) for cell, width in zip(line, WIDTHS)).rstrip() for line in lines]


def picture():
    lines = row("layer", "files; each may include those before it", "may also include")
    for layers in levels():
        lines.append("  ".join("-" * width for width in WIDTHS))
        for layer in layers:
            lines += row(layer.name, ", ".join(layer.order), ", ".join(layer.below))
    return BEGIN + "```text\n" + "\n".join(lines) + "\n```\n" + END


def parts(page):
    """The page before the picture, the picture, and the page after it."""
    before, rest = page.split(BEGIN)
    middle, after = rest.split(END)
    return before, BEGIN + middle + END, after


if __name__ == "__main__":
    if "--write" in sys.argv:
        file = Path(__file__).resolve().parents[2] / "docs" / "architecture.md"
        first, _, last = parts(file.read_text())
        file.write_text(first + picture() + last)
    else:
        print(picture(), end="")
