"""Checks that the tables in docs/interop.md and the interop tests correspond one to one."""

import pathlib
import re
import sys
import unittest

ROOT = pathlib.Path(sys.argv.pop(1))
CHAPTER = "## Agreement with other libraries"


def chapter():
    text = (ROOT / "docs/interop.md").read_text(encoding="utf-8")
    return text.split("\n" + CHAPTER + "\n")[1].split("\n## ")[0]


def rows():
    """Yield the rows of the tables, without their heads."""
    for table in re.findall(r"(?:^\|.*\|\n)+", chapter(), re.MULTILINE):
        for line in table.splitlines()[2:]:
            yield [cell.strip() for cell in line.strip("|").split("|")]


def tests():
    for source in sorted((ROOT / "tests/interop").glob("*_test.cpp")):
        for suite, name in re.findall(r"^TEST(?:_F)?\((\w+), (\w+)\)", source.read_text(encoding="utf-8"),
                                      re.MULTILINE):
            yield f"{suite}.{name}"


class Document(unittest.TestCase):
    def test_each_row_has_a_test_and_each_test_a_row(self):
        named = [cells[-1].strip("`") for cells in rows()]
        self.assertGreater(len(named), 50)
        self.assertEqual(sorted(named), sorted(tests()))

    def test_every_row_is_complete(self):
        for cells in rows():
            with self.subTest(cells[-1]):
                self.assertEqual(len(cells), 3)
                self.assertTrue(all(cells))


if __name__ == "__main__":
    unittest.main()
