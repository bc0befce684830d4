"""Reads the pages of the documentation. Other tests use this module."""
import re
import sys
from pathlib import Path

PROJECT = Path(sys.argv[1])
PAGES = [PROJECT / name for name in ("README.md", "SECURITY.md", "CONTRIBUTING.md", "CHANGELOG.md", "python/README.md")]
PAGES += sorted((PROJECT / "docs").rglob("*.md"))


def text_of(page):
    return page.read_text(encoding="utf-8")


def name_of(page):
    return str(page.relative_to(PROJECT))


def blocks(text, *languages):
    """Yield (language, contents, text before, text after) for each code block in one of the languages."""
    for found in re.finditer(r"^```(\w+)\n(.*?)^```$", text, re.M | re.S):
        if found[1] in languages:
            yield found[1], found[2], text[:found.start()].rstrip(), text[found.end():].lstrip()


def commands(text):
    """Yield (command, output) for each line with a prompt in the console blocks."""
    contents = "".join(block for _, block, *_ in blocks(text, "console"))
    return re.findall(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", contents, re.M)
