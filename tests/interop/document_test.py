"""Every line of docs/interop.md that says what agrees names a test, and every test has a line."""

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
    """The cells of the tables, without their heads."""
    for table in re.findall(r"(?:^\|.*\|\n)+", chapter(), re.MULTILINE):
        for line in table.splitlines()[2:]:
            yield [cell.strip() for cell in line.strip("|").split("|")]


def tests():
    for source in sorted((ROOT / "tests/interop").glob("*_test.cpp")):
        for suite, name in re.findall(r"^TEST(?:_F)?\((\w+), (\w+)\)", source.read_text(encoding="utf-8"), re.MULTILINE):
            yield f"{suite}.{name}"


class Document(unittest.TestCase):
    def test_lines_and_tests_are_the_same(self):
        named = [cells[-1].strip("`") for cells in rows()]
        self.assertGreater(len(named), 50)
        self.assertEqual(sorted(named), sorted(tests()))

    def test_every_line_says_what_agrees_and_for_what(self):
        for cells in rows():
            with self.subTest(cells[-1]):
                self.assertEqual(len(cells), 3)
                self.assertTrue(all(cells))


if __name__ == "__main__":
    unittest.main()
